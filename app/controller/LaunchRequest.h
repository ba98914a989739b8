#pragma once

#include <QByteArray>
#include <QString>

#include <functional>
#include <optional>

namespace lumvik {

/// A request that is made by starting the program. If Lumvik is already running, the running
/// instance carries it out.
struct LaunchRequest {
    enum class Action {
        activate, ///< Brings the window to the front and does nothing else.
        showCameraAddresses,
        checkForUpdates,
        /// The desktop starts the program when the user logs in: the window does not take the
        /// keyboard, and stays where it is if the program runs already.
        startAtLogin,
    };

    Action action = Action::activate;
    /// The activation token (Wayland) or startup id (X11) with which the desktop allows a window to
    /// come to the front. Empty if the desktop passed none.
    QByteArray activationToken;

    /// Returns a request with a token from an untrusted sender. A token longer than 1 KiB or with
    /// control characters is dropped, because no desktop creates such tokens.
    [[nodiscard]] static LaunchRequest with(Action action, const QByteArray &token);

    friend bool operator==(const LaunchRequest &, const LaunchRequest &) = default;
};

/// Carries out a request. Returns false if the program is exiting and cannot do so.
using LaunchRequestHandler = std::function<bool(const LaunchRequest &request)>;

/// Returns the name of an action in the desktop entry and on the command line, such as
/// "camera-addresses". Empty for `activate`, which has no name.
[[nodiscard]] QString nameOfAction(LaunchRequest::Action action);
/// Returns the action with the given name, or nothing if there is none.
[[nodiscard]] std::optional<LaunchRequest::Action> actionNamed(const QString &name);

/// Returns the request as one line of text, without the line break.
[[nodiscard]] QByteArray encode(const LaunchRequest &request);
/// Returns the request that `encode` made `line` from, or nothing if `line` is not a request.
[[nodiscard]] std::optional<LaunchRequest> decodeLaunchRequest(const QByteArray &line);

} // namespace lumvik
