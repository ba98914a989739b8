#include "LogindSleepMonitorFixture.h"

#include <QDBusArgument>
#include <QDBusVariant>
#include <QProcess>
#include <QProcessEnvironment>

#include <sys/prctl.h>

#include <csignal>

// Checks that an independent implementation behaves like LogindDouble, on which the other tests
// rely.

namespace lumvik::test {
namespace {

using LogindSleepMonitorTest = LogindSleepMonitorFixture;

/// A login manager from the python-dbusmock project, which imitates logind.
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

TEST_F(LogindSleepMonitorTest, WorksWithAnIndependentMockOfTheLoginManager) {
    if (!MockedLogind::isInstalled())
        GTEST_SKIP() << "python3-dbusmock is not installed";
    logind.reset();
    BusClient client(bus.address());
    LogindSleepMonitor monitor(bus.address());
    start(monitor);
    const MockedLogind mocked(bus.address());
    const auto inhibitors = [&] { return MockedLogind::inhibitors(client.bus()); };
    ASSERT_TRUE(eventually([&] { return inhibitors() == 1 && monitor.holdsInhibitor(); }));
    MockedLogind::announce(client.bus(), true);
    ASSERT_TRUE(eventually([this] { return sleeps == 1; }));
    ASSERT_TRUE(lastDelay);
    EXPECT_EQ(inhibitors(), 1);
    lastDelay.reset();
    EXPECT_TRUE(eventually([&] { return inhibitors() == 0; }));
    MockedLogind::announce(client.bus(), false);
    EXPECT_TRUE(eventually([&] { return wakes == 1 && inhibitors() == 1; }));
}

} // namespace
} // namespace lumvik::test
