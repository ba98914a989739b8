// Tests the behaviour of libmpv that the program relies on, with the installed version of libmpv.

#include "engine/MPVObserver.h"
#include "engine/PlayerOptions.h"
#include "fakes/CapturingLogSink.h"
#include "system/harness/CameraProcess.h"
#include "system/harness/Eventually.h"

#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <mpv/client.h>

#include <array>
#include <clocale>
#include <memory>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

constexpr auto deadline = 30s;

struct CoreDeleter {
    void operator()(mpv_handle *core) const { mpv_terminate_destroy(core); }
};
using Core = std::unique_ptr<mpv_handle, CoreDeleter>;

/// Returns a property as text, which is null if the property has no value.
QString property(mpv_handle *core, const char *name) {
    char *text = mpv_get_property_string(core, name);
    const QString value = text == nullptr ? QString() : QString::fromUtf8(text);
    mpv_free(text);
    return value;
}

int load(mpv_handle *core, const QString &address) {
    const QByteArray url = address.toUtf8();
    std::array<const char *, 4> command{"loadfile", url.constData(), "replace", nullptr};
    return mpv_command(core, command.data());
}

/// Creates players with the program's settings, except for a video output that shows nothing. These
/// tests are about streams, not about pictures.
class RealEngineTest : public testing::Test {
  protected:
    void SetUp() override { std::setlocale(LC_NUMERIC, "C"); }

    Core makePlayer() {
        Core core(mpv_create());
        EXPECT_NE(core, nullptr);
        for (const PlayerSetting &option : playerOptions)
            mpv_set_option_string(core.get(), option.name, option.value);
        mpv_set_option_string(core.get(), "vo", "null");
        EXPECT_GE(mpv_initialize(core.get()), 0);
        for (const PlayerSetting &each : livePlaybackProperties)
            mpv_set_property_string(core.get(), each.name, each.value);
        return core;
    }
    /// Reads events until one with this id has arrived.
    [[nodiscard]] bool waitForEvent(mpv_handle *core, mpv_event_id id) {
        return eventually(deadline, [&] { return takeEvents(core).contains(id); });
    }
    static QList<mpv_event_id> takeEvents(mpv_handle *core) {
        QList<mpv_event_id> ids;
        while (true) {
            const mpv_event_id id = mpv_wait_event(core, 0)->event_id;
            if (id == MPV_EVENT_NONE)
                return ids;
            ids.append(id);
        }
    }
};

// ---- Locale ----

/// Creates a locale with a decimal comma and activates it for the lifetime of this object. `isSet`
/// returns false if the locale cannot be created or activated.
class CommaLocale {
  public:
    CommaLocale() {
        if (!m_folder.isValid() ||
            QProcess::execute(QStringLiteral("localedef"),
                              {QStringLiteral("-i"), QStringLiteral("de_DE"), QStringLiteral("-f"),
                               QStringLiteral("UTF-8"), m_folder.filePath(name())}) != 0)
            return;
        qputenv("LOCPATH", m_folder.path().toLocal8Bit());
        m_isSet = std::setlocale(LC_NUMERIC, name().toLocal8Bit().constData()) != nullptr;
    }
    ~CommaLocale() {
        std::setlocale(LC_NUMERIC, "C");
        qunsetenv("LOCPATH");
    }
    CommaLocale(const CommaLocale &) = delete;
    CommaLocale &operator=(const CommaLocale &) = delete;
    [[nodiscard]] bool isSet() const { return m_isSet; }

  private:
    static QString name() { return QStringLiteral("de_DE.UTF-8"); }
    QTemporaryDir m_folder;
    bool m_isSet = false;
};

TEST_F(RealEngineTest, CreatesNoPlayerWhileTheLocaleHasADecimalComma) {
    const CommaLocale locale;
    if (!locale.isSet())
        GTEST_SKIP() << "localedef cannot create a locale here";
    ASSERT_STREQ(std::localeconv()->decimal_point, ",");
    EXPECT_EQ(Core(mpv_create()), nullptr);
    std::setlocale(LC_NUMERIC, "C");
    EXPECT_NE(Core(mpv_create()), nullptr);
}

// ---- Options and properties ----

TEST_F(RealEngineTest, AcceptsEveryOption) {
    const Core core(mpv_create());
    ASSERT_NE(core, nullptr);
    for (const PlayerSetting &option : playerOptions) {
        EXPECT_GE(mpv_set_option_string(core.get(), option.name, option.value), 0) << option.name;
    }
    EXPECT_GE(mpv_initialize(core.get()), 0);
    EXPECT_LT(mpv_set_option_string(core.get(), "no-such-option", "yes"), 0);
}

TEST_F(RealEngineTest, AcceptsEveryLivePlaybackProperty) {
    const Core core = makePlayer();
    for (const PlayerSetting &each : livePlaybackProperties) {
        EXPECT_GE(mpv_set_property_string(core.get(), each.name, each.value), 0) << each.name;
        // The engine returns values without the length that protects commas.
        const QString value = QString::fromUtf8(each.value).remove(QLatin1String("%16%"));
        EXPECT_EQ(property(core.get(), each.name).toStdString(), value.toStdString()) << each.name;
    }
}

