// The about panel, help, feedback, and opening addresses in the user's other programs.

#include "app/controller/AppDelegate.h"
#include "updates/WebsiteUrl.h"

#include <QPointer>
#include <QUrlQuery>

namespace lumvik {

namespace {

QString quickHelp() {
    return QStringList{
        QStringLiteral(
            "Move the pointer over the camera to reveal the camera chooser, Stay on Top pin, "
            "area-selection button, and close button."),
        QStringLiteral(
            "Choose the area-selection button, then drag a square or rectangle around the "
            "part of the camera you want to see. The same button restores the original "
            "view."),
        QStringLiteral(
            "While an area is selected, right-click to show the entire camera temporarily "
            "and right-click again to return to the selection. Otherwise, right-click "
            "expands the viewer to the largest size that fits the available screen; "
            "right-click again to restore its previous size."),
        QStringLiteral("Drag anywhere on the camera to move the window. Choose Lumvik → Camera "
                       "Addresses… to add, edit, remove, or reorder cameras."),
    }
        .join(QStringLiteral("\n\n"));
}

} // namespace

void AppDelegate::showAbout() {
    if (!aboutPanel) {
        const auto known = [](const QString &text) {
            return text.isNull() ? QStringLiteral("Unknown") : text;
        };
        aboutPanel = std::make_unique<AboutPanel>(AboutInformation{
            .applicationName = QStringLiteral("Lumvik"),
            .applicationVersion = known(environment.installedVersion.version),
            .version = QStringLiteral("Build %1").arg(known(environment.installedVersion.build)),
            .credits = QStringLiteral("A focused camera viewer by Tandrel.")});
    }
    aboutPanel->showAbove(window.get());
}

void AppDelegate::openLumvikHelp() {
    const QUrl page = websiteUrl(environment.webHost, QStringLiteral("/lumvik/help.html"));
    if (page.isValid())
        openUrl(page);
}

void AppDelegate::showQuickHelp() {
    presentInformation(QStringLiteral("Quick Help in Lumvik"), quickHelp());
}

void AppDelegate::sendFeedback() {
    QUrl mail;
    mail.setScheme(QStringLiteral("mailto"));
    mail.setPath(environment.feedbackAddress, QUrl::StrictMode);
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("subject"), QStringLiteral("Lumvik Feedback"));
    mail.setQuery(query);
    if (mail.isValid() && !mail.path().isEmpty())
        openUrl(mail);
}

void AppDelegate::openUrl(const QUrl &address) {
    environment.openUrl(address, [self = QPointer(this), address] {
        if (self && !self->isClosingViewer)
            self->presentAddress(address);
    });
}

void AppDelegate::presentAddress(const QUrl &address) {
    presentInformation(QStringLiteral("Could not open the address"),
                       QStringLiteral("No program on this computer opens it. It can be copied from "
                                      "here:\n\n%1")
                           .arg(address.toString(QUrl::FullyEncoded)));
}

void AppDelegate::presentInformation(const QString &title, const QString &message) {
    environment.alerts.present({.style = Alert::Style::informational,
                                .messageText = title,
                                .informativeText = message,
                                .buttons = {QStringLiteral("OK")}},
                               [](int) {});
}

} // namespace lumvik
