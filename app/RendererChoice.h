#pragma once

#include "engine/OpenGLDescription.h"

#include <QString>

#include <functional>
#include <optional>

namespace lumvik {

/// The ways in which the viewer's window can be drawn.
enum class RendererKind {
    openGL,   ///< By the graphics card, through OpenGL.
    software, ///< By the processor, without OpenGL.
};

/// The oldest versions of OpenGL that the window requests. libmpv draws with them.
inline constexpr int smallestOpenGLMajor = 3;
inline constexpr int smallestOpenGLMinor = 1; ///< Of OpenGL. OpenGL ES is accepted from 3.0.
/// The version that is requested where it is available.
inline constexpr int preferredOpenGLMajor = 3;
inline constexpr int preferredOpenGLMinor = 2;

/// How the window is drawn, and why.
struct RendererChoice {
    RendererKind kind = RendererKind::software;
    QString reason; ///< A sentence for the log.
    /// The OpenGL that was found, if it was asked for.
    std::optional<OpenGLDescription> openGL = std::nullopt;
};

/// What the choice of a renderer depends on.
struct RendererConditions {
    QString requested;            ///< The value of LUMVIK_RENDERER, or an empty text.
    bool openGLHasFailed = false; ///< OpenGL failed in the instance that was replaced by this one.
    bool hasGraphicsDevice = false; ///< Whether a graphics card may be available.
    /// Returns what OpenGL reports on this display, or nothing if there is none. Slow, and
    /// therefore called only where the other conditions leave it open.
    std::function<std::optional<OpenGLDescription>()> describeOpenGL;
};

/// Returns whether `openGL` has the version that the window prefers.
[[nodiscard]] bool hasPreferredOpenGL(const OpenGLDescription &openGL);

/// Chooses how the window is drawn. The graphics card draws where it can. OpenGL that is emulated
/// by the processor is never chosen, because drawing without it takes a quarter of the time. Remote
/// desktops commonly have a graphics device and yet no OpenGL that uses it.
[[nodiscard]] RendererChoice chooseRenderer(const RendererConditions &conditions);

} // namespace lumvik
