#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace lumvik {

class DisplayConnectionMonitor;

/// Keeps memory together over weeks of new players, each with threads of its own. Called before
/// anything that allocates much: what was allocated before stays where it is.
void prepareMemory();

/// What has to be settled before the application object exists: the windowing system, the render
/// loop and the kind of OpenGL. Sets environment variables of this process; the user's own choices
/// win.
void prepareToolkit();

/// Keeps this process away from a session bus that accepts connections and is silent from then on:
/// the toolkit uses the bus for themes and accessibility, and would wait for its answer for a
/// minute before the first window. Waits two seconds for such a bus, for others no time. To be
/// called before the application object exists.
void avoidUnresponsiveSessionBus();

/// Why no window can be opened, as a message for the terminal; nothing when one can. The toolkit
/// itself would end the process with a core dump.
[[nodiscard]] std::optional<std::string> missingDisplay();

/// Watches the toolkit's connection to the X server, if it has one; calls `lost`, on another
/// thread, when the server has gone. The toolkit ends the process then, but only once the main
/// thread is back in its event loop, and Mesa's software rendering does not come back: to a server
/// that does not exist it sends the same picture for ever.
[[nodiscard]] std::unique_ptr<DisplayConnectionMonitor> watchDisplay(std::function<void()> lost);

/// The least important kind of engine message to log, by libmpv's names: LUMVIK_ENGINE_LOG from the
/// environment when it is one of them, else "warn".
[[nodiscard]] std::string engineLogLevel();

} // namespace lumvik
