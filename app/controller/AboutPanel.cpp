#include "app/controller/AboutPanel.h"

#include "style/Symbols.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <QWindow>

namespace lumvik {

namespace {

constexpr int margin = 32;
constexpr int iconSize = 64;

QLabel *makeLine(const QString &text, const QFont &font) {
    auto *line = new QLabel(text);
    line->setTextFormat(Qt::PlainText);
    line->setFont(font);
    line->setAlignment(Qt::AlignCenter);
    // For mails that report a fault.
    line->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    return line;
}

} // namespace

AboutPanel::AboutPanel(const AboutInformation &about) {
    setWindowTitle(QStringLiteral("About %1").arg(about.applicationName));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(margin, margin, margin, margin - 8);
    layout->setSpacing(8);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    if (const QIcon icon = QApplication::windowIcon(); !icon.isNull()) {
        auto *picture = new QLabel;
        picture->setPixmap(icon.pixmap(QSize(iconSize, iconSize), devicePixelRatio()));
        picture->setAlignment(Qt::AlignCenter);
        layout->addWidget(picture);
    }
    layout->addWidget(makeLine(about.applicationName, systemFont(22, QFont::DemiBold)));
    layout->addWidget(
        makeLine(QStringLiteral("Version %1 (%2)").arg(about.applicationVersion, about.version),
                 systemFont(13, QFont::Normal)));
    layout->addSpacing(8);
    layout->addWidget(makeLine(about.credits, systemFont(13, QFont::Normal)));
    layout->addSpacing(12);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    buttons->setCenterButtons(true);
    // The toolkit's own cross is a picture of few pixels, and the word says it all.
    buttons->button(QDialogButtonBox::Close)->setIcon(QIcon());
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

void AboutPanel::showAbove(QWindow *viewer) {
    winId(); // makes the panel's own window
    windowHandle()->setTransientParent(viewer);
    show();
    raise();
    activateWindow();
}

} // namespace lumvik
