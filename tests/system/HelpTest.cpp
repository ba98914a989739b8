// Tests the Help menu and the update check of the whole program. A substitute for xdg-open records
// the addresses that the program opens, and the update server has a certificate of a test
// authority.

#include "system/harness/ChildProcess.h"
#include "system/harness/Eventually.h"
#include "system/harness/NetworkNamespace.h"
#include "system/harness/ViewerFixture.h"
#include "updates/TestAuthority.h"

#include <QDir>
#include <QFile>
#include <QTcpServer>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

class HelpTest : public ViewerFixture {
  protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(ViewerFixture::SetUp());
        ASSERT_TRUE(QDir(folder.path()).mkdir(QStringLiteral("bin")));
    }
    /// Installs an "xdg-open" that records the addresses it is asked to open.
    void installBrowser(int exitStatus = 0) {
        const QString path = folder.filePath(QStringLiteral("bin/xdg-open"));
        QFile script(path);
        ASSERT_TRUE(script.open(QFile::WriteOnly));
        // The script also reports environment and process settings that the viewer must not pass
        // on.
        script.write("#!/bin/sh\nread filter </proc/self/coredump_filter\n"
                     "[ \"$filter\" != 00000000 ] || dumps=' (not the core dumps of the user)'\n"
                     "start=$XDG_ACTIVATION_TOKEN$DESKTOP_STARTUP_ID\n"
                     "printf '%s\\n' \"$*${QSG_RENDER_LOOP+ (not the user's environment)}$dumps"
                     "${start:+ (what the viewer's own start was given)}\""
                     " >>\"" +
                     folder.path().toUtf8() + "/opened\"\nexit " + QByteArray::number(exitStatus) +
                     "\n");
        script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    [[nodiscard]] QByteArray openedAddresses() const {
        QFile file(folder.filePath(QStringLiteral("opened")));
        return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    }
    /// An environment whose search path contains only the browser that `installBrowser` installs.
    [[nodiscard]] ViewerProcess::Variables variables() const {
        return {{QStringLiteral("PATH"), folder.filePath(QStringLiteral("bin"))},
                {QStringLiteral("BROWSER"), QString()},
                {QStringLiteral("XDG_ACTIVATION_TOKEN"), QStringLiteral("panel-1_TIME1")},
                {QStringLiteral("DESKTOP_STARTUP_ID"), QStringLiteral("panel-1_TIME1")}};
    }
    void start() {
        startViewer(variables());
        ASSERT_TRUE(eventually(20s, [this] { return viewer->hasFocus(); }));
    }
    /// Waits until a window of the program other than the viewer window has the keyboard focus.
    [[nodiscard]] testing::AssertionResult dialogAppears(std::chrono::milliseconds deadline = 20s) {
        const bool found = eventually(deadline, [&] {
            dialog = desktop.x().focusedWindow();
            return dialog != viewer->window() && viewer->windowsOnScreen().contains(dialog);
        });
        return found ? testing::AssertionSuccess() : testing::AssertionFailure() << "no dialog";
    }
    /// Saves a screenshot for visual inspection once the dialog is drawn.
    void saveScreenshot(const QString &name) {
        EXPECT_TRUE(eventually(20s, [this] {
            const QRect corner(desktop.x().geometry(dialog).value_or(QRect()).topLeft(),
                               QSize(4, 4));
            return screen.area(corner).pixelColor(1, 1).lightness() > 100;
        })) << "the dialog stays black";
        screen.save(name);
    }
    void expectDialogIsASheet() {
        EXPECT_EQ(desktop.x().numbers(dialog, "WM_TRANSIENT_FOR"),
                  QList<quint32>{viewer->window()});
        EXPECT_TRUE(desktop.x()
                        .atomNames(dialog, "_NET_WM_STATE")
                        .contains(QStringLiteral("_NET_WM_STATE_MODAL")));
    }
    void closeDialog(const QString &key) {
        keyboard.press(key);
        EXPECT_TRUE(
            eventually(20s, [this] { return !viewer->windowsOnScreen().contains(dialog); }));
    }

    QTemporaryDir folder;
    xcb_window_t dialog = XCB_NONE;
};

constexpr int lumvikMenu = 0;
constexpr int helpMenu = 4;

