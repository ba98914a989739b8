#include "app/RendererChoice.h"

#include <gtest/gtest.h>

#include <ostream>

namespace lumvik {
namespace {

using namespace Qt::StringLiterals;

const OpenGLDescription card{u"Mesa Intel(R) UHD Graphics 620 (KBL GT2)"_s, 4, 6, false};
const OpenGLDescription emulated{u"llvmpipe (LLVM 15.0.6, 256 bits)"_s, 4, 5, false};

struct ChoiceCase {
    const char *what;
    QString requested;
    bool openGLHasFailed;
    bool hasGraphicsDevice;
    std::optional<OpenGLDescription> openGL;
    RendererKind expected;
    QString reason;
};

void PrintTo(const ChoiceCase &row, std::ostream *out) {
    *out << row.what;
}

class RendererChoiceTest : public testing::TestWithParam<ChoiceCase> {};

TEST_P(RendererChoiceTest, FollowsTheConditions) {
    const ChoiceCase &row = GetParam();
    const RendererChoice choice = chooseRenderer({.requested = row.requested,
                                                  .openGLHasFailed = row.openGLHasFailed,
                                                  .hasGraphicsDevice = row.hasGraphicsDevice,
                                                  .describeOpenGL = [&] { return row.openGL; }});
    EXPECT_EQ(choice.kind, row.expected);
    EXPECT_EQ(choice.reason, row.reason);
}

INSTANTIATE_TEST_SUITE_P(
    , RendererChoiceTest,
    testing::Values(
        ChoiceCase{"GraphicsCard", u""_s, false, true, card, RendererKind::openGL,
                   u"Mesa Intel(R) UHD Graphics 620 (KBL GT2), OpenGL 4.6"_s},
        ChoiceCase{"NoDevice", u""_s, false, false, card, RendererKind::software,
                   u"this computer has no graphics device"_s},
        ChoiceCase{"NoOpenGL", u""_s, false, true, std::nullopt, RendererKind::software,
                   u"this display has no OpenGL"_s},
        ChoiceCase{"RemoteDesktop", u""_s, false, true, emulated, RendererKind::software,
                   u"OpenGL is emulated on this display (llvmpipe (LLVM 15.0.6, 256 bits))"_s},
        ChoiceCase{"OldestOpenGL", u""_s, false, true, OpenGLDescription{u"V3D 4.2"_s, 3, 1, false},
                   RendererKind::openGL, u"V3D 4.2, OpenGL 3.1"_s},
        ChoiceCase{"TooOldOpenGL", u""_s, false, true,
                   OpenGLDescription{u"VC4 V3D 2.1"_s, 2, 1, false}, RendererKind::software,
                   u"OpenGL 2.1 is too old (VC4 V3D 2.1)"_s},
        ChoiceCase{"OldestES", u""_s, false, true, OpenGLDescription{u"Mali-G52"_s, 3, 0, true},
                   RendererKind::openGL, u"Mali-G52, OpenGL ES 3.0"_s},
        ChoiceCase{"TooOldES", u""_s, false, true, OpenGLDescription{u"Mali-400"_s, 2, 0, true},
                   RendererKind::software, u"OpenGL ES 2.0 is too old (Mali-400)"_s},
        ChoiceCase{"SoftwareRequested", u"software"_s, false, true, card, RendererKind::software,
                   u"LUMVIK_RENDERER requests it"_s},
        ChoiceCase{"OpenGLRequested", u"opengl"_s, false, false, std::nullopt, RendererKind::openGL,
                   u"LUMVIK_RENDERER requests it"_s},
        ChoiceCase{"UnknownRequest", u"vulkan"_s, false, false, card, RendererKind::software,
                   u"this computer has no graphics device"_s},
        ChoiceCase{"OpenGLFailed", u""_s, true, true, card, RendererKind::software,
                   u"OpenGL has failed"_s},
        ChoiceCase{"RequestedOpenGLFailed", u"opengl"_s, true, true, card, RendererKind::software,
                   u"OpenGL has failed"_s}),
    [](const auto &row) { return std::string(row.param.what); });

TEST(RendererChoice, OpenGLIsDescribedOnlyWhereNothingElseDecides) {
    for (const QString &requested : {u"software"_s, u"opengl"_s}) {
        (void)chooseRenderer({.requested = requested,
                              .hasGraphicsDevice = true,
                              .describeOpenGL = [&]() -> std::optional<OpenGLDescription> {
                                  ADD_FAILURE() << qPrintable(requested);
                                  return std::nullopt;
                              }});
    }
}

} // namespace
} // namespace lumvik
