#include "ControllerFixture.h"

#include <QFile>
#include <QFileInfo>

// Tests of the number of decoding threads, with the controller in virtual time.

namespace lumvik::test {
namespace {

using namespace PlaybackEngineEvents;

/// A stream as the engine reports it, per second.
struct Stream {
    double queued = 1;       // seconds of video that wait
    double runningShare = 1; // of the decoding thread
    double waitingShare = 0; // of the decoding thread, which waits for a core
    double speed = 0.6;      // seconds of video that are shown
};

constexpr Stream tooSlowStream{};
constexpr Stream keepsUpStream{.queued = 0.04, .runningShare = 0.6, .speed = 1};
constexpr Stream slowNetworkStream{.queued = 0, .runningShare = 0.3, .speed = 0.5};
constexpr Stream busyMachineStream{.runningShare = 0.6, .waitingShare = 0.4};
constexpr Stream catchesUpStream{.queued = 1, .runningShare = 1, .speed = 1.2};

const QString fellBehind =
    u"Decoding on one thread fell behind; the camera is loaded again with 2 decoding threads."_s;

class DecodingSupervisorTest : public ControllerFixture {
  protected:
    void SetUp() override { cores = 4; }

    void play(const Stream &stream, double seconds) {
        constexpr double interval = 0.1;
        for (double played = 0; played < seconds; played += interval) {
            decodingTimes = decodingTimes.value_or(ThreadTimes());
            decodingTimes->running += stream.runningShare * interval;
            decodingTimes->waiting += stream.waitingShare * interval;
            m_position += stream.speed * interval;
            mpv.setTextProperty("demuxer-cache-duration", std::to_string(stream.queued));
            mpv.setTextProperty("time-pos", std::to_string(m_position));
            showFrame();
            queue.advance(interval);
        }
    }
    /// Plays a stream that is too slow until a recovery is requested.
    void fallBehind() {
        const qsizetype before = requests();
        for (int n = 0; n < 120 && requests() == before; ++n)
            play(tooSlowStream, 0.1);
        ASSERT_EQ(requests(), before + 1);
    }
    /// Delivers the events of a load and the first frame.
    void startStream() {
        delegate->handlePlaybackEngineEvent(StartFile{}, playerGeneration());
        showFrame();
    }
    /// Lets a recovery attempt that has been scheduled run.
    void reload() {
        const std::size_t loads = mpv.callsTo("mpv_command").size();
        for (int n = 0; n < 40 && mpv.callsTo("mpv_command").size() == loads; ++n)
            queue.advance(0.1);
        startStream();
    }
    void launchAndShow() {
        launchAndPlay(threeCameras());
        queue.runPending();
        startStream();
    }
    /// Returns the numbers of threads that were set before the loads since the last launch, in
    /// order.
    [[nodiscard]] QStringList threadsOfLoads() const {
        QStringList threads;
        QString latest;
        for (const std::string &call : mpv.texts()) {
            const QString text = QString::fromStdString(call);
            const qsizetype at = text.indexOf(u"vd-lavc-threads, "_s);
            if (at >= 0)
                latest = text.sliced(at + 17).chopped(1);
            if (text.contains(u"loadfile"_s))
                threads.append(latest);
        }
        return threads;
    }
    [[nodiscard]] QString detailsFile() const {
        return home.storeFolder() + u"/cameras.details.json"_s;
    }
    [[nodiscard]] qsizetype requests() const {
        return playbackLog().filter(u"reason=decoding fell behind."_s).size();
    }

  private:
    /// The view reports frames of the stream that it expects only.
    void showFrame() {
        if (videoHost()->expectsPicture())
            delegate->recordRenderedFrame(playerGeneration());
    }

