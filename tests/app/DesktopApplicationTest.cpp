#include "app/DesktopApplication.h"

#include "fakes/CapturingLogSink.h"
#include "fakes/PrivateBus.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QLocalServer>
#include <QTemporaryDir>
#include <QtTest/QTest>

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <vector>

namespace lumvik {
namespace {

using namespace std::chrono_literals;
using Action = LaunchRequest::Action;

const QString name = QStringLiteral("com.tandrel.Lumvik");
const QString callerConnection = QStringLiteral("caller");

bool eventually(const std::function<bool()> &condition) {
    return QTest::qWaitFor(condition, 20'000);
}

class DesktopApplicationTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(bus.isRunning());
        caller.emplace(QDBusConnection::connectToBus(bus.address(), callerConnection));
        ASSERT_TRUE(caller->isConnected());
    }
    ~DesktopApplicationTest() override { QDBusConnection::disconnectFromBus(callerConnection); }

    [[nodiscard]] bool nameIsOwned() const {
        return caller->interface()->isServiceRegistered(name);
    }
    void startApplication() {
        application.start([this](const LaunchRequest &request) {
            requests.push_back(request);
            return !isEnding;
        });
        ASSERT_TRUE(eventually([this] { return nameIsOwned(); }));
    }
    /// Calls a method of the application over the bus, like a desktop, and waits for the reply.
    QDBusMessage call(const QString &method, const QVariantList &arguments) {
        QDBusMessage message =
            QDBusMessage::createMethodCall(name, QStringLiteral("/com/tandrel/Lumvik"),
                                           QStringLiteral("org.freedesktop.Application"), method);
        message.setArguments(arguments);
        const QDBusPendingCall pending = caller->asyncCall(message);
        EXPECT_TRUE(eventually([&] { return pending.isFinished(); }));
        return pending.reply();
    }

