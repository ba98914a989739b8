// Tests cameras that change their picture size, rotation, codec or password while the viewer runs.

#include "system/harness/ColourBars.h"
#include "system/harness/Eventually.h"
#include "system/harness/FaultFixture.h"

#include <QTransform>

#include <csignal>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

class CameraChangeTest : public FaultFixture {
  protected:
    /// Kills the camera and starts another one on the same port.
    CameraProcess *replace(CameraProcess &camera, CameraSetup setup) {
        setup.port = camera.port();
        camera.process().sendSignal(SIGKILL);
        EXPECT_TRUE(camera.process().waitForExit(5s));
        return startCamera(setup);
    }
    [[nodiscard]] testing::AssertionResult takesTheShape(QSize shape) const {
        testing::AssertionResult verdict = testing::AssertionSuccess();
        const bool taken = eventually(5s, [&] {
            verdict = hasShape(shape);
            return static_cast<bool>(verdict);
        });
        return taken ? testing::AssertionSuccess() : verdict;
    }
};

TEST_F(CameraChangeTest, NewResolutionIsShownWithTheNextKeyFrame) {
    CameraProcess *camera = showCamera();
    ASSERT_TRUE(camera);
    const qsizetype mark = viewer->logMark();
    camera->command("size 640x480");
    faultIsOver();
    EXPECT_TRUE(takesTheShape({640, 480}));
    // The camera sends a key frame in the new size at once. The picture must be correct from that
    // key frame on.
    EXPECT_TRUE(pictureIsLive(2s));
    report("live in the new shape after", sinceFault(), 2s);
    EXPECT_TRUE(nothingScheduled(mark));
    expectOneStream(*camera);
}

TEST_F(CameraChangeTest, NewPictureSizeIsShownAfterAReload) {
    CameraProcess *camera = showCamera();
    ASSERT_TRUE(camera);
    const qsizetype mark = viewer->logMark();
    camera->command("size 480x640");
    camera->command("drop");
    faultIsOver();
    EXPECT_TRUE(isLiveAgainWithin(4s, mark));
    EXPECT_TRUE(takesTheShape({480, 640}));
    EXPECT_TRUE(pictureIsLive(2s));
    expectOneStream(*camera);
}

TEST_F(CameraChangeTest, NewRotationIsAppliedAfterAReload) {
    CameraProcess *camera = showCamera();
    ASSERT_TRUE(camera);
    const qsizetype mark = viewer->logMark();
    camera->command("rotate 90");
    camera->command("drop");
    faultIsOver();
    ASSERT_TRUE(logShows({resumed}, mark, 4s));
    const auto showsBarsOnTheirSide = [](const QImage &picture) {
        return showsColourBars(picture.transformed(QTransform().rotate(-90)));
    };
    EXPECT_TRUE(screen.waitUntil(viewer->window(), showsBarsOnTheirSide, 4s));
    EXPECT_TRUE(takesTheShape({360, 640}));
    EXPECT_TRUE(screen.waitUntil(viewer->window(), showsBarsOnTheirSide, 2s));
    report("turned after", sinceFault(), 4s);
    EXPECT_TRUE(screen.changesWithin(viewer->geometry(), 2s));
    expectOneStream(*camera);
}

TEST_F(CameraChangeTest, PictureReturnsAfterACodecChange) {
    CameraProcess *camera = showCamera();
    ASSERT_TRUE(camera);
    const qsizetype mark = viewer->logMark();
    CameraSetup setup = camera->setup();
    setup.codec = QStringLiteral("h265");
    setup.size = QSize(640, 480);
    camera = replace(*camera, setup);
    ASSERT_TRUE(camera);
    faultIsOver();
    EXPECT_TRUE(isLiveAgainWithin(5s, mark));
    EXPECT_TRUE(takesTheShape({640, 480}));
    EXPECT_TRUE(pictureIsLive(2s));
    expectOneStream(*camera);
}

// Real cameras lock an account after five to seven wrong passwords.
TEST_F(CameraChangeTest, WrongPasswordIsSentTwiceAtMostInFortySeconds) {
    const QString wrong = QStringLiteral("wr@ng:p/ss%#");
    CameraSetup setup = faultCamera();
    setup.lockAfter = 5;
    CameraProcess *camera = startCamera(setup);
    ASSERT_TRUE(camera);
    home.writeCameras({{setup.name, camera->urlWithPassword(wrong)}});
    const QString waits = QStringLiteral(
        "default playback: The next login is in \\d+ seconds, so that the camera does not lock "
        "the account\\.");
    QElapsedTimer sinceStart;
    sinceStart.start();
    for (int start = 0; start < 3; ++start) {
        startViewer({{QStringLiteral("LUMVIK_ENGINE_LOG"), QStringLiteral("debug")}});
        EXPECT_TRUE(logShows({waits}, 0, 20s)) << "start " << start;
        expectOrderlyEnd();
        expectNeverWritten(wrong);
    }
    startViewer();
    const auto refusals = [camera] {
        return camera->command("refusals").remove(QStringLiteral("ok "));
    };
    EXPECT_TRUE(always(40s - Milliseconds(sinceStart.elapsed()), [&] {
        return refusals().toInt() >= 1 && refusals().toInt() <= 2;
    })) << qPrintable(refusals());
    expectOrderlyEnd();

    // The user corrects the password.
    home.writeCameras({{setup.name, camera->url()}});
    faultIsOver();
    startViewer();
    EXPECT_TRUE(isLiveAgainWithin(10s, 0));
    expectOneStream(*camera);
    expectOrderlyEnd();
    const QByteArray stored = home.preference(QStringLiteral("loginHistories")).toByteArray();
    EXPECT_TRUE(stored.contains("account")) << stored.constData();
    for (const QString &secret : {wrong, password, user}) {
        for (const QByteArray &form : formsOfSecret(secret))
            EXPECT_FALSE(stored.contains(form)) << form.constData();
    }
}

} // namespace
} // namespace lumvik::test
