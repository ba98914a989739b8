#pragma once

#include <QByteArray>

#include <cstdint>
#include <optional>

class QWindow;

namespace lumvik {

/// Brings `window` to the front and gives it the keyboard, as far as the desktop lets it: because
/// the user has just asked for it, elsewhere. `token` is what the desktop gave that request along,
/// an activation token (Wayland) or a startup id (X11), or empty. A desktop that shows a busy
/// pointer until the program has answered hears that it has. Main thread only.
void activateWindow(QWindow &window, const QByteArray &token);

/// The time of the user's action in a startup id, in the X server's milliseconds; nothing when the
/// id tells of none.
[[nodiscard]] std::optional<std::uint32_t> timeOfStartupId(const QByteArray &id);

} // namespace lumvik
