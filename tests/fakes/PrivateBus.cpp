#include "PrivateBus.h"

#include <QDeadlineTimer>
#include <QFile>

#include <sys/prctl.h>

#include <csignal>

namespace lumvik::test {

PrivateBus::PrivateBus() {
    QFile configuration(m_folder.filePath(QStringLiteral("bus.conf")));
    if (!configuration.open(QIODevice::WriteOnly))
        return;
    configuration.write("<busconfig><listen>unix:path=" +
                        QFile::encodeName(m_folder.filePath(QStringLiteral("socket"))) +
                        "</listen><auth>EXTERNAL</auth><policy context=\"default\">"
                        "<allow send_destination=\"*\" eavesdrop=\"false\"/>"
                        "<allow receive_sender=\"*\"/><allow own=\"*\"/></policy></busconfig>");
    configuration.close();

    // The daemon warns about limits that it is not permitted to raise.
    m_daemon.setStandardErrorFile(QProcess::nullDevice());
    // The daemon must not outlive a test that is killed.
    m_daemon.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
    m_daemon.start(QStringLiteral("dbus-daemon"),
                   {QStringLiteral("--nofork"), QStringLiteral("--print-address"),
                    QStringLiteral("--config-file=") + configuration.fileName()});
    const QDeadlineTimer deadline(20'000);
    while (!m_daemon.canReadLine() &&
           m_daemon.waitForReadyRead(static_cast<int>(deadline.remainingTime()))) {
    }
    m_address = QString::fromUtf8(m_daemon.readLine()).trimmed();
}

PrivateBus::~PrivateBus() {
    m_daemon.kill();
    m_daemon.waitForFinished();
}

} // namespace lumvik::test
