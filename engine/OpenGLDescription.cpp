#include "engine/OpenGLDescription.h"

#include <algorithm>
#include <array>

namespace lumvik {

bool isOpenGLInSoftware(const QString &renderer) {
    // Mesa's software drivers, also behind its Vulkan and virtual GPU drivers; the drivers of other
    // OpenGL implementations.
    static const std::array<QString, 6> names{QStringLiteral("llvmpipe"),
                                              QStringLiteral("softpipe"),
                                              QStringLiteral("swrast"),
                                              QStringLiteral("lavapipe"),
                                              QStringLiteral("Software Rasterizer"),
                                              QStringLiteral("SwiftShader")};
    return std::ranges::any_of(
        names, [&](const QString &name) { return renderer.contains(name, Qt::CaseInsensitive); });
}

} // namespace lumvik