TEST_F(RealEngineTest, HasTheCropPropertyFromVersion036On) {
    const Core core = makePlayer();
    const QString version = property(core.get(), "mpv-version");
    RecordProperty("mpv-version", version.toStdString());
    const int result = mpv_set_property_string(core.get(), "video-crop", "");
    RecordProperty("video-crop", result >= 0 ? "present" : "missing");
    if (version.startsWith(QLatin1String("mpv 0.35")))
        EXPECT_EQ(result, MPV_ERROR_PROPERTY_NOT_FOUND);
    else
        EXPECT_GE(result, 0) << version.toStdString();
}

// ---- The end of a stream ----

class StreamEndTest : public RealEngineTest {
  protected:
    /// Plays the camera's stream, then makes the camera end it.
    void playToTheEnd(mpv_handle *core) {
        ASSERT_TRUE(camera.start());
        ASSERT_GE(load(core, camera.url()), 0);
        ASSERT_TRUE(waitForEvent(core, MPV_EVENT_PLAYBACK_RESTART));
        takeEvents(core);
        camera.command("end");
        ASSERT_TRUE(eventually(
            deadline, [&] { return property(core, "eof-reached") == QLatin1String("yes"); }));
    }
    CameraProcess camera;
};

TEST_F(StreamEndTest, KeepsTheLastFrameAndSendsNoEvent) {
    const Core core = makePlayer();
    ASSERT_NO_FATAL_FAILURE(playToTheEnd(core.get()));
    EXPECT_FALSE(takeEvents(core.get()).contains(MPV_EVENT_END_FILE));
}

TEST_F(StreamEndTest, DoesNotPauseTheNextStream) {
    const Core core = makePlayer();
    ASSERT_NO_FATAL_FAILURE(playToTheEnd(core.get()));
    EXPECT_EQ(property(core.get(), "pause"), QLatin1String("no"));
    CameraProcess next;
    ASSERT_TRUE(next.start());
    ASSERT_GE(load(core.get(), next.url()), 0);
    ASSERT_TRUE(waitForEvent(core.get(), MPV_EVENT_PLAYBACK_RESTART));
    EXPECT_EQ(property(core.get(), "pause"), QLatin1String("no"));
    const double before = property(core.get(), "time-pos").toDouble();
    EXPECT_TRUE(eventually(
        deadline, [&] { return property(core.get(), "time-pos").toDouble() > before + 1; }));
}

TEST_F(StreamEndTest, PausesThePlayerWithoutTheKeepOpenPauseProperty) {
    const Core core = makePlayer();
    ASSERT_GE(mpv_set_property_string(core.get(), "keep-open-pause", "yes"), 0);
    ASSERT_NO_FATAL_FAILURE(playToTheEnd(core.get()));
    EXPECT_TRUE(eventually(deadline,
                           [&] { return property(core.get(), "pause") == QLatin1String("yes"); }));
}

TEST_F(RealEngineTest, FailureToOpenAStreamSendsAnEvent) {
    const Core core = makePlayer();
    ASSERT_GE(load(core.get(), QStringLiteral("rtsp://127.0.0.1:1/nothing")), 0);
    EXPECT_TRUE(waitForEvent(core.get(), MPV_EVENT_END_FILE));
}

// ---- Secrets ----

TEST_F(RealEngineTest, LogsNoPasswordEvenAtTheMostVerboseLevel) {
    const CapturedLog log;
    const QString password = QStringLiteral("p@ss:w/rd");
    CameraSetup setup;
    setup.user = QStringLiteral("viewer");
    setup.password = password;
    CameraProcess camera(setup);
    ASSERT_TRUE(camera.start());
    const QString address = camera.url();
    ASSERT_TRUE(address.contains(QLatin1String("p%40ss%3Aw%2Frd")));
    LumvikLog::protectAddresses({address});

    QtMainQueue queue;
    const Core core = makePlayer();
    {
        const MPVObserver observer(core.get(), queue, "trace",
                                   {[] {}, [] {}, [](const QString &) {}});
        ASSERT_GE(load(core.get(), address), 0);
        ASSERT_TRUE(waitForEvent(core.get(), MPV_EVENT_PLAYBACK_RESTART));
        // Also try a wrong password, because engines tend to quote rejected addresses in messages.
        LumvikLog::protectAddresses({camera.urlWithPassword(QStringLiteral("wr@ng:one"))});
        ASSERT_GE(load(core.get(), camera.urlWithPassword(QStringLiteral("wr@ng:one"))), 0);
        ASSERT_TRUE(eventually(
            deadline, [&] { return property(core.get(), "idle-active") == QLatin1String("yes"); }));
    }
    const QStringList secrets{password,
                              QStringLiteral("p%40ss%3Aw%2Frd"),
                              QStringLiteral("p%40ss"),
                              QStringLiteral("wr@ng"),
                              QStringLiteral("wr%40ng"),
                              QString::fromLatin1(("viewer:" + password.toUtf8()).toBase64())};
    ASSERT_GT(log.lines().size(), 100) << "the engine logged hardly anything";
    for (const LoggedLine &line : log.lines()) {
        for (const QString &secret : secrets)
            EXPECT_FALSE(line.text.contains(secret, Qt::CaseInsensitive)) << qPrintable(line.text);
    }
}

} // namespace
} // namespace lumvik::test
