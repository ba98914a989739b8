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
    /// Calls the application as the desktop does, and waits for the answer.
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

TEST_F(DesktopApplicationTest, ActivationReachesTheProgramWithItsToken) {
    startApplication();
    const QDBusMessage answer =
        call(QStringLiteral("Activate"),
             {QVariantMap{{QStringLiteral("activation-token"), QStringLiteral("wayland-7")}}});
    EXPECT_EQ(answer.type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(requests, (std::vector{LaunchRequest{Action::activate, "wayland-7"}}));
}

TEST_F(DesktopApplicationTest, AStartupIdIsAsGood) {
    startApplication();
    call(QStringLiteral("Activate"),
         {QVariantMap{{QStringLiteral("desktop-startup-id"), QStringLiteral("id_TIME5")}}});
    EXPECT_EQ(requests, (std::vector{LaunchRequest{Action::activate, "id_TIME5"}}));
}

TEST_F(DesktopApplicationTest, ATokenThatNoDesktopMakesIsDropped) {
    startApplication();
    call(QStringLiteral("Activate"),
         {QVariantMap{{QStringLiteral("activation-token"), QString(100'000, u'x')}}});
    EXPECT_EQ(requests, std::vector{LaunchRequest{}});
}

TEST_F(DesktopApplicationTest, ActionsReachTheProgram) {
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

TEST_F(DesktopApplicationTest, AnUnknownActionIsAnError) {
    startApplication();
    const QDBusMessage answer =
        call(QStringLiteral("ActivateAction"),
             {QStringLiteral("format-disk"), QVariantList(), QVariantMap()});
    EXPECT_EQ(answer.type(), QDBusMessage::ErrorMessage);
    EXPECT_TRUE(requests.empty());
}

TEST_F(DesktopApplicationTest, OpeningFilesBringsTheWindowOnly) {
    startApplication();
    call(QStringLiteral("Open"), {QStringList{QStringLiteral("file:///x")}, QVariantMap()});
    EXPECT_EQ(requests, (std::vector{LaunchRequest{}}));
}

TEST_F(DesktopApplicationTest, AProgramThatIsEndingSaysSo) {
    startApplication();
    isEnding = true;
    EXPECT_EQ(call(QStringLiteral("Activate"), {QVariantMap()}).type(), QDBusMessage::ErrorMessage);
}

TEST_F(DesktopApplicationTest, StoppingGivesTheNameBack) {
    startApplication();
    application.stop();
    EXPECT_TRUE(eventually([this] { return !nameIsOwned(); }));
}

TEST_F(DesktopApplicationTest, ANameThatSomebodyHasStaysTheirsUntilTheyEnd) {
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

TEST(DesktopApplicationWithoutBusTest, EndsAtOnceAlthoughTheBusIsDeaf) {
    const QTemporaryDir folder;
    // It listens, and that is all.
    QLocalServer deaf;
    ASSERT_TRUE(deaf.listen(folder.filePath(QStringLiteral("bus"))));
    std::optional<DesktopApplication> application;
    application.emplace(QStringLiteral("unix:path=") + deaf.fullServerName(), 1h);
    application->start([](const LaunchRequest &) { return true; });
    ASSERT_TRUE(eventually([&] { return deaf.hasPendingConnections(); }));
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

TEST_F(SessionBusAddressTest, IsTheEnvironmentsOrThatOfTheRuntimeFolder) {
    EXPECT_EQ(DesktopApplication::sessionBusAddresses(), QString());
    qputenv("XDG_RUNTIME_DIR", "/run/user/1000");
    EXPECT_EQ(DesktopApplication::sessionBusAddresses(),
              QStringLiteral("unix:path=/run/user/1000/bus"));
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/tmp/bus");
    EXPECT_EQ(DesktopApplication::sessionBusAddresses(), QStringLiteral("unix:path=/tmp/bus"));
    EXPECT_EQ(DesktopApplication::addressesForName(), QStringLiteral("unix:path=/tmp/bus"));
}

TEST_F(SessionBusAddressTest, IsNoneForOneThatTakesNoName) {
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/tmp/bus");
    qputenv("LUMVIK_SESSION_BUS", "no");
    EXPECT_EQ(DesktopApplication::addressesForName(), QString());
    // The toolkit goes there nevertheless, which one that is deaf must be kept from.
    EXPECT_EQ(DesktopApplication::sessionBusAddresses(), QStringLiteral("unix:path=/tmp/bus"));
}

} // namespace
} // namespace lumvik
