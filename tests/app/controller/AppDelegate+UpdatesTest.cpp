// When the controller checks for updates, and what it shows the user.

#include "ControllerFixture.h"
#include "platform/PreferenceKeysAndDefaults.h"

#include <QFile>

namespace lumvik::test {
namespace {

class UpdatesTest : public ControllerFixture {
  protected:
    /// Stores a date this many seconds ago as the date of the last successful check.
    void lastCheckedAgo(qint64 seconds) {
        home.userDefaults().set(PreferenceKeys::lastAutomaticUpdateCheck, date.addSecs(-seconds));
    }
    [[nodiscard]] std::optional<QDateTime> lastCheck() {
        return home.userDefaults().date(PreferenceKeys::lastAutomaticUpdateCheck);
    }
    void expectAlert(const QString &title, const QString &message, const QStringList &buttons) {
        ASSERT_EQ(alerts.shown().size(), 1);
        EXPECT_EQ(alerts.sheets(), 1) << "the alert is a sheet, which does not block the caller";
        const Alert &alert = alerts.shown().first();
        EXPECT_EQ(alert.messageText, title);
        EXPECT_EQ(alert.informativeText, message);
        EXPECT_EQ(alert.buttons, buttons);
        EXPECT_EQ(alert.style, Alert::Style::informational);
    }
    [[nodiscard]] QStringList updateErrors() const {
        QStringList found;
        for (const LoggedLine &line : log.lines(u"updates"_s)) {
            if (line.level == LogLevel::error)
                found.append(line.text);
        }
        return found;
    }
};

TEST_F(UpdatesTest, FirstLaunchChecksForUpdates) {
    launch(threeCameras());
    EXPECT_EQ(updates.begun(), 1);
}

TEST_F(UpdatesTest, LaunchWithoutCamerasAlsoChecksForUpdates) {
    launch(CameraList());
    EXPECT_EQ(updates.begun(), 1);
}

struct LastCheck {
    const char *what;
    qint64 secondsAgo;
    bool checksAgain;
};
void PrintTo(const LastCheck &row, std::ostream *out) {
    *out << row.what;
}

class LastChecks : public UpdatesTest, public testing::WithParamInterface<LastCheck> {};

TEST_P(LastChecks, DecideWhetherALaunchChecksForUpdates) {
    lastCheckedAgo(GetParam().secondsAgo);
    launch(threeCameras());
    EXPECT_EQ(updates.begun(), GetParam().checksAgain ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(
    , LastChecks,
    testing::Values(LastCheck{"JustNow", 0, false}, LastCheck{"TwentyThreeHours", 23 * 3600, false},
                    LastCheck{"OneSecondShortOfADay", 86'399, false},
                    LastCheck{"ADay", 86'400, true}, LastCheck{"AMonth", 30 * 86'400, true},
                    // A stored date is in the future if the clock has been set back since the
                    // check.
                    LastCheck{"InAnHour", -3600, false}, LastCheck{"InAlmostADay", -86'399, false},
                    LastCheck{"InADay", -86'400, true}, LastCheck{"InAYear", -365 * 86'400, true}),
    [](const auto &row) { return std::string(row.param.what); });

TEST_F(UpdatesTest, InvalidDateCountsAsNoPreviousCheck) {
    home.userDefaults().set(PreferenceKeys::lastAutomaticUpdateCheck, u"yesterday"_s);
    launch(threeCameras());
    EXPECT_EQ(updates.begun(), 1);
}

TEST_F(UpdatesTest, AutomaticCheckWithoutAnUpdateStoresTheDateSilently) {
    launch(threeCameras());
    EXPECT_EQ(lastCheck(), std::nullopt) << "the date is stored only once the check has succeeded";
    updates.answerCurrent(0);
    EXPECT_EQ(lastCheck(), date);
    EXPECT_TRUE(alerts.shown().isEmpty());
    EXPECT_TRUE(updateErrors().isEmpty());
}

TEST_F(UpdatesTest, FailedAutomaticCheckIsOnlyLoggedAndStoresNoDate) {
    launch(threeCameras());
    updates.answerFailed(0, u"The update server is unavailable."_s);
    EXPECT_TRUE(alerts.shown().isEmpty());
    EXPECT_EQ(updateErrors(), QStringList(u"The update check did not complete successfully."_s));
    EXPECT_EQ(lastCheck(), std::nullopt);
}

TEST_F(UpdatesTest, AutomaticCheckOffersAnAvailableUpdate) {
    launch(threeCameras());
    updates.answerAvailable(0, u"1.6.1"_s);
    expectAlert(u"Lumvik 1.6.1 is available"_s,
                u"Download the newest version from the Lumvik website when you’re ready."_s,
                {u"Open Website"_s, u"Later"_s});
    EXPECT_EQ(lastCheck(), date);
    EXPECT_TRUE(openedUrls.isEmpty());
    alerts.answerSheet(0);
    EXPECT_EQ(openedUrls, QList<QUrl>{QUrl(u"https://maker.example/lumvik"_s)});
}

TEST_F(UpdatesTest, LaterOpensNothing) {
    launch(threeCameras());
    updates.answerAvailable(0, u"1.6.1"_s);
    alerts.answerSheet(1);
    EXPECT_TRUE(openedUrls.isEmpty());
}

TEST_F(UpdatesTest, ManualCheckWithoutAnUpdateShowsAnAlert) {
    lastCheckedAgo(3600);
    launch(threeCameras());
    delegate->checkForUpdates();
    ASSERT_EQ(updates.begun(), 1);
    updates.answerCurrent(0);
    expectAlert(u"Lumvik is up to date"_s,
                u"You’re using the newest available version of Lumvik."_s, {u"OK"_s});
    EXPECT_EQ(lastCheck(), date) << "a manual check also stores the date";
}

TEST_F(UpdatesTest, FailedManualCheckShowsTheReason) {
    lastCheckedAgo(3600);
    launch(threeCameras());
    delegate->checkForUpdates();
    updates.answerFailed(0, u"There is no network."_s);
    expectAlert(u"Couldn’t check for updates"_s, u"There is no network."_s, {u"OK"_s});
    EXPECT_EQ(updateErrors(), QStringList(u"The update check did not complete successfully."_s));
    EXPECT_EQ(lastCheck(), date.addSecs(-3600));
}

TEST_F(UpdatesTest, SecondCheckCancelsTheFirst) {
    launch(threeCameras());
    delegate->checkForUpdates();
    EXPECT_TRUE(updates.wasCancelled(0));
    delegate->checkForUpdates();
    EXPECT_TRUE(updates.wasCancelled(1));
    updates.answerFailed(1, u"cancelled"_s);
    EXPECT_TRUE(alerts.shown().isEmpty());
    updates.answerCurrent(2);
    EXPECT_EQ(alerts.shown().size(), 1);
}

TEST_F(UpdatesTest, AnotherCheckCanBeginAfterOneHasFinished) {
    launch(threeCameras());
    updates.answerCurrent(0);
    delegate->checkForUpdates();
    updates.answerCurrent(1);
    EXPECT_EQ(alerts.shown().size(), 1);
}

TEST_F(UpdatesTest, TerminationCancelsTheCheck) {
    launch(threeCameras());
    delegate->applicationWillTerminate();
    EXPECT_TRUE(updates.wasCancelled(0));
    delegate->checkForUpdates();
    EXPECT_EQ(updates.begun(), 1) << "no further check is started";
}

TEST_F(UpdatesTest, UpdateIsNotOfferedWhileTheViewerCloses) {
    launch(threeCameras());
    delegate->checkForUpdates();
    delegate->closeCameraViewer();
    updates.answerAvailable(1, u"1.6.1"_s);
    EXPECT_TRUE(alerts.shown().isEmpty());
    EXPECT_EQ(lastCheck(), date);
}

TEST_F(UpdatesTest, FailureIsNotShownWhileTheViewerCloses) {
    launch(threeCameras());
    delegate->checkForUpdates();
    delegate->closeCameraViewer();
    updates.answerFailed(1, u"x"_s);
    EXPECT_TRUE(alerts.shown().isEmpty());
}

TEST_F(UpdatesTest, OverlongVersionIsShortenedInTheAlert) {
    launch(threeCameras());
    updates.answerAvailable(0, u"99."_s + QString(60'000, u'9'));
    EXPECT_LT(alerts.shown().first().messageText.size(), 80);
    EXPECT_TRUE(alerts.shown().first().messageText.startsWith(u"Lumvik 99.999"_s));
}

TEST_F(UpdatesTest, SheetThatOutlivesTheControllerDoesNothing) {
    launch(threeCameras());
    updates.answerAvailable(0, u"1.6.1"_s);
    delegate.reset();
    alerts.answerSheet(0);
    EXPECT_TRUE(openedUrls.isEmpty());
}

TEST_F(UpdatesTest, PageThatNoProgramOpensIsShownForCopying) {
    urlsCanBeOpened = false;
    launch(threeCameras());
    updates.answerAvailable(0, u"1.6.1"_s);
    alerts.answerSheet(0);
    ASSERT_EQ(alerts.shown().size(), 2);
    EXPECT_TRUE(alerts.shown().last().informativeText.contains(u"https://maker.example/lumvik"_s));
}

} // namespace
} // namespace lumvik::test
