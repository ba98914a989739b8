#include "platform/LogindSleepMonitor.h"

#include "fakes/CapturingLogSink.h"
#include "fakes/LogindDouble.h"
#include "fakes/PrivateBus.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QtTest/QTest>

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

namespace lumvik::test {
namespace {

using Behaviour = LogindDouble::Behaviour;

bool eventually(const std::function<bool()> &predicate) {
    return QTest::qWaitFor(predicate, 20'000);
}

/// Lets come what is on its way.
bool never(const std::function<bool()> &predicate) {
    return !QTest::qWaitFor(predicate, 200);
}

/// Another program on the bus.
class BusNeighbour {
  public:
    explicit BusNeighbour(const QString &address)
        : m_bus(QDBusConnection::connectToBus(address, QStringLiteral("neighbour"))) {}
    BusNeighbour(const BusNeighbour &) = delete;
    BusNeighbour &operator=(const BusNeighbour &) = delete;
    ~BusNeighbour() { QDBusConnection::disconnectFromBus(QStringLiteral("neighbour")); }

    [[nodiscard]] QDBusConnection &bus() { return m_bus; }
    [[nodiscard]] QStringList names() const {
        const QDBusMessage call = QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("ListNames"));
        return m_bus.call(call).arguments().value(0).toStringList();
    }

  private:
    QDBusConnection m_bus;
};

/// A local socket that accepts connections, as the kernel does, and then says nothing.
class DeafSocket {
  public:
    explicit DeafSocket(int backlog) : m_socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        const QByteArray path = QFile::encodeName(m_folder.filePath(QStringLiteral("deaf")));
        std::memcpy(address.sun_path, path.constData(), static_cast<std::size_t>(path.size()));
        auto *generic = reinterpret_cast<sockaddr *>(&address);
        m_isListening =
            ::bind(m_socket, generic, sizeof address) == 0 && ::listen(m_socket, backlog) == 0;
        for (int &filler : m_fillers) {
            filler = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
            if (backlog == 0)
                m_isFull = ::connect(filler, generic, sizeof address) != 0;
        }
    }
    DeafSocket(const DeafSocket &) = delete;
    DeafSocket &operator=(const DeafSocket &) = delete;
    ~DeafSocket() {
        for (const int filler : m_fillers)
            ::close(filler);
        ::close(m_socket);
    }

    [[nodiscard]] bool isListening() const { return m_isListening; }
    [[nodiscard]] bool isFull() const { return m_isFull; }
    [[nodiscard]] QString address() const {
        return QStringLiteral("unix:path=") + m_folder.filePath(QStringLiteral("deaf"));
    }

  private:
    QTemporaryDir m_folder;
    int m_socket;
    int m_fillers[3] = {};
    bool m_isListening = false;
    bool m_isFull = false;
};

class LogindSleepMonitorTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(bus.isRunning()) << "dbus-daemon cannot be started";
        logind = std::make_unique<LogindDouble>(bus.address());
        ASSERT_TRUE(logind->isPresent());
    }

    void start(LogindSleepMonitor &monitor) {
        monitor.start(
            [this](SleepMonitor::SleepDelay delay) {
                ++sleeps;
                lastDelay = std::move(delay);
            },
            [this] { ++wakes; });
    }
    /// Starts the monitor and waits until it was granted its inhibitor. What the login manager
    /// sends later also arrives later.
    void startHolding(LogindSleepMonitor &monitor) {
        start(monitor);
        ASSERT_TRUE(eventually([&] { return isHeld(monitor); }));
    }
    /// The monitor is asked too, because a signal may overtake the answer that was sent before it.
    [[nodiscard]] bool isHeld(const LogindSleepMonitor &monitor) const {
        return logind->openInhibitors() == 1 && monitor.holdsInhibitor();
    }

    const PrivateBus bus;
    std::unique_ptr<LogindDouble> logind;
    const CapturedLog log;
    int sleeps = 0;
    int wakes = 0;
    SleepMonitor::SleepDelay lastDelay;
};

