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

// All sizes are in points.
constexpr int margin = 32;
constexpr int bottomMargin = 24;
constexpr int iconSize = 64;
constexpr int lineSpacing = 8;
constexpr int groupSpacing = 8;   // between the version and the credits
constexpr int buttonSpacing = 12; // above the button
constexpr int nameTextSize = 22;
constexpr int textSize = 13;

QLabel *makeLine(const QString &text, const QFont &font) {
    auto *line = new QLabel(text);
    line->setTextFormat(Qt::PlainText);
    line->setFont(font);
    line->setAlignment(Qt::AlignCenter);
    // Users copy the version into their feedback.
    line->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    return line;
}

} // namespace

AboutPanel::AboutPanel(const AboutInformation &about) {
    setWindowTitle(QStringLiteral("About %1").arg(about.applicationName));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(margin, margin, margin, bottomMargin);
    layout->setSpacing(lineSpacing);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    if (const QIcon icon = QApplication::windowIcon(); !icon.isNull()) {
        auto *picture = new QLabel;
        picture->setPixmap(icon.pixmap(QSize(iconSize, iconSize), devicePixelRatio()));
        picture->setAlignment(Qt::AlignCenter);
        layout->addWidget(picture);
    }
    layout->addWidget(makeLine(about.applicationName, systemFont(nameTextSize, QFont::DemiBold)));
    layout->addWidget(
        makeLine(QStringLiteral("Version %1 (%2)").arg(about.applicationVersion, about.version),
                 systemFont(textSize, QFont::Normal)));
    layout->addSpacing(groupSpacing);
    layout->addWidget(makeLine(about.credits, systemFont(textSize, QFont::Normal)));
    layout->addSpacing(buttonSpacing);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    buttons->setCenterButtons(true);
    // Qt's icon for the button has a low resolution and adds nothing to the text.
    buttons->button(QDialogButtonBox::Close)->setIcon(QIcon());
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

void AboutPanel::showAbove(QWindow *viewer) {
    winId(); // creates the panel's QWindow
    windowHandle()->setTransientParent(viewer);
    show();
    raise();
    activateWindow();
}

} // namespace lumvik
