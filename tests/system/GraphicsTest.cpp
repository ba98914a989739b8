// Tests which renderer the program chooses, and which decoder and display connection the video
// engine uses.

#include "system/harness/NetworkNamespace.h"
#include "system/harness/ViewerFixture.h"

#include <QFile>
#include <QRegularExpression>

namespace lumvik::test {
namespace {

class GraphicsTest : public ViewerFixture {
  protected:
    /// Returns the list of the files that the viewer has mapped, which includes its libraries.
    [[nodiscard]] QByteArray mappedFiles() const {
        QFile maps(QStringLiteral("/proc/%1/maps").arg(viewer->process().processId()));
        return maps.open(QFile::ReadOnly) ? maps.readAll() : QByteArray();
    }
    /// Returns the mapped files that belong to an OpenGL driver. The libraries that pass OpenGL
    /// calls on to a driver are not among them: they are small, and the toolkit and the engine link
    /// to them.
    [[nodiscard]] QStringList mappedDriverFiles() const {
        static const QRegularExpression driver(
            QStringLiteral("/[^/]*(LLVM|_dri\\.so|gallium|GLX_|EGL_|swrast)[^/]*$"));
        QStringList files;
        for (const QByteArray &line : mappedFiles().split('\n')) {
            const QString text = QString::fromUtf8(line);
            if (driver.match(text).hasMatch())
                files.append(text.mid(text.indexOf(u'/')));
        }
        files.removeDuplicates();
        return files;
    }
    /// Makes the viewer see a folder of devices without graphics cards, or with a render node only.
    /// Skips the test where the system does not permit private mounts.
    void replaceDevices(bool hasRenderNode) {
        if (const QString obstacle = NetworkNamespace::obstacle(); !obstacle.isNull())
            GTEST_SKIP() << qPrintable(obstacle);
        // A named pipe in place of the render node satisfies the viewer's check. A driver that
        // opens the pipe finds that no graphics card is behind it.
        const QString node =
            hasRenderNode ? QStringLiteral("mkdir dri; mkfifo dri/renderD128; ") : QString();
        viewerLauncher = {
            QStringLiteral("unshare"),
            QStringLiteral("--user"),
            QStringLiteral("--map-root-user"),
            QStringLiteral("--mount"),
            QStringLiteral("sh"),
            QStringLiteral("-ec"),
            QStringLiteral("old=$PWD; d=$(mktemp -d); mount -t tmpfs none $d; cd $d; ") + node +
                QStringLiteral("for n in null zero full random urandom; do touch $n; "
                               "mount --bind /dev/$n $n; done; "
                               "mkdir shm; mount --bind /dev/shm shm; "
                               "mount --rbind $d /dev; cd \"$old\"; exec \"$0\""),
        };
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
        {{QStringLiteral("LUMVIK_RENDERER"), QStringLiteral("opengl")},
         {QStringLiteral("LD_PRELOAD"), QStringLiteral(LUMVIK_RENDER_PARAMETERS)}}));
    EXPECT_TRUE(viewer->process().standardError().contains(
        QStringLiteral("render parameter: X11 display")));
    const QByteArray mapped = mappedFiles();
    EXPECT_TRUE(mapped.contains("libqxcb-egl-integration.so"));
    EXPECT_FALSE(mapped.contains("libqxcb-glx-integration.so"));
}

TEST_F(GraphicsTest, ComputerWithoutAGraphicsDeviceDrawsWithoutOpenGL) {
    ASSERT_NO_FATAL_FAILURE(replaceDevices(false));
    if (IsSkipped())
        return;
    ASSERT_TRUE(startListedCamera());
    ASSERT_NO_FATAL_FAILURE(startViewerAndWaitForPicture());
    EXPECT_TRUE(viewer->hasLogged(
        QStringLiteral("info"), QStringLiteral("lifecycle"),
        QStringLiteral(
            "The window is drawn without OpenGL: this computer has no graphics device\\.")));
    EXPECT_THAT(mappedDriverFiles(), testing::IsEmpty());
}

TEST_F(GraphicsTest, RemoteDesktopWithARenderNodeDrawsWithoutOpenGL) {
    ASSERT_NO_FATAL_FAILURE(replaceDevices(true));
    if (IsSkipped())
        return;
    ASSERT_TRUE(startListedCamera());
    const QString reason =
        QStringLiteral("The window is drawn without OpenGL: OpenGL is emulated on this display "
                       "\\(llvmpipe .*\\)\\.");
    ASSERT_NO_FATAL_FAILURE(startViewerAndWaitForPicture());
    EXPECT_TRUE(viewer->hasLogged(QStringLiteral("info"), QStringLiteral("lifecycle"), reason));
    EXPECT_THAT(mappedDriverFiles(), testing::IsEmpty());
    endViewer();

    // The second start finds the stored description: here, an emulation by that name cannot exist.
    const QString cachePath = home.cacheFolder() + QStringLiteral("/opengl.conf");
    QFile cache(cachePath);
    ASSERT_TRUE(cache.open(QFile::ReadOnly)) << qPrintable(cachePath);
    QByteArray stored = cache.readAll();
    cache.close();
    ASSERT_TRUE(stored.contains("llvmpipe"));
    stored.replace("llvmpipe", "llvmpipe stored");
    ASSERT_TRUE(cache.open(QFile::WriteOnly));
    cache.write(stored);
    cache.close();
    ASSERT_NO_FATAL_FAILURE(startViewerAndWaitForPicture());
    EXPECT_TRUE(viewer->hasLogged(
        QStringLiteral("info"), QStringLiteral("lifecycle"),
        QStringLiteral("The window is drawn without OpenGL: .*\\(llvmpipe stored .*\\)\\.")));
}

TEST_F(GraphicsTest, OpenGLThatFailsIsReplacedByARestart) {
    ASSERT_TRUE(startListedCamera());
    startViewer({{QStringLiteral("LUMVIK_RENDERER"), QStringLiteral("opengl")},
                 {QStringLiteral("QT_XCB_GL_INTEGRATION"), QStringLiteral("none")}});
    EXPECT_TRUE(viewer->waitForLog(
        QStringLiteral("info"), QStringLiteral("lifecycle"),
        QStringLiteral("The window is drawn without OpenGL: OpenGL has failed\\."),
        std::chrono::seconds(30)));
    EXPECT_TRUE(viewer->waitForLiveVideo());
    EXPECT_TRUE(pictureFillsTheWindow());
    endViewer();
}

TEST_F(GraphicsTest, LogNamesTheDecoderOncePerPlayer) {
    CameraProcess *camera = startListedCamera();
    ASSERT_TRUE(camera);
    ASSERT_NO_FATAL_FAILURE(startViewerAndWaitForPicture());
    const QString decoder = QStringLiteral("The video is decoded (in software|by hardware .*)\\.");
    EXPECT_EQ(countOfLines(decoder), 1);
    // The same player reloads the lost stream, so the decoder must not be logged again.
    const qsizetype mark = viewer->logMark();
    camera->command("drop");
    ASSERT_TRUE(viewer->waitForLiveVideo(mark));
    EXPECT_EQ(countOfLines(QStringLiteral("Starting video engine generation .*")), 1);
    EXPECT_EQ(countOfLines(decoder), 1);
}

} // namespace
} // namespace lumvik::test