TEST_F(LogindSleepMonitorTest, HoldsADelayInhibitorFromTheStart) {
    LogindSleepMonitor monitor(bus.address());
    startHolding(monitor);
    ASSERT_EQ(logind->requests().size(), 1);
    const InhibitRequest request = logind->requests().constFirst();
    EXPECT_EQ(request.what, QStringLiteral("sleep"));
    EXPECT_EQ(request.who, QStringLiteral("Lumvik"));
    EXPECT_FALSE(request.why.isEmpty());
    EXPECT_EQ(request.mode, QStringLiteral("delay"));
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(LogindSleepMonitorTest, HoldsSleepOffUntilTheDelayIsDropped) {
    LogindSleepMonitor monitor(bus.address());
    startHolding(monitor);
    logind->announceSleep();
    ASSERT_TRUE(eventually([this] { return sleeps == 1; }));
    ASSERT_TRUE(lastDelay);
    EXPECT_TRUE(never([this] { return logind->openInhibitors() != 1; }));
    lastDelay.reset();
    EXPECT_TRUE(eventually([this] { return logind->openInhibitors() == 0; }));
    EXPECT_EQ(wakes, 0);
}

TEST_F(LogindSleepMonitorTest, TakesAnInhibitorAgainAfterWaking) {
    LogindSleepMonitor monitor(bus.address());
    startHolding(monitor);
    for (int round = 1; round <= 3; ++round) {
        logind->announceSleep();
        ASSERT_TRUE(eventually([&] { return sleeps == round; }));
        EXPECT_TRUE(lastDelay);
        lastDelay.reset();
        ASSERT_TRUE(eventually([this] { return logind->openInhibitors() == 0; }));
        logind->announceWake();
        ASSERT_TRUE(eventually([&] { return wakes == round; }));
        ASSERT_TRUE(eventually([&] { return isHeld(monitor); }));
    }
    EXPECT_EQ(logind->requests().size(), 4);
}

TEST_F(LogindSleepMonitorTest, PassesOnAWakeWithoutASleepAndKeepsItsInhibitor) {
    LogindSleepMonitor monitor(bus.address());
    startHolding(monitor);
    logind->announceWake();
    ASSERT_TRUE(eventually([this] { return wakes == 1; }));
    EXPECT_TRUE(never([this] { return logind->openInhibitors() != 1; }));
    EXPECT_EQ(logind->requests().size(), 1);
}

TEST_F(LogindSleepMonitorTest, PassesOnTwoSleepsInARow) {
    LogindSleepMonitor monitor(bus.address());
    startHolding(monitor);
    logind->announceSleep();
    ASSERT_TRUE(eventually([this] { return sleeps == 1; }));
    EXPECT_TRUE(lastDelay);
    logind->announceSleep();
    ASSERT_TRUE(eventually([this] { return sleeps == 2; }));
    EXPECT_FALSE(lastDelay);
}

TEST_F(LogindSleepMonitorTest, HandsOnNoDelayBeforeTheInhibitorIsGranted) {
    logind->setBehaviour(Behaviour::hesitating);
    LogindSleepMonitor monitor(bus.address());
    start(monitor);
    ASSERT_TRUE(eventually([this] { return logind->requests().size() == 1; }));
    lastDelay = std::make_shared<int>(0);
    logind->announceSleep();
    ASSERT_TRUE(eventually([this] { return sleeps == 1; }));
    EXPECT_FALSE(lastDelay);
    // Granted too late, it is not kept, because it would only hold the machine up.
    logind->grantPending();
    EXPECT_TRUE(eventually([this] { return logind->openInhibitors() == 0; }));
    logind->setBehaviour(Behaviour::granting);
    logind->announceWake();
    EXPECT_TRUE(eventually([this] { return wakes == 1 && logind->openInhibitors() == 1; }));
}

TEST_F(LogindSleepMonitorTest, NoticesSleepThoughTheInhibitorIsRefusedAndSaysSoOnce) {
    logind->setBehaviour(Behaviour::refusing);
    LogindSleepMonitor monitor(bus.address());
    start(monitor);
    ASSERT_TRUE(eventually([this] { return !log.lines().isEmpty(); }));
    lastDelay = std::make_shared<int>(0);
    logind->announceSleep();
    ASSERT_TRUE(eventually([this] { return sleeps == 1; }));
    EXPECT_FALSE(lastDelay);
    logind->announceWake();
    ASSERT_TRUE(eventually([this] { return wakes == 1 && logind->requests().size() == 2; }));
    EXPECT_TRUE(never([this] { return log.lines().size() != 1; }));
    EXPECT_EQ(log.lines().constFirst(),
              (LoggedLine{LogLevel::info, QStringLiteral("lifecycle"),
                          QStringLiteral("Sleep cannot be held off on this system: "
                                         "Permission denied.")}));
}

TEST_F(LogindSleepMonitorTest, SaysOnceThatThereIsNoBus) {
    LogindSleepMonitor monitor(QStringLiteral("unix:path=/nonexistent/bus;unix:abstract=nowhere"));
    start(monitor);
    ASSERT_TRUE(eventually([this] { return !log.lines().isEmpty(); }));
    EXPECT_TRUE(never([this] { return log.lines().size() != 1; }));
    EXPECT_EQ(log.lines().constFirst(),
              (LoggedLine{LogLevel::info, QStringLiteral("lifecycle"),
                          QStringLiteral("Sleep cannot be noticed on this system: "
                                         "there is no system bus.")}));
}

TEST_F(LogindSleepMonitorTest, TakesTheFirstBusThatAnswers) {
    LogindSleepMonitor monitor(QStringLiteral("unix:path=/nonexistent/bus;") + bus.address());
    startHolding(monitor);
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(LogindSleepMonitorTest, TakesTheSystemBusFromTheEnvironment) {
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", bus.address().toUtf8());
    LogindSleepMonitor monitor;
    qunsetenv("DBUS_SYSTEM_BUS_ADDRESS");
    startHolding(monitor);
}

TEST_F(LogindSleepMonitorTest, SaysOnceThatThereIsNoLoginManagerAndTakesOneUpThatAppears) {
    logind.reset();
    LogindSleepMonitor monitor(bus.address());
    start(monitor);
    ASSERT_TRUE(eventually([this] { return !log.lines().isEmpty(); }));
    EXPECT_EQ(log.lines().constFirst(),
              (LoggedLine{LogLevel::info, QStringLiteral("lifecycle"),
                          QStringLiteral("Sleep cannot be noticed on this system: "
                                         "there is no login manager.")}));
    logind = std::make_unique<LogindDouble>(bus.address());
    ASSERT_TRUE(eventually([&] { return isHeld(monitor); }));
    logind->announceSleep();
    ASSERT_TRUE(eventually([this] { return sleeps == 1; }));
    EXPECT_TRUE(lastDelay);
    EXPECT_EQ(log.lines().size(), 1);
}

TEST_F(LogindSleepMonitorTest, TakesAnInhibitorFromALoginManagerThatStartsAgain) {
    LogindSleepMonitor monitor(bus.address());
    startHolding(monitor);
    logind.reset();
    logind = std::make_unique<LogindDouble>(bus.address());
    ASSERT_TRUE(eventually([&] { return isHeld(monitor); }));
    logind->announceSleep();
    ASSERT_TRUE(eventually([this] { return sleeps == 1; }));
    lastDelay.reset();
    EXPECT_TRUE(eventually([this] { return logind->openInhibitors() == 0; }));
    logind->announceWake();
    EXPECT_TRUE(eventually([this] { return wakes == 1; }));
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(LogindSleepMonitorTest, ALoginManagerThatStartsAgainBeforeItGrantsIsAskedAgain) {
    logind->setBehaviour(Behaviour::hesitating);
    LogindSleepMonitor monitor(bus.address());
    start(monitor);
    ASSERT_TRUE(eventually([this] { return logind->requests().size() == 1; }));
    logind.reset();
    logind = std::make_unique<LogindDouble>(bus.address());
    EXPECT_TRUE(eventually([this] { return logind->openInhibitors() == 1; }));
    EXPECT_TRUE(never([this] { return !log.lines().isEmpty(); }));
}

TEST_F(LogindSleepMonitorTest, WakesWhenTheLoginManagerThatAnnouncedTheSleepStartsAgain) {
    LogindSleepMonitor monitor(bus.address());
    startHolding(monitor);
    logind->announceSleep();
    ASSERT_TRUE(eventually([this] { return sleeps == 1; }));
    lastDelay.reset();
    logind.reset();
    EXPECT_TRUE(never([this] { return wakes != 0; }));
    logind = std::make_unique<LogindDouble>(bus.address());
    EXPECT_TRUE(eventually([this] { return wakes == 1; }));
    EXPECT_TRUE(eventually([this] { return logind->openInhibitors() == 1; }));
    EXPECT_EQ(logind->requests().size(), 1);
}

TEST_F(LogindSleepMonitorTest, MachineThatRunsOnCountsAsAwakeThoughNobodyIsLeftToSaySo) {
    LogindSleepMonitor monitor(bus.address(), std::chrono::seconds(10),
                               std::chrono::milliseconds(200));
    startHolding(monitor);
    logind->announceSleep();
    ASSERT_TRUE(eventually([this] { return sleeps == 1; }));
    lastDelay.reset();
    logind.reset();
    EXPECT_TRUE(eventually([this] { return wakes == 1; }));
    EXPECT_TRUE(never([this] { return wakes > 1; }));
}

TEST_F(LogindSleepMonitorTest, WakeThatIsAnnouncedEndsTheLimit) {
    LogindSleepMonitor monitor(bus.address(), std::chrono::seconds(10),
                               std::chrono::milliseconds(200));
    startHolding(monitor);
    logind->announceSleep();
    logind->announceWake();
    EXPECT_TRUE(eventually([this] { return wakes == 1; }));
    EXPECT_TRUE(never([this] { return wakes > 1; }));
}

TEST_F(LogindSleepMonitorTest, IgnoresWhatAnybodyElseAnnounces) {
    BusNeighbour neighbour(bus.address());
    const QStringList others = neighbour.names();
    LogindSleepMonitor monitor(bus.address());
    startHolding(monitor);
    forgeSleep(neighbour.bus(), true);
    for (const QString &name : neighbour.names()) {
        // To the monitor alone, which no subscription keeps out.
        if (!others.contains(name)) {
            forgeSleep(neighbour.bus(), true, name);
            forgeSleep(neighbour.bus(), false, name);
        }
    }
    EXPECT_TRUE(never([this] { return sleeps + wakes != 0; }));
    logind->announceSleep();
    EXPECT_TRUE(eventually([this] { return sleeps == 1; }));
}

TEST_F(LogindSleepMonitorTest, StoppedItReleasesTheInhibitorAndHearsNothing) {
    LogindSleepMonitor monitor(bus.address());
    startHolding(monitor);
    monitor.stop();
    EXPECT_TRUE(eventually([this] { return logind->openInhibitors() == 0; }));
    logind->announceSleep();
    logind->announceWake();
    EXPECT_TRUE(never([this] { return sleeps + wakes != 0; }));
    monitor.stop();
    EXPECT_EQ(logind->requests().size(), 1);
}

TEST_F(LogindSleepMonitorTest, StoppedBeforeTheAnswerItKeepsNoInhibitor) {
    logind->setBehaviour(Behaviour::hesitating);
    LogindSleepMonitor monitor(bus.address());
    start(monitor);
    ASSERT_TRUE(eventually([this] { return logind->requests().size() == 1; }));
    monitor.stop();
    logind->grantPending();
    EXPECT_TRUE(eventually([this] { return logind->openInhibitors() == 0; }));
}

TEST_F(LogindSleepMonitorTest, StoppedAtOnceItNeverAsks) {
    {
        LogindSleepMonitor never;
        never.stop();
    }
    {
        LogindSleepMonitor monitor(bus.address());
        start(monitor);
        monitor.stop();
        start(monitor);
        EXPECT_TRUE(test::never([this] { return !logind->requests().isEmpty(); }));
    }
    {
        LogindSleepMonitor monitor(bus.address());
        start(monitor);
    }
    EXPECT_TRUE(test::never([this] { return logind->openInhibitors() != 0; }));
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(LogindSleepMonitorTest, MayBeStoppedByItsOwnHandlers) {
    LogindSleepMonitor monitor(bus.address());
    const auto witness = std::make_shared<int>(0);
    monitor.start(
        [&, witness](SleepMonitor::SleepDelay) {
            monitor.stop();
            sleeps += *witness + 1;
        },
        [] {});
    ASSERT_TRUE(eventually([&] { return isHeld(monitor); }));
    logind->announceSleep();
    EXPECT_TRUE(eventually([this] { return sleeps == 1; }));
    EXPECT_TRUE(eventually([this] { return logind->openInhibitors() == 0; }));
    EXPECT_EQ(witness.use_count(), 1);
}

TEST_F(LogindSleepMonitorTest, ABusThatSaysNothingHoldsNobodyUp) {
    for (const int backlog : {8, 0}) {
        const DeafSocket deaf(backlog);
        ASSERT_TRUE(deaf.isListening());
        ASSERT_EQ(deaf.isFull(), backlog == 0);
        QElapsedTimer elapsed;
        elapsed.start();
        {
            LogindSleepMonitor monitor(deaf.address());
            start(monitor);
            EXPECT_LT(elapsed.elapsed(), 2000) << "starting";
            // Others' use of a bus is not held up either.
            LogindDouble other(bus.address());
            EXPECT_TRUE(never([this] { return !log.lines().isEmpty(); }));
            elapsed.start();
        }
        EXPECT_LT(elapsed.elapsed(), 2000) << "ending";
    }
}

TEST_F(LogindSleepMonitorTest, SaysThatTheBusDoesNotAnswer) {
    const DeafSocket deaf(8);
    LogindSleepMonitor monitor(deaf.address(), std::chrono::milliseconds(100));
    start(monitor);
    ASSERT_TRUE(eventually([this] { return !log.lines().isEmpty(); }));
    EXPECT_EQ(log.lines().constFirst().text,
              QStringLiteral("Sleep cannot be noticed on this system: "
                             "the system bus does not answer."));
}

/// Not ours: a login manager that the python-dbusmock project made after the real one.
class MockedLogind {
  public:
    explicit MockedLogind(const QString &address) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), address);
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
        m_process.start(python, {QStringLiteral("-m"), QStringLiteral("dbusmock"),
                                 QStringLiteral("--system"), QStringLiteral("--template"),
                                 QStringLiteral("logind")});
    }
    MockedLogind(const MockedLogind &) = delete;
    MockedLogind &operator=(const MockedLogind &) = delete;
    ~MockedLogind() {
        m_process.kill();
        m_process.waitForFinished();
    }

    [[nodiscard]] static bool isInstalled() {
        return QProcess::execute(python,
                                 {QStringLiteral("-c"), QStringLiteral("import dbusmock")}) == 0;
    }
    [[nodiscard]] static int inhibitors(const QDBusConnection &bus) {
        const QDBusMessage reply = bus.call(call(QStringLiteral("org.freedesktop.login1.Manager"),
                                                 QStringLiteral("ListInhibitors")));
        if (reply.type() != QDBusMessage::ReplyMessage)
            return -1;
        const auto list = reply.arguments().constFirst().value<QDBusArgument>();
        int count = 0;
        list.beginArray();
        for (; !list.atEnd(); ++count)
            list.asVariant();
        list.endArray();
        return count;
    }
    static void announce(QDBusConnection &bus, bool isBeginning) {
        QDBusMessage emission =
            call(QStringLiteral("org.freedesktop.DBus.Mock"), QStringLiteral("EmitSignal"));
        emission << QStringLiteral("org.freedesktop.login1.Manager")
                 << QStringLiteral("PrepareForSleep") << QStringLiteral("b")
                 << QVariant::fromValue(QVariantList{isBeginning});
        const QDBusMessage reply = bus.call(emission);
        EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage) << qPrintable(reply.errorMessage());
    }

  private:
    static QDBusMessage call(const QString &interface, const QString &method) {
        return QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.login1"),
                                              QStringLiteral("/org/freedesktop/login1"), interface,
                                              method);
    }

    static inline const QString python = QStringLiteral("/usr/bin/python3");
    QProcess m_process;
};

TEST_F(LogindSleepMonitorTest, WorksWithAnIndependentImitationOfTheLoginManager) {
    if (!MockedLogind::isInstalled())
        GTEST_SKIP() << "python3-dbusmock is not installed";
    logind.reset();
    BusNeighbour neighbour(bus.address());
    LogindSleepMonitor monitor(bus.address());
    start(monitor);
    const MockedLogind mocked(bus.address());
    const auto inhibitors = [&] { return MockedLogind::inhibitors(neighbour.bus()); };
    ASSERT_TRUE(eventually([&] { return inhibitors() == 1 && monitor.holdsInhibitor(); }));
    MockedLogind::announce(neighbour.bus(), true);
    ASSERT_TRUE(eventually([this] { return sleeps == 1; }));
    ASSERT_TRUE(lastDelay);
    EXPECT_EQ(inhibitors(), 1);
    lastDelay.reset();
    EXPECT_TRUE(eventually([&] { return inhibitors() == 0; }));
    MockedLogind::announce(neighbour.bus(), false);
    EXPECT_TRUE(eventually([&] { return wakes == 1 && inhibitors() == 1; }));
}

} // namespace
} // namespace lumvik::test
