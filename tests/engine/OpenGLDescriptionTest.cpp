#include "engine/OpenGLDescription.h"

#include <gtest/gtest.h>

namespace lumvik {
namespace {

using namespace Qt::StringLiterals;

TEST(OpenGLDescription, EmulationIsRecognizedByName) {
    for (const QString &renderer :
         {u"llvmpipe (LLVM 19.1.7, 256 bits)"_s, u"softpipe"_s, u"Software Rasterizer"_s,
          u"virgl (LLVMPIPE (LLVM 15.0.7, 256 bits))"_s,
          u"zink Vulkan 1.3 (llvmpipe (LLVM 15.0.6, 256 bits) (MESA_LLVMPIPE))"_s,
          u"Google SwiftShader"_s})
        EXPECT_TRUE(isOpenGLInSoftware(renderer)) << qPrintable(renderer);
    for (const QString &renderer :
         {u"Mesa Intel(R) UHD Graphics 620 (KBL GT2)"_s, u"NVIDIA GeForce RTX 3060/PCIe/SSE2"_s,
          u"virgl (AMD Radeon RX 580)"_s, u"SVGA3D; build: RELEASE;  LLVM;"_s,
          u"AMD Radeon Graphics (radeonsi, renoir, LLVM 15.0.6)"_s})
        EXPECT_FALSE(isOpenGLInSoftware(renderer)) << qPrintable(renderer);
}

} // namespace
} // namespace lumvik
