#include "RunningTestCamera.h"

#include "RtspConversation.h"

#include <QDeadlineTimer>
#include <QTest>

#include <gtest/gtest.h>

namespace lumvik::test {

namespace {

constexpr int startMilliseconds = 20000;

} // namespace

bool waitUntil(const std::function<bool()> &isDone, int milliseconds) {
    return QTest::qWaitFor(isDone, milliseconds);
}

void observeFor(int milliseconds) {
    [[maybe_unused]] const bool isDone = waitUntil([] { return false; }, milliseconds);
}

QString cameraProgram() {
    return QStringLiteral(LUMVIK_TEST_CAMERA);
}

RunningTestCamera::RunningTestCamera(const QStringList &arguments) {
    const QStringList defaults{QStringLiteral("--port"), QStringLiteral("0"),
                               QStringLiteral("--size"), QStringLiteral("320x180"),
                               QStringLiteral("--exit-with-stdin")};
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(cameraProgram(), defaults + arguments);
    const QString ready = readLine();
    if (ready.startsWith(QLatin1String("ready ")))
        m_url = QUrl(ready.mid(6));
}

RunningTestCamera::~RunningTestCamera() {
    m_process.closeWriteChannel();
    if (!m_process.waitForFinished(5000))
        m_process.kill();
    m_process.waitForFinished();
}

QString RunningTestCamera::command(const QByteArray &line) {
    m_process.write(line + '\n');
    return readLine();
}

int RunningTestCamera::clients() {
    const QString answer = command("clients");
    return answer.startsWith(QLatin1String("ok ")) ? answer.mid(3).toInt() : -1;
}

QString RunningTestCamera::readLine() {
    const QDeadlineTimer deadline(startMilliseconds);
    while (!m_process.canReadLine() && !deadline.hasExpired()) {
        if (!m_process.waitForReadyRead(static_cast<int>(deadline.remainingTime())))
            break;
    }
    return QString::fromUtf8(m_process.readLine()).trimmed();
}

std::unique_ptr<RtspConversation> watch(const RunningTestCamera &camera) {
    auto watcher = std::make_unique<RtspConversation>(camera.url());
    EXPECT_TRUE(watcher->connectToServer());
    EXPECT_EQ(watcher->play(), 200);
    EXPECT_TRUE(waitUntil([&] { return watcher->pictures() >= 3; }));
    return watcher;
}

QStringList words(const char *line) {
    return QString::fromLatin1(line).split(QLatin1Char(' '));
}

} // namespace lumvik::test
