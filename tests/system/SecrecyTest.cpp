// Tests that the program discloses a camera's password only in the connection to that camera.

#include "system/harness/FaultFixture.h"

#include <QFile>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

/// A password with every character that has a special meaning in an address.
const QString password = QStringLiteral("p@ss:w/rd%#");
const QString wrongPassword = QStringLiteral("wr@ng:p/ss%#");

class SecrecyTest : public ViewerFixture {
  protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(ViewerFixture::SetUp());
        CameraSetup setup;
        setup.user = QStringLiteral("viewer");
        setup.password = password;
        camera = startCamera(setup);
        ASSERT_TRUE(camera);
    }

    void expectAbsent(const QByteArray &text, const QString &secret, const char *where) const {
        for (const QByteArray &form : formsOfSecret(secret))
            EXPECT_FALSE(text.contains(form)) << form.toStdString() << " appears in " << where;
    }

    [[nodiscard]] QByteArray commandLine() const {
        QFile file(QStringLiteral("/proc/%1/cmdline").arg(viewer->process().processId()));
        return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    }

    [[nodiscard]] QByteArray allTitles() const {
        QByteArray titles;
        for (const xcb_window_t window : desktop.x().viewableWindows()) {
            for (const char *property : {"_NET_WM_NAME", "WM_NAME", "_NET_WM_ICON_NAME",
                                         "WM_ICON_NAME", "WM_CLASS", "WM_COMMAND"})
                titles += desktop.x().text(window, property).toUtf8() + '\n';
        }
        return titles;
    }

    /// Checks that `secret` is neither in the command line nor in a window title of the viewer,
    /// which other programs can read.
    void expectNotDisclosed(const QString &secret) const {
        ASSERT_FALSE(commandLine().isEmpty());
        expectAbsent(commandLine(), secret, "the command line");
        ASSERT_TRUE(allTitles().contains("Lumvik"));
        expectAbsent(allTitles(), secret, "a window's title");
    }

    /// A log without engine messages would prove nothing, so the engine must have logged the
    /// address.
    void expectTalkativeLog() const {
        EXPECT_GT(viewer->log().size(), 200) << "the engine log is not verbose";
        EXPECT_TRUE(viewer->allOutput().contains(QStringLiteral("rtsp://[address withheld]")));
    }

    const ViewerProcess::Variables talkative{
        {QStringLiteral("LUMVIK_ENGINE_LOG"), QStringLiteral("trace")}};
    CameraProcess *camera = nullptr;
};

TEST_F(SecrecyTest, CorrectPasswordIsNotDisclosed) {
    home.writeCameras({{QStringLiteral("Secret"), camera->url()}});
    startViewerAndWaitForPicture(talkative);
    expectNotDisclosed(password);
    endViewer();
    expectTalkativeLog();
    expectAbsent(viewer->allOutput().toUtf8(), password, "the log");
}

TEST_F(SecrecyTest, PasswordWithAtSignsPlaysAsTypedAndIsNotDisclosed) {
    CameraSetup setup;
    setup.user = QStringLiteral("me@home");
    setup.password = QStringLiteral("p@ss@word");
    CameraProcess *other = startCamera(setup);
    ASSERT_TRUE(other);
    QString address = other->url();
    address.replace(QStringLiteral("%40"), QStringLiteral("@"));
    ASSERT_TRUE(address.contains(QStringLiteral("me@home:p@ss@word@"))) << qPrintable(address);
    home.writeCameras({{QStringLiteral("Secret"), address}});
    startViewerAndWaitForPicture(talkative);
    expectNotDisclosed(setup.password);
    endViewer();
    expectTalkativeLog();
    expectAbsent(viewer->allOutput().toUtf8(), setup.password, "the log");
    EXPECT_TRUE(home.readDataFile(QStringLiteral("cameras.json")).contains("p@ss@word"));
}

TEST_F(SecrecyTest, WrongPasswordIsNotDisclosed) {
    home.writeCameras({{QStringLiteral("Secret"), camera->urlWithPassword(wrongPassword)}});
    startViewer(talkative);
    ASSERT_TRUE(viewer->waitForLog(QStringLiteral("error"), QStringLiteral("playback"),
                                   QStringLiteral("mpv ended the stream: reason=4, .*"), 60s));
    expectNotDisclosed(wrongPassword);
    endViewer();
    expectTalkativeLog();
    expectAbsent(viewer->allOutput().toUtf8(), wrongPassword, "the log");
}

TEST_F(SecrecyTest, CoreDumpsAreDisabled) {
    startViewer();
    const QString folder = QStringLiteral("/proc/%1/").arg(viewer->process().processId());
    QFile limits(folder + QStringLiteral("limits"));
    ASSERT_TRUE(limits.open(QFile::ReadOnly));
    static const QRegularExpression noFile(QStringLiteral("^Max core file size +0 "),
                                           QRegularExpression::MultilineOption);
    EXPECT_TRUE(noFile.match(QString::fromUtf8(limits.readAll())).hasMatch());
    QFile filter(folder + QStringLiteral("coredump_filter"));
    ASSERT_TRUE(filter.open(QFile::ReadOnly));
    EXPECT_EQ(filter.readAll(), "00000000\n");
}

} // namespace
} // namespace lumvik::test
