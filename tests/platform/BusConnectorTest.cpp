#include "platform/BusConnector.h"

#include "fakes/PrivateBus.h"

#include <QDBusConnectionInterface>
#include <QtTest/QTest>

#include <gtest/gtest.h>

#include <functional>

namespace lumvik {
namespace {

using namespace std::chrono_literals;

const QString observerName = QStringLiteral("observer");

bool eventually(const std::function<bool()> &condition) {
    return QTest::qWaitFor(condition, 20'000);
}

class BusConnectorTest : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(bus.isRunning()); }
    ~BusConnectorTest() override { QDBusConnection::disconnectFromBus(observerName); }

    /// Connects with a `prepare` that returns `problem`.
    void connect(const QString &problem) {
        connector.connect(context, bus.address(), 10s,
                          {.prepare =
                               [this, problem](QDBusConnection &made) {
                                   address = made.baseService();
                                   return problem;
                               },
                           .connected = [this](const QDBusConnection &) { isConnected = true; },
                           .failed = [this](const QString &why) { reason = why; }});
    }
    [[nodiscard]] bool isOnTheBus() const {
        return QDBusConnection::connectToBus(bus.address(), observerName)
            .interface()
            ->isServiceRegistered(address);
    }

    const test::PrivateBus bus;
    QObject context;
    QString address; // the connector's unique name on the bus
    QString reason;
    bool isConnected = false;
    BusConnector connector{QStringLiteral("session bus"), QStringLiteral("test.bus")};
};

TEST_F(BusConnectorTest, PreparedConnectionStaysOpenUntilDisconnect) {
    connect({});
    ASSERT_TRUE(eventually([this] { return isConnected; }));
    EXPECT_TRUE(isOnTheBus());
    connector.disconnect();
    EXPECT_TRUE(eventually([this] { return !isOnTheBus(); }));
}

TEST_F(BusConnectorTest, FailedPreparationClosesTheConnection) {
    connect(QStringLiteral("it is full"));
    ASSERT_TRUE(eventually([this] { return !reason.isEmpty(); }));
    EXPECT_EQ(reason, QStringLiteral("it is full"));
    EXPECT_FALSE(isConnected);
    EXPECT_FALSE(address.isEmpty());
    EXPECT_TRUE(eventually([this] { return !isOnTheBus(); })) << "the connection is still open";
}

} // namespace
} // namespace lumvik
