// The decoder and the display connection that the video engine uses.

#include "system/harness/ViewerFixture.h"

#include <QFile>

namespace lumvik::test {
namespace {

class GraphicsTest : public ViewerFixture {
  protected:
    /// The files that the viewer has mapped, libraries among them.
    [[nodiscard]] QByteArray mappedFiles() const {
        QFile maps(QStringLiteral("/proc/%1/maps").arg(viewer->process().processId()));
        return maps.open(QFile::ReadOnly) ? maps.readAll() : QByteArray();
    }
    [[nodiscard]] int countOfLines(const QString &textPattern) const {
        const QRegularExpression text(QRegularExpression::anchoredPattern(textPattern));
        const QList<LogLine> lines = viewer->log();
        return static_cast<int>(
            std::count_if(lines.cbegin(), lines.cend(),
                          [&](const LogLine &line) { return text.match(line.text).hasMatch(); }));
    }
};

TEST_F(GraphicsTest, EngineReceivesTheDisplayForSharingDecodedSurfaces) {
    ASSERT_TRUE(startListedCamera());
    ASSERT_NO_FATAL_FAILURE(startViewerAndWaitForPicture(
        {{QStringLiteral("LD_PRELOAD"), QStringLiteral(LUMVIK_RENDER_PARAMETERS)}}));
    EXPECT_TRUE(viewer->process().standardError().contains(
        QStringLiteral("render parameter: X11 display")));
    const QByteArray mapped = mappedFiles();
    EXPECT_TRUE(mapped.contains("libqxcb-egl-integration.so"));
    EXPECT_FALSE(mapped.contains("libqxcb-glx-integration.so"));
}

TEST_F(GraphicsTest, LogNamesTheDecoderOncePerPlayer) {
    CameraProcess *camera = startListedCamera();
    ASSERT_TRUE(camera);
    ASSERT_NO_FATAL_FAILURE(startViewerAndWaitForPicture());
    const QString decoder = QStringLiteral("The video is decoded (in software|by hardware .*)\\.");
    EXPECT_EQ(countOfLines(decoder), 1);
    // The stream returns in the same player.
    const qsizetype mark = viewer->logMark();
    camera->command("drop");
    ASSERT_TRUE(viewer->waitForLiveVideo(mark));
    EXPECT_EQ(countOfLines(QStringLiteral("Starting video engine generation .*")), 1);
    EXPECT_EQ(countOfLines(decoder), 1);
}

} // namespace
} // namespace lumvik::test
