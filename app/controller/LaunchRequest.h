#pragma once

#include <QByteArray>
#include <QString>

#include <functional>
#include <optional>

namespace lumvik {

/// What a start of the program asks for. When Lumvik runs already, it is the running one that gets
/// it.
struct LaunchRequest {
    enum class Action {
        activate, ///< Just the window.
        showCameraAddresses,
        checkForUpdates,
    };

    Action action = Action::activate;
    /// What the desktop gave the start along, so that a window may come to the front: an activation
    /// token (Wayland) or a startup id (X11). Empty when it gave nothing.
    QByteArray activationToken;

    /// A request with the token that came with it, whoever sent that. One which no desktop would
    /// make, longer than a KiB or with control characters in it, counts as none.
    [[nodiscard]] static LaunchRequest with(Action action, const QByteArray &token);

    friend bool operator==(const LaunchRequest &, const LaunchRequest &) = default;
};

/// Does what a request asks. False while the program is ending, and can do no more.
using LaunchRequestHandler = std::function<bool(const LaunchRequest &request)>;

/// The name of an action in the desktop entry and on the command line ("camera-addresses"). Empty
/// for plain activation, which has none.
[[nodiscard]] QString nameOfAction(LaunchRequest::Action action);
/// The action of that name; nothing when there is none.
[[nodiscard]] std::optional<LaunchRequest::Action> actionNamed(const QString &name);

/// The request as one line of text, without a line break, and back. Nothing for what no request
/// looks like.
[[nodiscard]] QByteArray encode(const LaunchRequest &request);
[[nodiscard]] std::optional<LaunchRequest> decodeLaunchRequest(const QByteArray &line);

} // namespace lumvik
