#pragma once

#include <QString>

namespace lumvik {

/// What an OpenGL context reports about itself.
struct OpenGLDescription {
    QString renderer; ///< The value of GL_RENDERER.
    int majorVersion = 0;
    int minorVersion = 0;
    bool isES = false; ///< Whether this is OpenGL ES.

    friend bool operator==(const OpenGLDescription &, const OpenGLDescription &) = default;
};

/// Returns whether OpenGL is emulated by the processor, according to `renderer`, the value of
/// GL_RENDERER.
[[nodiscard]] bool isOpenGLInSoftware(const QString &renderer);

} // namespace lumvik
