#include "app/MessageBoxAlerts.h"

#include "style/LumvikPalette.h"

#include <QGuiApplication>
#include <QMessageBox>
#include <QPushButton>

namespace lumvik {

namespace {

/// The name of a button's property with its index in the alert. The text does not identify a
/// button, because styles may change it.
constexpr const char *buttonIndex = "lumvikButtonIndex";

QMessageBox::Icon icon(Alert::Style style) {
    switch (style) {
    case Alert::Style::warning:
        return QMessageBox::Warning;
    case Alert::Style::informational:
        return QMessageBox::Information;
    }
    return QMessageBox::NoIcon;
}

/// Gives a button the accent colour, in every widget style.
void colourButton(QPushButton &button) {
    button.setStyleSheet(
        QStringLiteral(
            "QPushButton { background-color: %1; color: white; border: none;"
            " border-radius: 6px; padding: 5px 18px; min-width: 60px; }"
            "QPushButton:focus, QPushButton:hover { border: 2px solid %2; padding: 3px 16px; }")
            .arg(LumvikPalette::mirel().name(), LumvikPalette::mirel().darker(140).name()));
}

/// Gives `box` the texts and buttons of `alert`.
void fill(QMessageBox &box, const Alert &alert) {
    box.setIcon(icon(alert.style));
    box.setWindowTitle(QStringLiteral("Lumvik"));
    // Texts may contain names that the user typed, which must not be interpreted as markup.
    box.setTextFormat(Qt::PlainText);
    // Some texts contain an address for the user to copy.
    box.setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    box.setText(alert.messageText);
    box.setInformativeText(alert.informativeText);
    // QMessageBox uses these object names for its labels.
    box.setStyleSheet(QStringLiteral("QLabel#qt_msgbox_label { font-weight: bold; }"
                                     "QLabel#qt_msgbox_informativelabel { min-width: 300px; }"));
    QPushButton *last = nullptr;
    for (int index = 0; index < alert.buttons.size(); ++index) {
        const bool isFirst = index == 0;
        last = box.addButton(alert.buttons.at(index),
                             isFirst ? QMessageBox::AcceptRole : QMessageBox::RejectRole);
        last->setProperty(buttonIndex, index);
        if (isFirst) {
            box.setDefaultButton(last);
            colourButton(*last);
        }
    }
    if (last != nullptr)
        box.setEscapeButton(last);
}

/// Returns the index in `alert` of the button that the user clicked in `box`.
int answerOf(const QMessageBox &box, const Alert &alert) {
    const QAbstractButton *clicked = box.clickedButton();
    return clicked == nullptr ? static_cast<int>(alert.buttons.size()) - 1
                              : clicked->property(buttonIndex).toInt();
}

/// Keeps `box` above `parent`, even if `parent` stays above other windows.
void attach(QMessageBox &box, QWindow *parent) {
    box.winId(); // creates the box's QWindow
    if (parent != nullptr)
        box.windowHandle()->setTransientParent(parent);
}

} // namespace

MessageBoxAlerts::MessageBoxAlerts(std::function<QWindow *()> parentWindow)
    : m_parentWindow(std::move(parentWindow)) {}

MessageBoxAlerts::~MessageBoxAlerts() {
    for (const QPointer<QMessageBox> &sheet : m_sheets)
        delete sheet;
}

int MessageBoxAlerts::runModal(const Alert &alert) {
    QMessageBox box;
    fill(box, alert);
    attach(box, m_parentWindow());
    box.setWindowModality(Qt::ApplicationModal);
    box.exec();
    return answerOf(box, alert);
}

void MessageBoxAlerts::present(const Alert &alert, std::function<void(int)> answered) {
    QWindow *parent = m_parentWindow();
    if (parent == nullptr) {
        answered(runModal(alert));
        return;
    }
    auto *box = new QMessageBox; // deletes itself when it closes
    box->setAttribute(Qt::WA_DeleteOnClose);
    m_sheets.removeAll(nullptr);
    m_sheets.append(box);
    fill(*box, alert);
    attach(*box, parent);
    box->setWindowModality(Qt::WindowModal);
    QObject::connect(
        box, &QDialog::finished, box,
        [box, alert, answered = std::move(answered)] { answered(answerOf(*box, alert)); },
        Qt::SingleShotConnection); // may be emitted again if the parent is hidden
    // A sheet is closed together with its window.
    QObject::connect(parent, &QWindow::visibleChanged, box, [box](bool isVisible) {
        if (!isVisible && box->isVisible())
            box->reject();
    });
    // An alert that appears while the user works in another program must not take the keyboard
    // focus.
    box->setAttribute(Qt::WA_ShowWithoutActivating,
                      QGuiApplication::applicationState() != Qt::ApplicationActive);
    box->show();
}

} // namespace lumvik