TEST_F(HelpTest, AboutPanelOpensAboveThePinnedViewerWhoseVideoContinues) {
    ASSERT_TRUE(startListedCamera());
    home.setPreference(QStringLiteral("staysOnTop"), true);
    startViewerAndWaitForPicture();
    ASSERT_TRUE(eventually(20s, [this] { return viewer->hasFocus(); }));
    ASSERT_NO_FATAL_FAILURE(chooseMenuItem(helpMenu, 3));
    ASSERT_TRUE(dialogAppears());
    EXPECT_EQ(desktop.x().title(dialog), QStringLiteral("About Lumvik"));
    saveScreenshot(QStringLiteral("about"));
    const QImage before = screen.area(viewer->geometry());
    EXPECT_TRUE(eventually(10s, [&] { return screen.area(viewer->geometry()) != before; }))
        << "the video does not continue";
    closeDialog(QStringLiteral("Escape"));
}

TEST_F(HelpTest, QuickHelpIsASheetOnTheViewer) {
    start();
    ASSERT_NO_FATAL_FAILURE(chooseMenuItem(helpMenu, 1));
    ASSERT_TRUE(dialogAppears());
    expectDialogIsASheet();
    saveScreenshot(QStringLiteral("quick-help"));
    closeDialog(QStringLiteral("Return"));
}

TEST_F(HelpTest, OpenSheetDoesNotDelayExit) {
    start();
    ASSERT_NO_FATAL_FAILURE(chooseMenuItem(helpMenu, 1));
    ASSERT_TRUE(dialogAppears());
    endViewer();
}

TEST_F(HelpTest, HelpAndFeedbackAddressesArePassedToXdgOpen) {
    installBrowser();
    start();
    keyboard.press(QStringLiteral("F1"));
    EXPECT_TRUE(eventually(20s, [this] {
        return openedAddresses() == "https://" LUMVIK_WEB_HOST "/lumvik/help.html\n";
    })) << openedAddresses().toStdString();
    ASSERT_NO_FATAL_FAILURE(chooseMenuItem(helpMenu, 2));
    EXPECT_TRUE(eventually(20s, [this] {
        return openedAddresses().endsWith("\nmailto:" LUMVIK_FEEDBACK_ADDRESS
                                          "?subject=Lumvik%20Feedback\n");
    })) << openedAddresses().toStdString();
}

TEST_F(HelpTest, AddressIsShownWhenXdgOpenFails) {
    installBrowser(3);
    start();
    keyboard.press(QStringLiteral("F1"));
    ASSERT_TRUE(dialogAppears());
    expectDialogIsASheet();
    closeDialog(QStringLiteral("Return"));
}

TEST_F(HelpTest, AddressIsShownWhenXdgOpenIsMissing) {
    start();
    keyboard.press(QStringLiteral("F1"));
    ASSERT_TRUE(dialogAppears());
    expectDialogIsASheet();
    closeDialog(QStringLiteral("Return"));
}

/// Runs the program in a network namespace that has only a loopback interface. The update server
/// can run in the same namespace.
class UpdateTest : public HelpTest {
  protected:
    void SetUp() override {
        if (const QString obstacle = NetworkNamespace::obstacle(); !obstacle.isNull())
            GTEST_SKIP() << obstacle.toStdString();
        ASSERT_NO_FATAL_FAILURE(HelpTest::SetUp());
        ASSERT_TRUE(network.start());
        ASSERT_TRUE(network.replaceFile(QStringLiteral("/etc/hosts"),
                                        "127.0.0.1 localhost " LUMVIK_WEB_HOST "\n"));
        viewerLauncher = network.launcher();
    }
    /// Serves an update manifest with `version`, and makes the viewer's system trust the server's
    /// certificate authority.
    void serve(const QByteArray &version) {
        const QDir root(folder.path());
        ASSERT_TRUE(root.mkpath(QStringLiteral("site/lumvik")));
        ASSERT_TRUE(root.mkpath(QStringLiteral("authorities")));
        const Credentials credentials = authority.credentials(QStringLiteral(LUMVIK_WEB_HOST));
        put(QStringLiteral("server.pem"),
            credentials.certificate.toPem() + credentials.key.toPem());
        put(QStringLiteral("authorities/ours.pem"), authority.certificate().toPem());
        const QByteArray manifest = R"({"version": ")" + version +
                                    R"(", "build": 1, "downloadPage": "https://)" LUMVIK_WEB_HOST
                                    R"(/lumvik"})";
        // The server sends the file unchanged, so the file contains the whole HTTP response.
        put(QStringLiteral("site/lumvik/version.json"),
            "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: " +
                QByteArray::number(manifest.size()) + "\r\n\r\n" + manifest);
        const QString authorities = root.filePath(QStringLiteral("authorities"));
        ASSERT_TRUE(network.run(QStringLiteral("openssl rehash %1").arg(authorities)));
        ASSERT_TRUE(network.run(QStringLiteral("mount --bind %1 /etc/ssl/certs").arg(authorities)));
        QStringList command = network.launcher();
        command << QStringLiteral("sh") << QStringLiteral("-c")
                << QStringLiteral("cd %1/site && exec openssl s_server -accept 443 -cert "
                                  "%1/server.pem -cert2 %1/server.pem -servername " LUMVIK_WEB_HOST
                                  " -servername_fatal -HTTP")
                       .arg(folder.path());
        ASSERT_TRUE(server.start(command.first(), command.mid(1)));
        ASSERT_TRUE(eventually(20s, [this] {
            return server.standardOutput().contains(QStringLiteral("ACCEPT"));
        })) << server.standardError().join(u'\n').toStdString();
    }
    void put(const QString &name, const QByteArray &bytes) const {
        QFile file(folder.filePath(name));
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        file.write(bytes);
    }
    void startOnADayWithoutCheck() {
        home.setPreference(QStringLiteral("lastAutomaticUpdateCheck"), QString());
        start();
    }
    [[nodiscard]] bool dateIsStored() const {
        return !home.preference(QStringLiteral("lastAutomaticUpdateCheck")).toString().isEmpty();
    }

    NetworkNamespace network;
    TestAuthority authority;
    ChildProcess server{QStringLiteral("the update server"),
                        QProcessEnvironment::systemEnvironment()};
};

