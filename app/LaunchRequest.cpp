#include "app/LaunchRequest.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace lumvik {

namespace {

const QString actionKey = QStringLiteral("action");
const QString tokenKey = QStringLiteral("activation-token");

} // namespace

QString nameOfAction(LaunchRequest::Action action) {
    switch (action) {
    case LaunchRequest::Action::activate:
        break;
    case LaunchRequest::Action::showCameraAddresses:
        return QStringLiteral("camera-addresses");
    case LaunchRequest::Action::checkForUpdates:
        return QStringLiteral("check-for-updates");
    }
    return {};
}

std::optional<LaunchRequest::Action> actionNamed(const QString &name) {
    for (const auto action :
         {LaunchRequest::Action::showCameraAddresses, LaunchRequest::Action::checkForUpdates}) {
        if (name == nameOfAction(action))
            return action;
    }
    return std::nullopt;
}

QByteArray encode(const LaunchRequest &request) {
    return QJsonDocument(QJsonObject{{actionKey, nameOfAction(request.action)},
                                     {tokenKey, QString::fromUtf8(request.activationToken)}})
        .toJson(QJsonDocument::Compact);
}

std::optional<LaunchRequest> decodeLaunchRequest(const QByteArray &line) {
    const QJsonDocument document = QJsonDocument::fromJson(line);
    const QJsonValue action = document[actionKey];
    if (!action.isString())
        return std::nullopt;
    LaunchRequest request;
    if (!action.toString().isEmpty()) {
        const auto known = actionNamed(action.toString());
        if (!known)
            return std::nullopt;
        request.action = *known;
    }
    request.activationToken = document[tokenKey].toString().toUtf8();
    return request;
}

} // namespace lumvik
