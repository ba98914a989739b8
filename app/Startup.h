#pragma once

#include "app/RendererChoice.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace lumvik {

class DisplayConnectionMonitor;

/// Configures the allocator so that memory use does not grow over weeks of player restarts. Must be
/// called before large allocations, because it does not affect existing ones.
void prepareMemory();

/// Selects the windowing system and the render loop. Must be called before the application object
/// is created. Sets environment variables of this process. The user's own values take precedence,
/// except for the render loop and the back end.
void prepareToolkit();

/// Set in the environment of an instance that replaces one in which OpenGL has failed.
inline constexpr const char *openGLFailedVariable = "LUMVIK_OPENGL_FAILED";

/// Chooses how windows are drawn on this process's display. May start a child process (see
/// OpenGLProbe.h). Must be called after `prepareToolkit`.
[[nodiscard]] RendererChoice chooseRendererForThisDisplay();

/// Makes the toolkit draw windows as chosen. Must be called after `prepareToolkit`, and before the
/// application object is created.
void prepareRenderer(const RendererChoice &choice);

/// Prevents this process from using an unresponsive session bus. Qt uses the bus for themes and
/// accessibility, and would wait a minute for its reply before it shows the first window. Blocks
/// for two seconds if the bus is unresponsive, otherwise only until it replies. Must be called
/// before the application object is created.
void avoidUnresponsiveSessionBus();

/// Returns the reason why no window can be opened, as a message for the terminal, or nothing if one
/// can. Without this check, Qt would abort the process.
[[nodiscard]] std::optional<std::string> missingDisplay();

/// Monitors Qt's connection to the X server, if there is one, and calls `lost` on another thread
/// when the server has disappeared. Qt also exits then, but only when the main thread returns to
/// its event loop. It may never return, because Mesa's software rendering keeps sending the same
/// picture to a server that no longer exists.
[[nodiscard]] std::unique_ptr<DisplayConnectionMonitor> watchDisplay(std::function<void()> lost);

/// Returns the log level of the engine: LUMVIK_ENGINE_LOG from the environment if it is the name of
/// one of libmpv's levels, otherwise "warn".
[[nodiscard]] std::string engineLogLevel();

} // namespace lumvik
