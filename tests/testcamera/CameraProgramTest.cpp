#include "RtspConversation.h"
#include "RunningTestCamera.h"

#include <gtest/gtest.h>

// Tests of the arguments, the standard input and the exit codes of the test camera.

namespace lumvik::test {
namespace {

TEST(TestCamera, UnknownCommandReportsAnErrorAndChangesNothing) {
    RunningTestCamera camera;
    EXPECT_TRUE(camera.command("dance").startsWith(QLatin1String("error ")));
    EXPECT_EQ(camera.clients(), 0);
}

int exitCodeOf(const QStringList &arguments, QByteArray *message = nullptr) {
    QProcess process;
    process.start(cameraProgram(), arguments);
    if (!process.waitForFinished(20000))
        return -1;
    if (message != nullptr)
        *message = process.readAllStandardError();
    return process.exitCode();
}

TEST(TestCamera, InvalidOptionsAndAPortInUseHaveDifferentExitCodes) {
    QByteArray message;
    EXPECT_EQ(exitCodeOf(words("--size huge"), &message), 2);
    EXPECT_TRUE(message.contains("huge")) << message.constData();
    const RunningTestCamera camera;
    const QString port = QString::number(camera.url().port());
    EXPECT_EQ(exitCodeOf({QStringLiteral("--port"), port}, &message), 1);
    EXPECT_TRUE(message.contains(port.toLatin1())) << message.constData();
}

TEST(TestCamera, KeepsServingAfterItsStandardInputIsClosedUntilTerminated) {
    QProcess process;
    process.start(cameraProgram(), words("--port 0 --size 320x180"));
    ASSERT_TRUE(waitUntil([&] { return process.canReadLine(); }, 20000));
    const QUrl url(QString::fromUtf8(process.readLine()).trimmed().mid(6));
    process.closeWriteChannel();
    observeFor(300);
    EXPECT_EQ(process.state(), QProcess::Running);
    RtspConversation client(url);
    ASSERT_TRUE(client.connectToServer());
    EXPECT_EQ(client.play(), 200);
    process.terminate();
    ASSERT_TRUE(process.waitForFinished(10000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 0);
}

TEST(TestCamera, ExitsWhenItsStandardInputIsClosedIfConfigured) {
    RunningTestCamera camera;
    camera.process().closeWriteChannel();
    ASSERT_TRUE(camera.process().waitForFinished(10000));
    EXPECT_EQ(camera.process().exitCode(), 0);
}

} // namespace
} // namespace lumvik::test
