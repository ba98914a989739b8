#include "platform/DesktopNotifier.h"

#include "fakes/CapturingLogSink.h"
#include "fakes/DesktopDoubles.h"
#include "fakes/PrivateBus.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

using namespace Qt::StringLiterals;

class DesktopNotifierTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(bus.isRunning());
        server = std::make_unique<NotificationServerDouble>(bus.address());
        ASSERT_TRUE(server->isPresent());
    }
    static bool eventually(const std::function<bool()> &condition) {
        return QTest::qWaitFor(condition, 20'000);
    }
    void show(DesktopNotifier &notifier, const QString &title, bool isUrgent = true) {
        notifier.show({title, u"HOST does not answer."_s, isUrgent},
                      [this](const QByteArray &token) { tokens.append(token); });
    }
    void showAndWait(DesktopNotifier &notifier, const QString &title) {
        show(notifier, title);
        ASSERT_TRUE(eventually([&] { return notifier.isShown(); }));
    }

    const PrivateBus bus;
    std::unique_ptr<NotificationServerDouble> server;
    const CapturedLog log;
    QList<QByteArray> tokens;
};

TEST_F(DesktopNotifierTest, ShowsANotificationWithAnActionAndItsUrgency) {
    DesktopNotifier notifier(bus.address());
    show(notifier, u"No picture from Front Door"_s);
    ASSERT_TRUE(eventually([this] { return server->requests().size() == 1; }));
    const NotifyRequest request = server->requests().constFirst();
    EXPECT_EQ(request.program, u"Lumvik"_s);
    EXPECT_EQ(request.replacedId, 0U);
    EXPECT_EQ(request.title, u"No picture from Front Door"_s);
    EXPECT_EQ(request.text, u"HOST does not answer."_s);
    EXPECT_EQ(request.actions, (QStringList{u"default"_s, u"Show"_s, u"show"_s, u"Show"_s}));
    EXPECT_EQ(request.hints.value(u"urgency"_s).value<uchar>(), 2);
    EXPECT_EQ(request.hints.value(u"desktop-entry"_s).toString(), u"com.tandrel.Lumvik"_s);
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(DesktopNotifierTest, MarkupInTextsIsEscaped) {
    DesktopNotifier notifier(bus.address());
    notifier.show({u"<b>"_s, u"<b>"_s, false}, nullptr);
    ASSERT_TRUE(eventually([this] { return server->requests().size() == 1; }));
    EXPECT_EQ(server->requests().constFirst().title, u"<b>"_s) << "titles never contain markup";
    EXPECT_EQ(server->requests().constFirst().text, u"&lt;b&gt;"_s);
    EXPECT_EQ(server->requests().constFirst().hints.value(u"urgency"_s).value<uchar>(), 1);
}

TEST_F(DesktopNotifierTest, LaterNotificationReplacesTheEarlierOne) {
    DesktopNotifier notifier(bus.address());
    show(notifier, u"one"_s);
    show(notifier, u"two"_s);
    show(notifier, u"three"_s);
    ASSERT_TRUE(eventually([this] {
        return !server->requests().isEmpty() && server->requests().last().title == u"three"_s;
    }));
    EXPECT_TRUE(server->requests().size() == 1 || server->requests().last().replacedId == 41);
}

TEST_F(DesktopNotifierTest, ClickRunsTheHandlerWithTheToken) {
    DesktopNotifier notifier(bus.address());
    showAndWait(notifier, u"No picture"_s);
    for (const QString &action : {u"default"_s, u"show"_s}) {
        tokens.clear();
        server->invoke(41, action, u"token-1"_s);
        ASSERT_TRUE(eventually([this] { return tokens.size() == 1; }));
        EXPECT_EQ(tokens.first(), "token-1");
    }
    server->invoke(41, u"show"_s);
    ASSERT_TRUE(eventually([this] { return tokens.size() == 2; }));
    EXPECT_EQ(tokens.last(), "") << "a token is used once";
}

TEST_F(DesktopNotifierTest, NotificationsOfOtherProgramsAreIgnored) {
    DesktopNotifier notifier(bus.address());
    showAndWait(notifier, u"No picture"_s);
    server->invoke(99, u"show"_s, u"token-2"_s);
    server->invoke(41, u"mute"_s);
    server->invoke(41, u"show"_s);
    ASSERT_TRUE(eventually([this] { return !tokens.isEmpty(); }));
    EXPECT_EQ(tokens, QList<QByteArray>{""});
}

TEST_F(DesktopNotifierTest, NotificationIsWithdrawn) {
    DesktopNotifier notifier(bus.address());
    showAndWait(notifier, u"No picture"_s);
    notifier.withdraw();
    ASSERT_TRUE(eventually([this] { return !server->closed().isEmpty(); }));
    EXPECT_EQ(server->closed(), QList<uint>{41});
    notifier.withdraw();
    server->invoke(41, u"show"_s);
    EXPECT_FALSE(QTest::qWaitFor([this] { return !tokens.isEmpty(); }, 200));
    EXPECT_EQ(server->closed().size(), 1);
}

TEST_F(DesktopNotifierTest, NotificationWithdrawnBeforeTheReplyIsClosed) {
    DesktopNotifier notifier(bus.address());
    show(notifier, u"No picture"_s);
    ASSERT_TRUE(eventually([this] { return !server->requests().isEmpty(); }));
    notifier.withdraw(); // the server's reply may not have arrived
    EXPECT_TRUE(eventually([this] { return server->closed() == QList<uint>{41}; }));
}

TEST_F(DesktopNotifierTest, DismissedNotificationIsNotReplaced) {
    DesktopNotifier notifier(bus.address());
    showAndWait(notifier, u"No picture"_s);
    server->dismiss(41);
    ASSERT_TRUE(eventually([&] { return !notifier.isShown(); }));
    show(notifier, u"Front Door is live again"_s);
    ASSERT_TRUE(eventually([this] { return server->requests().size() == 2; }));
    EXPECT_EQ(server->requests().last().replacedId, 0U);
}

TEST_F(DesktopNotifierTest, NextServerGetsANotificationOfItsOwn) {
    DesktopNotifier notifier(bus.address());
    ASSERT_NO_FATAL_FAILURE(showAndWait(notifier, u"a"_s));
    server.reset();
    ASSERT_TRUE(eventually([&] { return !notifier.isShown(); }));
    server = std::make_unique<NotificationServerDouble>(bus.address());
    show(notifier, u"b"_s);
    ASSERT_TRUE(eventually([this] { return server->requests().size() == 1; }));
    EXPECT_EQ(server->requests().constFirst().replacedId, 0U);
}

TEST_F(DesktopNotifierTest, ServerThatStartsLaterIsToldWhatTheLastOneMissed) {
    server.reset();
    DesktopNotifier notifier(bus.address());
    show(notifier, u"a"_s);
    ASSERT_TRUE(eventually([this] { return log.lines().size() == 1; }));
    server = std::make_unique<NotificationServerDouble>(bus.address());
    EXPECT_TRUE(eventually([this] { return server->requests().size() == 1; }));
}

TEST_F(DesktopNotifierTest, LogsOnceThatThereAreNoNotifications) {
    server.reset();
    DesktopNotifier notifier(bus.address());
    show(notifier, u"one"_s);
    ASSERT_TRUE(eventually([this] { return log.lines().size() == 1; }));
    EXPECT_TRUE(log.lines().constFirst().text.startsWith(
        u"Notifications cannot be shown on this system: "_s));
    show(notifier, u"two"_s);
    EXPECT_FALSE(QTest::qWaitFor([this] { return log.lines().size() > 1; }, 200));
}

TEST_F(DesktopNotifierTest, LogsOnceThatThereIsNoBus) {
    DesktopNotifier notifier(u"unix:path=/nonexistent/bus"_s);
    show(notifier, u"one"_s);
    ASSERT_TRUE(eventually([this] { return log.lines().size() == 1; }));
    EXPECT_EQ(log.lines().constFirst().text,
              u"Notifications cannot be shown on this system: there is no session bus."_s);
    notifier.withdraw();
}

TEST_F(DesktopNotifierTest, FindsABusThatCameLater) {
    const QTemporaryDir folder;
    const QString socket = folder.filePath(u"later"_s);
    DesktopNotifier notifier(u"unix:path="_s + socket);
    show(notifier, u"one"_s);
    ASSERT_TRUE(eventually([this] { return log.lines().size() == 1; }));
    ASSERT_TRUE(QFile::link(bus.socket(), socket));
    show(notifier, u"two"_s);
    EXPECT_TRUE(eventually([this] { return !server->requests().isEmpty(); }));
}

TEST_F(DesktopNotifierTest, RefusalIsLoggedWithItsReason) {
    server->refuse();
    DesktopNotifier notifier(bus.address());
    show(notifier, u"one"_s);
    ASSERT_TRUE(eventually([this] { return log.lines().size() == 1; }));
    EXPECT_EQ(log.lines().constFirst().text,
              u"Notifications cannot be shown on this system: Too many notifications."_s);
}

} // namespace
} // namespace lumvik::test
