#include "app/controller/StreamDetailsController.h"

#include "ControllerFixture.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QTest>

namespace lumvik::test {
namespace {

class StreamDetailsControllerTest : public ControllerFixture {
  protected:
    StreamDetailsControllerTest() { cameraLinks.areEnabled = true; }
    [[nodiscard]] static StreamDetailsPanel &panel() {
        for (QQuickItem *item : window().contentItem()->childItems()) {
            if (auto *found = qobject_cast<StreamDetailsPanel *>(item))
                return *found;
        }
        qFatal("There is no panel.");
    }
    /// Returns the value in the row `label` of the panel.
    [[nodiscard]] static QString shown(const QString &label) {
        for (const StreamDetailsRow &row : panel().rows()) {
            if (row.label == label)
                return row.value;
        }
        return {};
    }
    void toggleDetails() { menuItem(u"Stream Details"_s)->trigger(); }
    void play(double seconds) {
        for (double passed = 0; passed < seconds; passed += 0.2) {
            delegate->recordRenderedFrame(playerGeneration());
            queue.advance(0.2);
        }
    }
};

TEST_F(StreamDetailsControllerTest, PanelFollowsTheStream) {
    launchAndPlay(threeCameras());
    EXPECT_FALSE(panel().isVisible());
    mpv.setTextProperty("video-format", "hevc");
    delegate->handlePlaybackEngineEvent(PlaybackEngineEvents::StartFile{}, playerGeneration());
    play(1);
    reportVideo(1920, 1080, 90);
    toggleDetails();
    EXPECT_TRUE(panel().isVisible());
    EXPECT_EQ(shown(u"Camera"_s), u"Front door"_s);
    EXPECT_EQ(shown(u"Host"_s), u"camera.example:554"_s);
    EXPECT_EQ(shown(u"Picture"_s), u"Live"_s);
    EXPECT_EQ(shown(u"Codec"_s), u"hevc"_s);
    EXPECT_EQ(shown(u"Resolution"_s), u"1080 × 1920"_s);
    EXPECT_EQ(shown(u"Renderer"_s), u"software"_s);
    EXPECT_EQ(shown(u"Frame rate"_s), u"–"_s);
    cameraLinks.report(
        {.kind = LinkFact::Kind::Measured,
         .measure = {.lateness = 0.5, .picturesPerSecond = 12.5, .bitsPerSecond = 2e6}});
    play(1.2);
    EXPECT_EQ(shown(u"Frame rate"_s), u"12.5 fps"_s);
    EXPECT_EQ(shown(u"Bit rate"_s), u"2.0 Mbit/s"_s);
    EXPECT_EQ(shown(u"Lateness"_s), u"0.5 s"_s);
    EXPECT_EQ(shown(u"Playing for"_s), u"0:00:02"_s);
    toggleDetails();
    EXPECT_FALSE(panel().isVisible());
}

TEST_F(StreamDetailsControllerTest, RecoveriesOfTheDayAreCounted) {
    launchAndPlay(threeCameras());
    play(1);
    toggleDetails();
    EXPECT_EQ(shown(u"Recoveries today"_s), u"0"_s);
    failRecoveryAttempts(3);
    queue.advance(1);
    EXPECT_EQ(shown(u"Recoveries today"_s), u"0"_s) << "the picture has not come back";
    play(1.2);
    EXPECT_EQ(shown(u"Recoveries today"_s), u"1"_s) << "however many attempts it took";
    EXPECT_TRUE(shown(u"Last recovery"_s).endsWith(u", a test"_s));
    date = date.addDays(1);
    queue.advance(1.1);
    EXPECT_EQ(shown(u"Recoveries today"_s), u"0"_s);
    EXPECT_TRUE(shown(u"Last recovery"_s).endsWith(u", a test"_s)) << "it is still of interest";
}

TEST_F(StreamDetailsControllerTest, NothingOfTheOldStreamIsShownForTheNew) {
    launchAndPlay(threeCameras());
    play(1);
    cameraLinks.report({.kind = LinkFact::Kind::Measured, .measure = {.picturesPerSecond = 12.5}});
    queue.runPending();
    toggleDetails();
    ASSERT_EQ(shown(u"Frame rate"_s), u"12.5 fps"_s);
    failRecoveryAttempts(1);
    delegate->cameraMenuItemSelected(1);
    queue.advance(1.1);
    EXPECT_EQ(shown(u"Camera"_s), u"Yard"_s);
    EXPECT_EQ(shown(u"Frame rate"_s), u"–"_s);
    EXPECT_EQ(shown(u"Codec"_s), u"–"_s);
    play(1.2);
    EXPECT_EQ(shown(u"Recoveries today"_s), u"0"_s) << "the user has chosen another camera";
}

TEST_F(StreamDetailsControllerTest, RatesOfASilentCameraAreNotShown) {
    launchAndPlay(threeCameras());
    play(1);
    toggleDetails();
    cameraLinks.report({.kind = LinkFact::Kind::Measured, .measure = {.picturesPerSecond = 12.5}});
    queue.advance(1.9);
    EXPECT_EQ(shown(u"Frame rate"_s), u"12.5 fps"_s);
    queue.advance(1.2);
    EXPECT_EQ(shown(u"Frame rate"_s), u"–"_s);
    EXPECT_EQ(shown(u"Lateness"_s), u"–"_s);
    cameraLinks.report({.kind = LinkFact::Kind::Measured, .measure = {.picturesPerSecond = 0.5}});
    queue.advance(5);
    EXPECT_EQ(shown(u"Frame rate"_s), u"0.5 fps"_s) << "it sends a picture every two seconds";
}

TEST_F(StreamDetailsControllerTest, KeyWorksInTheViewer) {
    launch(threeCameras());
    ASSERT_TRUE(eventually([&] { return window().isActive(); }));
    QTest::keyClick(&window(), Qt::Key_I, Qt::ControlModifier);
    EXPECT_TRUE(panel().isVisible());
    QTest::keyClick(&window(), Qt::Key_I, Qt::ControlModifier);
    EXPECT_FALSE(panel().isVisible());
}

TEST_F(StreamDetailsControllerTest, DiagnosisHasTheLogAndNoSecrets) {
    CameraList cameras = threeCameras();
    cameras.front().name = cameras.front().url; // some users do that
    launchAndPlay(cameras);
    play(1);
    menuItem(u"Copy Diagnosis"_s)->trigger();
    const QString diagnosis = QGuiApplication::clipboard()->text();
    EXPECT_TRUE(diagnosis.contains(u"Picture: Live\n"_s));
    EXPECT_TRUE(diagnosis.contains(u"Lumvik: 1.5 (7)\n"_s));
    EXPECT_TRUE(diagnosis.contains(u"default playback: Starting video engine generation 1.\n"_s));
    EXPECT_FALSE(diagnosis.contains(u"s3cret"_s));
    EXPECT_FALSE(diagnosis.contains(u"viewer:"_s));
    EXPECT_FALSE(diagnosis.contains(u"/front"_s));
}

} // namespace
} // namespace lumvik::test
