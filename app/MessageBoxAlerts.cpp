#include "app/MessageBoxAlerts.h"

#include "style/LumvikPalette.h"

#include <QMessageBox>
#include <QPushButton>

namespace lumvik {

namespace {

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

} // namespace

int MessageBoxAlerts::runModal(const Alert &alert) {
    QMessageBox box;
    box.setIcon(icon(alert.style));
    box.setWindowTitle(QStringLiteral("Lumvik"));
    // Texts may hold names that the user typed: never taken for markup.
    box.setTextFormat(Qt::PlainText);
    // An address to copy may be among them.
    box.setTextInteractionFlags(Qt::TextSelectableByMouse);
    box.setText(alert.messageText);
    box.setInformativeText(alert.informativeText);
    // The name by which the message box itself styles its main text.
    box.setStyleSheet(QStringLiteral("QLabel#qt_msgbox_label { font-weight: bold; }"
                                     "QLabel#qt_msgbox_informativelabel { min-width: 300px; }"));
    QList<QAbstractButton *> buttons;
    for (const QString &title : alert.buttons) {
        QPushButton *button = box.addButton(title, buttons.isEmpty() ? QMessageBox::AcceptRole
                                                                     : QMessageBox::RejectRole);
        if (buttons.isEmpty()) {
            box.setDefaultButton(button);
            colourButton(*button);
        }
        buttons.append(button);
    }
    if (!buttons.isEmpty())
        box.setEscapeButton(buttons.last());
    box.winId(); // makes the box's own window
    if (QWindow *parent = m_parentWindow())
        box.windowHandle()->setTransientParent(parent);
    box.setWindowModality(Qt::ApplicationModal);
    box.exec();
    const auto answer = buttons.indexOf(box.clickedButton());
    return static_cast<int>(answer < 0 ? buttons.size() - 1 : answer);
}

} // namespace lumvik
