#include "app/MessageBoxAlerts.h"

#include "style/LumvikPalette.h"

#include <QGuiApplication>
#include <QMessageBox>
#include <QPushButton>

namespace lumvik {

namespace {

/// Which of the alert's buttons a button is; styles may change its text.
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

/// The house colour on a button, in every widget style.
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
    // Texts may hold names that the user typed: never taken for markup.
    box.setTextFormat(Qt::PlainText);
    // An address to copy may be among them.
    box.setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    box.setText(alert.messageText);
    box.setInformativeText(alert.informativeText);
    // The name by which the message box itself styles its main text.
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

/// The index, in `alert`, of the button that `box` was answered with.
int answerOf(const QMessageBox &box, const Alert &alert) {
    const QAbstractButton *clicked = box.clickedButton();
    return clicked == nullptr ? static_cast<int>(alert.buttons.size()) - 1
                              : clicked->property(buttonIndex).toInt();
}

/// Puts `box` above `parent`, whatever levels the two have.
void attach(QMessageBox &box, QWindow *parent) {
    box.winId(); // makes the box's own window
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
    auto *box = new QMessageBox; // deletes itself as it closes
    box->setAttribute(Qt::WA_DeleteOnClose);
    m_sheets.removeAll(nullptr);
    m_sheets.append(box);
    fill(*box, alert);
    attach(*box, parent);
    box->setWindowModality(Qt::WindowModal);
    QObject::connect(
        box, &QDialog::finished, box,
        [box, alert, answered = std::move(answered)] { answered(answerOf(*box, alert)); },
        Qt::SingleShotConnection); // its window may be hidden before it is deleted
    // A sheet goes with its window.
    QObject::connect(parent, &QWindow::visibleChanged, box, [box](bool isVisible) {
        if (!isVisible && box->isVisible())
            box->reject();
    });
    // One that nobody asked for must not take the keys from the program that the user is in.
    box->setAttribute(Qt::WA_ShowWithoutActivating,
                      QGuiApplication::applicationState() != Qt::ApplicationActive);
    box->show();
}

} // namespace lumvik
