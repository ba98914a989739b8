// What leads out of the program: addresses that the user's other programs open.

#include "app/AppDelegate.h"

namespace lumvik {

void AppDelegate::openUrl(const QUrl &address) {
    if (environment.openUrl(address))
        return;
    environment.alerts.runModal(
        {.style = Alert::Style::informational,
         .messageText = QStringLiteral("Could not open the address"),
         .informativeText = QStringLiteral("No program on this computer opens it. It can be copied from "
                                           "here:\n\n%1")
                                .arg(address.toString(QUrl::FullyEncoded)),
         .buttons = {QStringLiteral("OK")}});
}

} // namespace lumvik
