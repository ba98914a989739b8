#include "CameraProcess.h"

#include "Eventually.h"

namespace lumvik::test {

using namespace std::chrono_literals;

namespace {

constexpr auto cameraStartDeadline = 30s;
constexpr auto cameraAnswerDeadline = 20s;

} // namespace

CameraProcess::CameraProcess(CameraSetup setup)
    : m_setup(std::move(setup))
    , m_process(QStringLiteral("the test camera"), QProcessEnvironment::systemEnvironment()) {}

testing::AssertionResult CameraProcess::start() {
    const QStringList command =
        m_setup.launcher + QStringList{QStringLiteral(LUMVIK_TEST_CAMERA_PROGRAM)} + arguments();
    if (const auto started = m_process.start(command.first(), command.mid(1)); !started)
        return started;
    static const QString readyPrefix = QStringLiteral("ready ");
    const bool settled = eventually(cameraStartDeadline, [this] {
        return !m_process.standardOutput().isEmpty() || !m_process.isRunning();
    });
    if (!settled || m_process.standardOutput().isEmpty() ||
        !m_process.standardOutput().first().startsWith(readyPrefix)) {
        return testing::AssertionFailure()
               << "the test camera " << m_process.stateDescription().toStdString()
               << " and is not ready: "
               << (m_process.standardOutput() + m_process.standardError())
                      .join(u'\n')
                      .toStdString();
    }
    m_address = m_process.standardOutput().first().mid(readyPrefix.size()).trimmed();
    return testing::AssertionSuccess();
}

QStringList CameraProcess::arguments() const {
    QStringList arguments = {
        QStringLiteral("--address"),
        m_setup.address,
        QStringLiteral("--port"),
        QString::number(m_setup.port),
        QStringLiteral("--name"),
        m_setup.name,
        QStringLiteral("--size"),
        QStringLiteral("%1x%2").arg(m_setup.size.width()).arg(m_setup.size.height()),
        QStringLiteral("--pixel-ratio"),
        QStringLiteral("%1:%2").arg(m_setup.pixelRatio.width()).arg(m_setup.pixelRatio.height()),
        QStringLiteral("--fps"),
        QString::number(m_setup.framesPerSecond),
        QStringLiteral("--gop"),
        QString::number(m_setup.keyFrameInterval),
        QStringLiteral("--codec"),
        m_setup.codec,
        QStringLiteral("--transport"),
        m_setup.transport};
    if (!m_setup.user.isEmpty()) {
        arguments << QStringLiteral("--user") << m_setup.user << QStringLiteral("--password")
                  << m_setup.password;
    }
    if (m_setup.lockAfter > 0)
        arguments << QStringLiteral("--lock-after") << QString::number(m_setup.lockAfter);
    if (m_setup.isFoundByOnvif)
        arguments << QStringLiteral("--onvif") << QStringLiteral("0");
    if (m_setup.withClock)
        arguments << QStringLiteral("--clock");
    return arguments;
}

QString CameraProcess::url() const {
    return m_setup.user.isEmpty() ? m_address : urlWithPassword(m_setup.password);
}

QString CameraProcess::urlWithPassword(const QString &password) const {
    const auto encoded = [](const QString &text) {
        return QString::fromLatin1(QUrl::toPercentEncoding(text));
    };
    QString address = m_address;
    return address.replace(
        QStringLiteral("rtsp://"),
        QStringLiteral("rtsp://%1:%2@").arg(encoded(m_setup.user), encoded(password)));
}

QString CameraProcess::command(const QByteArray &command) {
    const qsizetype answers = m_process.standardOutput().size();
    m_process.writeLine(command);
    if (eventually(cameraAnswerDeadline,
                   [&] { return m_process.standardOutput().size() > answers; }))
        return m_process.standardOutput().at(answers);
    ADD_FAILURE() << "the camera does not reply to \"" << command.toStdString()
                  << "\"; its process " << m_process.stateDescription().toStdString();
    return {};
}

} // namespace lumvik::test
