#include "app/RendererChoice.h"

#include <utility>

namespace lumvik {

namespace {

bool isSufficient(const OpenGLDescription &openGL) {
    const int smallestMinor = openGL.isES ? 0 : smallestOpenGLMinor;
    return std::pair(openGL.majorVersion, openGL.minorVersion) >=
           std::pair(smallestOpenGLMajor, smallestMinor);
}

QString versionText(const OpenGLDescription &openGL) {
    return QStringLiteral("%1 %2.%3")
        .arg(openGL.isES ? QStringLiteral("OpenGL ES") : QStringLiteral("OpenGL"))
        .arg(openGL.majorVersion)
        .arg(openGL.minorVersion);
}

} // namespace

bool hasPreferredOpenGL(const OpenGLDescription &openGL) {
    return !openGL.isES && std::pair(openGL.majorVersion, openGL.minorVersion) >=
                               std::pair(preferredOpenGLMajor, preferredOpenGLMinor);
}

RendererChoice chooseRenderer(const RendererConditions &conditions) {
    const auto software = [](const QString &reason) {
        return RendererChoice{.kind = RendererKind::software, .reason = reason};
    };
    if (conditions.openGLHasFailed)
        return software(QStringLiteral("OpenGL has failed"));
    if (conditions.requested == QLatin1String("software"))
        return software(QStringLiteral("LUMVIK_RENDERER requests it"));
    if (conditions.requested == QLatin1String("opengl"))
        return {.kind = RendererKind::openGL,
                .reason = QStringLiteral("LUMVIK_RENDERER requests it")};
    if (!conditions.hasGraphicsDevice)
        return software(QStringLiteral("this computer has no graphics device"));
    const auto openGL = conditions.describeOpenGL();
    if (!openGL)
        return software(QStringLiteral("this display has no OpenGL"));
    RendererChoice choice = software(QString());
    choice.openGL = openGL;
    if (isOpenGLInSoftware(openGL->renderer)) {
        choice.reason =
            QStringLiteral("OpenGL is emulated on this display (%1)").arg(openGL->renderer);
    } else if (!isSufficient(*openGL)) {
        choice.reason =
            QStringLiteral("%1 is too old (%2)").arg(versionText(*openGL), openGL->renderer);
    } else {
        choice.kind = RendererKind::openGL;
        choice.reason = QStringLiteral("%1, %2").arg(openGL->renderer, versionText(*openGL));
    }
    return choice;
}

} // namespace lumvik