TEST_F(UpdateTest, NewVersionIsOfferedAtLaunchAndItsDownloadPageOpens) {
    installBrowser();
    ASSERT_NO_FATAL_FAILURE(serve("99.1"));
    ASSERT_NO_FATAL_FAILURE(startOnADayWithoutCheck());
    ASSERT_TRUE(dialogAppears());
    expectDialogIsASheet();
    saveScreenshot(QStringLiteral("update"));
    EXPECT_TRUE(
        viewer->hasLogged(QStringLiteral("info"), QStringLiteral("updates"),
                          QStringLiteral("Checking the official Lumvik update manifest\\.")));
    EXPECT_TRUE(viewer->hasLogged(
        QStringLiteral("info"), QStringLiteral("updates"),
        QStringLiteral("Validated update manifest build 1 against installed build \\d+\\.")));
    closeDialog(QStringLiteral("Return"));
    EXPECT_TRUE(eventually(20s, [this] {
        return openedAddresses() == "https://" LUMVIK_WEB_HOST "/lumvik\n";
    })) << openedAddresses().toStdString();
    EXPECT_TRUE(eventually(20s, [this] { return dateIsStored(); }));
}

TEST_F(UpdateTest, CurrentVersionIsReportedOnlyForAManualCheck) {
    ASSERT_NO_FATAL_FAILURE(serve("0.0.1"));
    ASSERT_NO_FATAL_FAILURE(startOnADayWithoutCheck());
    EXPECT_TRUE(eventually(20s, [this] { return dateIsStored(); }));
    EXPECT_TRUE(viewer->hasFocus()) << "a dialog has opened";
    ASSERT_NO_FATAL_FAILURE(chooseMenuItem(lumvikMenu, 1));
    ASSERT_TRUE(dialogAppears());
    expectDialogIsASheet();
    closeDialog(QStringLiteral("Return"));
}

TEST_F(UpdateTest, UntrustedServerIsRefused) {
    ASSERT_NO_FATAL_FAILURE(serve("99.1"));
    ASSERT_TRUE(network.run(QStringLiteral("umount /etc/ssl/certs")));
    ASSERT_NO_FATAL_FAILURE(startOnADayWithoutCheck());
    EXPECT_TRUE(viewer->waitForLog(
        QStringLiteral("error"), QStringLiteral("updates"),
        QStringLiteral("The update check did not complete successfully\\."), 20s));
    EXPECT_TRUE(viewer->hasFocus()) << "a dialog has opened";
    EXPECT_FALSE(dateIsStored());
}

TEST_F(UpdateTest, ManualCheckWithoutAServerReportsTheFailure) {
    start();
    ASSERT_NO_FATAL_FAILURE(chooseMenuItem(lumvikMenu, 1));
    ASSERT_TRUE(dialogAppears());
    expectDialogIsASheet();
    saveScreenshot(QStringLiteral("no-server"));
    closeDialog(QStringLiteral("Return"));
    EXPECT_TRUE(
        viewer->hasLogged(QStringLiteral("error"), QStringLiteral("updates"),
                          QStringLiteral("The update check did not complete successfully\\.")));
}

} // namespace
} // namespace lumvik::test
