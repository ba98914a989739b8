#include "app/controller/LaunchRequest.h"

#include "platform/AutostartEntry.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace lumvik {

namespace {

/// The longest token that is passed on, in bytes.
constexpr qsizetype longestToken = 1024;

const QString actionKey = QStringLiteral("action");
const QString tokenKey = QStringLiteral("activation-token");

} // namespace

LaunchRequest LaunchRequest::with(Action action, const QByteArray &token) {
    const bool isPlausible =
        token.size() <= longestToken && std::none_of(token.begin(), token.end(), [](char byte) {
            return static_cast<unsigned char>(byte) < ' ' || byte == '\x7f';
        });
    return {action, isPlausible ? token : QByteArray()};
}

QString nameOfAction(LaunchRequest::Action action) {
    switch (action) {
    case LaunchRequest::Action::activate:
        break;
    case LaunchRequest::Action::showCameraAddresses:
        return QStringLiteral("camera-addresses");
    case LaunchRequest::Action::checkForUpdates:
        return QStringLiteral("check-for-updates");
    case LaunchRequest::Action::startAtLogin:
        return atLoginOption;
    }
    return {};
}

std::optional<LaunchRequest::Action> actionNamed(const QString &name) {
    for (const auto action :
         {LaunchRequest::Action::showCameraAddresses, LaunchRequest::Action::checkForUpdates,
          LaunchRequest::Action::startAtLogin}) {
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
    const auto known = action.toString().isEmpty() ? LaunchRequest::Action::activate
                                                   : actionNamed(action.toString());
    if (!known)
        return std::nullopt;
    return LaunchRequest::with(*known, document[tokenKey].toString().toUtf8());
}

} // namespace lumvik
