#pragma once

#include "app/RendererChoice.h"

#include <QString>

#include <optional>

namespace lumvik {

// Finding out whether a graphics card draws this display's OpenGL. The question is put to a
// short-lived child process: asking it in the viewer's own process would load the OpenGL driver,
// whose memory and start-up time are to be saved where it turns out to be useless.

/// The option with which the program describes OpenGL and exits, for use by `describeOpenGL`.
inline constexpr const char *describeOpenGLOption = "--describe-opengl";

/// Returns whether a graphics card may be available: the system has a render node, or a device of a
/// driver that has none, and this process may use it. `root` is the root of the file system.
[[nodiscard]] bool hasGraphicsDevice(const QString &root = QStringLiteral("/"));

/// Returns the path of the running program, which remains valid when an update replaces its file.
[[nodiscard]] QString ownProgram();

/// Returns what OpenGL reports on the display of this process, or nothing if there is no OpenGL.
/// Starts this program as a child process unless the result for the same display, graphics devices
/// and system start is stored in `cacheFile`. Blocks for a few tenths of a second, and for at most
/// five seconds if the driver hangs, which counts as no OpenGL. Call it before the application
/// object is created.
[[nodiscard]] std::optional<OpenGLDescription>
describeOpenGL(const QString &cacheFile, const QString &program = ownProgram());

/// Returns $XDG_CACHE_HOME/lumvik/opengl.conf, by default ~/.cache/lumvik/opengl.conf.
[[nodiscard]] QString openGLCacheFile();

/// Describes OpenGL on this display on standard output, for `describeOpenGL` in the parent process.
/// Returns the exit status. Creates the application object.
[[nodiscard]] int runOpenGLProbe(int argc, char **argv);

/// Returns the description in the output of a probe, or nothing if it is not complete.
[[nodiscard]] std::optional<OpenGLDescription> parseOpenGLDescription(const QString &output);
/// Returns the output of a probe that found `openGL`.
[[nodiscard]] QString openGLDescriptionText(const OpenGLDescription &openGL);

} // namespace lumvik