    test::PrivateBus bus;
    std::optional<QDBusConnection> caller;
    bool isEnding = false;
    std::vector<LaunchRequest> requests;
    DesktopApplication application{bus.address(), 10s};
};

TEST_F(DesktopApplicationTest, ActivationIsDeliveredWithItsToken) {
    startApplication();
    const QDBusMessage answer =
        call(QStringLiteral("Activate"),
             {QVariantMap{{QStringLiteral("activation-token"), QStringLiteral("wayland-7")}}});
    EXPECT_EQ(answer.type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(requests, (std::vector{LaunchRequest{Action::activate, "wayland-7"}}));
}

TEST_F(DesktopApplicationTest, StartupIdServesAsToken) {
    startApplication();
    call(QStringLiteral("Activate"),
         {QVariantMap{{QStringLiteral("desktop-startup-id"), QStringLiteral("id_TIME5")}}});
    EXPECT_EQ(requests, (std::vector{LaunchRequest{Action::activate, "id_TIME5"}}));
}

TEST_F(DesktopApplicationTest, OverlongTokenIsDropped) {
    startApplication();
    call(QStringLiteral("Activate"),
         {QVariantMap{{QStringLiteral("activation-token"), QString(100'000, u'x')}}});
    EXPECT_EQ(requests, std::vector{LaunchRequest{}});
}

TEST_F(DesktopApplicationTest, ActionsAreDelivered) {
    startApplication();
    for (const char *action : {"camera-addresses", "check-for-updates"}) {
        const QDBusMessage answer =
            call(QStringLiteral("ActivateAction"),
                 {QString::fromLatin1(action), QVariantList(), QVariantMap()});
        EXPECT_EQ(answer.type(), QDBusMessage::ReplyMessage) << action;
    }
    EXPECT_EQ(requests, (std::vector{LaunchRequest{Action::showCameraAddresses, {}},
                                     LaunchRequest{Action::checkForUpdates, {}}}));
}

TEST_F(DesktopApplicationTest, UnknownActionIsAnError) {
    startApplication();
    const QDBusMessage answer =
        call(QStringLiteral("ActivateAction"),
             {QStringLiteral("format-disk"), QVariantList(), QVariantMap()});
    EXPECT_EQ(answer.type(), QDBusMessage::ErrorMessage);
    EXPECT_TRUE(requests.empty());
}

TEST_F(DesktopApplicationTest, OpeningFilesOnlyActivatesTheWindow) {
    startApplication();
    call(QStringLiteral("Open"), {QStringList{QStringLiteral("file:///x")}, QVariantMap()});
    EXPECT_EQ(requests, (std::vector{LaunchRequest{}}));
}

TEST_F(DesktopApplicationTest, CallDuringTerminationIsAnError) {
    startApplication();
    isEnding = true;
    EXPECT_EQ(call(QStringLiteral("Activate"), {QVariantMap()}).type(), QDBusMessage::ErrorMessage);
}

TEST_F(DesktopApplicationTest, StoppingReleasesTheBusName) {
    startApplication();
    application.stop();
    EXPECT_TRUE(eventually([this] { return !nameIsOwned(); }));
}

TEST_F(DesktopApplicationTest, BusNameIsTakenOnlyAfterItsOwnerHasStopped) {
    startApplication();
    const test::CapturedLog log;
    DesktopApplication second(bus.address(), 10s);
    int asked = 0;
    second.start([&](const LaunchRequest &) {
        ++asked;
        return true;
    });
    ASSERT_TRUE(eventually([&] {
        return log.texts(QStringLiteral("lifecycle"))
            .contains(QStringLiteral(
                "Lumvik has no name on the session bus while another program has it."));
    }));
    call(QStringLiteral("Activate"), {QVariantMap()});
    EXPECT_EQ(asked, 0);
    EXPECT_EQ(requests.size(), 1U);

    const QString owner = caller->interface()->serviceOwner(name);
    application.stop();
    ASSERT_TRUE(eventually(
        [&] { return nameIsOwned() && caller->interface()->serviceOwner(name).value() != owner; }));
    call(QStringLiteral("Activate"), {QVariantMap()});
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(requests.size(), 1U);
}

TEST(DesktopApplicationWithoutBusTest, StopsAtOnceOnAnUnresponsiveBus) {
    const QTemporaryDir folder;
    // This server listens and never replies.
    QLocalServer unresponsive;
    ASSERT_TRUE(unresponsive.listen(folder.filePath(QStringLiteral("bus"))));
    std::optional<DesktopApplication> application;
    application.emplace(QStringLiteral("unix:path=") + unresponsive.fullServerName(), 1h);
    application->start([](const LaunchRequest &) { return true; });
    ASSERT_TRUE(eventually([&] { return unresponsive.hasPendingConnections(); }));
    application->stop();
    application.reset();
}

class SessionBusAddressTest : public testing::Test {
  protected:
    void SetUp() override { clear(); }
    void TearDown() override { clear(); }
    static void clear() {
        for (const char *variable :
             {"DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR", "LUMVIK_SESSION_BUS"})
            qunsetenv(variable);
    }
};

TEST_F(SessionBusAddressTest, ComesFromTheEnvironmentOrTheRuntimeFolder) {
    EXPECT_EQ(DesktopApplication::sessionBusAddresses(), QString());
    qputenv("XDG_RUNTIME_DIR", "/run/user/1000");
    EXPECT_EQ(DesktopApplication::sessionBusAddresses(),
              QStringLiteral("unix:path=/run/user/1000/bus"));
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/tmp/bus");
    EXPECT_EQ(DesktopApplication::sessionBusAddresses(), QStringLiteral("unix:path=/tmp/bus"));
    EXPECT_EQ(DesktopApplication::addressesForName(), QStringLiteral("unix:path=/tmp/bus"));
}

TEST_F(SessionBusAddressTest, IsEmptyForTheBusNameIfNoBusNameIsWanted) {
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/tmp/bus");
    qputenv("LUMVIK_SESSION_BUS", "no");
    EXPECT_EQ(DesktopApplication::addressesForName(), QString());
    // Qt connects to the session bus even if no name is wanted, so this address is still returned.
    EXPECT_EQ(DesktopApplication::sessionBusAddresses(), QStringLiteral("unix:path=/tmp/bus"));
}

} // namespace
} // namespace lumvik