    double m_position = 1000;
};

TEST_F(DecodingSupervisorTest, StreamThatKeepsUpStaysOnOneThread) {
    launchAndShow();
    play(keepsUpStream, 60);
    delegate->selectCamera(1);
    EXPECT_EQ(threadsOfLoads(), (QStringList{u"1"_s, u"1"_s}));
    EXPECT_EQ(requests(), 0);
    EXPECT_FALSE(QFile::exists(detailsFile()));
}

TEST_F(DecodingSupervisorTest, StreamThatIsTooSlowIsLoadedOnceWithTwoThreads) {
    launchAndShow();
    play(keepsUpStream, 4);
    fallBehind();
    EXPECT_EQ(playbackLog().filter(fellBehind).size(), 1);
    EXPECT_EQ(requests(), 1);
    EXPECT_TRUE(playbackLog().last().contains(u"recreate=false"_s)) << "the player is kept";
    reload();
    EXPECT_EQ(threadsOfLoads(), (QStringList{u"1"_s, u"2"_s}));
    // Even if two threads do not suffice, nothing changes any more.
    play(tooSlowStream, 60);
    EXPECT_EQ(threadsOfLoads(), (QStringList{u"1"_s, u"2"_s}));
    EXPECT_EQ(requests(), 1);
}

TEST_F(DecodingSupervisorTest, VerySlowStreamGetsMoreThreadsAtOnce) {
    launchAndShow();
    play({.speed = 0.35}, 8.5);
    ASSERT_EQ(requests(), 1);
    reload();
    EXPECT_EQ(threadsOfLoads(), (QStringList{u"1"_s, u"4"_s}));
}

TEST_F(DecodingSupervisorTest, OldFramesNeitherStayOnTheScreenNorCancelTheAttempt) {
    launchAndShow();
    fallBehind();
    ASSERT_EQ(requests(), 1);
    EXPECT_FALSE(videoHost()->showsPicture());
    EXPECT_NE(access().playbackRetry(), nullptr);
}

TEST_F(DecodingSupervisorTest, NumberIsRememberedForItsCameraOnly) {
    launchAndShow();
    fallBehind();
    reload();
    delegate->selectCamera(1);
    startStream();
    delegate->selectCamera(0);
    EXPECT_EQ(threadsOfLoads(), (QStringList{u"1"_s, u"2"_s, u"1"_s, u"2"_s}));
}

TEST_F(DecodingSupervisorTest, NumberIsRememberedOverARestart) {
    launchAndShow();
    fallBehind();
    ASSERT_TRUE(QFile::exists(detailsFile()));
    EXPECT_EQ(QFileInfo(detailsFile()).permissions() &
                  (QFile::ReadGroup | QFile::ReadOther | QFile::WriteGroup | QFile::WriteOther),
              QFile::Permissions());
    delegate->stopPlayerEngine();
    mpv.forgetCalls();
    launch();
    startPlaying();
    EXPECT_EQ(threadsOfLoads(), QStringList(u"2"_s));
    startStream();
    play(tooSlowStream, 60);
    EXPECT_EQ(requests(), 1) << "once for each camera";
}

TEST_F(DecodingSupervisorTest, NewPlayerUsesTheRememberedNumber) {
    launchAndShow();
    fallBehind();
    reload();
    delegate->stopPlayerEngine();
    mpv.forgetCalls();
    delegate->startPlayer();
    EXPECT_EQ(threadsOfLoads(), QStringList(u"2"_s));
}

TEST_F(DecodingSupervisorTest, SlowNetworksAndBusyMachinesRequestNothing) {
    launchAndShow();
    for (const Stream &stream : {slowNetworkStream, busyMachineStream, catchesUpStream}) {
        play(stream, 25);
        EXPECT_EQ(requests(), 0) << stream.queued << ' ' << stream.runningShare;
    }
    for (int n = 0; n < 20; ++n) {
        play(tooSlowStream, 4);
        play(slowNetworkStream, 3);
    }
    EXPECT_EQ(requests(), 0);
    EXPECT_FALSE(QFile::exists(detailsFile()));
}

TEST_F(DecodingSupervisorTest, LoadStartsTheObservationAgain) {
    launchAndShow();
    for (const int index : {1, 2, 0, 1}) {
        play(tooSlowStream, 5);
        delegate->selectCamera(index);
        startStream();
    }
    EXPECT_EQ(requests(), 0);
}

TEST_F(DecodingSupervisorTest, SingleCoreIsNeverGivenASecondThread) {
    cores = 1;
    launchAndShow();
    play(tooSlowStream, 60);
    EXPECT_EQ(requests(), 0);
}

TEST_F(DecodingSupervisorTest, FullDiskDoesNotLeadToASecondInterruption) {
    launchAndShow();
    ASSERT_TRUE(QDir().mkpath(detailsFile() + u"/in the way"_s));
    fallBehind();
    reload();
    EXPECT_EQ(threadsOfLoads(), (QStringList{u"1"_s, u"2"_s}));
    delegate->selectCamera(1);
    startStream();
    delegate->selectCamera(0);
    startStream();
    play(tooSlowStream, 60);
    EXPECT_EQ(threadsOfLoads().last(), u"2"_s);
    EXPECT_EQ(requests(), 1);
}

TEST_F(DecodingSupervisorTest, NoLogLineContainsAnAddress) {
    launchAndShow();
    fallBehind();
    reload();
    for (const LoggedLine &line : log.lines()) {
        EXPECT_FALSE(line.text.contains(u"camera.example"_s)) << qPrintable(line.text);
        EXPECT_FALSE(line.text.contains(u"s3cret"_s)) << qPrintable(line.text);
    }
    QFile file(detailsFile());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(file.readAll().contains("s3cret")) << "the file is the owner's only";
}

} // namespace
} // namespace lumvik::test
