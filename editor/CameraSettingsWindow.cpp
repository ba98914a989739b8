#include "editor/CameraSettingsWindow.h"

#include "editor/CameraTableView.h"
#include "style/Symbols.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QUrl>
#include <QVBoxLayout>

namespace lumvik {

namespace {

// Lengths and font sizes are in points.

/// Large enough to show about eight cameras with addresses of usual length.
constexpr QSize initialSize{900, 620};
/// The smallest size in which all buttons fit into one row and several cameras are visible.
constexpr QSize minimumWindowSize{760, 480};
constexpr QMargins windowMargins{30, 26, 30, 20};
/// The space between the parts of the window, and between the groups of buttons.
constexpr int sectionSpacing = 16;
constexpr int headingSpacing = 6;
/// The space between the title of a button and its left and right edges. With more, the buttons
/// would not fit into the smallest window.
constexpr int buttonPadding = 10;
constexpr QMargins tableInsets{10, 8, 10, 18};
constexpr int headingFontSize = 22;
constexpr int explanationFontSize = 13;
constexpr int footerFontSize = 11;

QLabel *makeLabel(const QString &text, const QFont &font) {
    auto *label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setFont(font);
    return label;
}

} // namespace

CameraSettingsWindow::CameraSettingsWindow(CameraListModel &model, const QString &webSite) {
    setWindowTitle(QStringLiteral("Cameras"));
    setWindowFlags(Qt::Window | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                   Qt::WindowCloseButtonHint);
    setMinimumSize(minimumWindowSize);
    resize(initialSize);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(windowMargins);
    layout->setSpacing(sectionSpacing);
    layout->addWidget(makeHeading());
    layout->addWidget(makeTable(model), 1);
    layout->addWidget(makeButtons());
    layout->addWidget(makeFooter(webSite));
}

QWidget *CameraSettingsWindow::makeHeading() {
    auto *heading = new QWidget;
    auto *layout = new QVBoxLayout(heading);
    layout->setContentsMargins({});
    layout->setSpacing(headingSpacing);
    layout->addWidget(
        makeLabel(QStringLiteral("Cameras"), systemFont(headingFontSize, QFont::DemiBold)));
    QLabel *explanation = makeLabel(
        QStringLiteral(
            "Customize camera names and full RTSP addresses. Drag rows to change their "
            "order, or use the sorting shortcuts. Changes are stored only on this computer."),
        systemFont(explanationFontSize, QFont::Normal));
    explanation->setWordWrap(true);
    m_explanation = explanation;
    dimExplanation();
    layout->addWidget(explanation);
    return heading;
}

QWidget *CameraSettingsWindow::makeTable(CameraListModel &model) {
    auto *frame = new QFrame;
    frame->setFrameShape(QFrame::StyledPanel);
    auto *layout = new QVBoxLayout(frame);
    layout->setContentsMargins(tableInsets);
    m_tableView = new CameraTableView(model);
    layout->addWidget(m_tableView);
    return frame;
}

QPushButton *CameraSettingsWindow::makeButton(const QString &title, const QString &toolTip) {
    auto *button = new QPushButton(title);
    button->setAutoDefault(false); // Return always presses the Save button.
    button->setToolTip(toolTip);
    // Some styles leave hardly any space beside the title.
    button->setMinimumWidth(button->fontMetrics().horizontalAdvance(title) + 2 * buttonPadding);
    return button;
}

QWidget *CameraSettingsWindow::makeButtons() {
    addButton = makeButton(QStringLiteral("Add Camera"));
    findButton = makeButton(QStringLiteral("Find Cameras…"),
                            QStringLiteral("Search the local network for cameras"));
    removeButton = makeButton(QStringLiteral("Remove"));
    sortAscendingButton =
        makeButton(QStringLiteral("A–Z"), QStringLiteral("Sort camera names from A to Z"));
    sortDescendingButton =
        makeButton(QStringLiteral("Z–A"), QStringLiteral("Sort camera names from Z to A"));
    importButton = makeButton(QStringLiteral("Import…"));
    exportButton = makeButton(QStringLiteral("Export…"));
    cancelButton = makeButton(QStringLiteral("Cancel"));
    saveButton = makeButton(QStringLiteral("Save"));
    saveButton->setDefault(true);

    auto *row = new QWidget;
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins({});
    for (QPushButton *button : {addButton, findButton, removeButton})
        layout->addWidget(button);
    layout->addSpacing(sectionSpacing);
    for (QPushButton *button : {sortAscendingButton, sortDescendingButton})
        layout->addWidget(button);
    layout->addSpacing(sectionSpacing);
    for (QPushButton *button : {importButton, exportButton})
        layout->addWidget(button);
    layout->addStretch();
    for (QPushButton *button : {cancelButton, saveButton})
        layout->addWidget(button);
    return row;
}

QWidget *CameraSettingsWindow::makeFooter(const QString &webSite) {
    auto *footer = new QLabel(
        QStringLiteral("A Free App by <a href=\"%1\">Tandrel</a>").arg(webSite.toHtmlEscaped()));
    footer->setTextFormat(Qt::RichText);
    footer->setTextInteractionFlags(Qt::TextBrowserInteraction);
    footer->setAlignment(Qt::AlignCenter);
    footer->setFont(systemFont(footerFontSize, QFont::Normal));
    connect(footer, &QLabel::linkActivated, this, [this](const QString &address) {
        if (openUrl)
            openUrl(QUrl(address));
    });
    return footer;
}

void CameraSettingsWindow::dimExplanation() {
    // QPalette has no colour for secondary text. Its placeholder colour is too faint for a
    // paragraph.
    constexpr float opacity = 0.68F;
    QColor secondary = palette().color(QPalette::WindowText);
    secondary.setAlphaF(opacity);
    QPalette dimmed = palette();
    dimmed.setColor(QPalette::WindowText, secondary);
    m_explanation->setPalette(dimmed);
}

void CameraSettingsWindow::changeEvent(QEvent *event) {
    QDialog::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && m_explanation != nullptr)
        dimExplanation(); // The desktop theme has changed.
}

void CameraSettingsWindow::closeEvent(QCloseEvent *event) {
    event->accept();
    if (didClose)
        didClose();
}

void CameraSettingsWindow::done(int) {
    close(); // Accepting and rejecting the dialog both just close it.
}

void CameraSettingsWindow::keyPressEvent(QKeyEvent *event) {
    if (keyDown && keyDown(*event))
        return;
    QDialog::keyPressEvent(event);
}

} // namespace lumvik
