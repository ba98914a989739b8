#include "ChildProcess.h"

#include "Eventually.h"

#include <QCoreApplication>

#include <signal.h>
#include <sys/prctl.h>

namespace lumvik::test {

using namespace std::chrono_literals;

ChildProcess::ChildProcess(QString name, const QProcessEnvironment &environment)
    : m_name(std::move(name))
    , m_process(std::make_unique<QProcess>()) {
    m_process->setProcessEnvironment(environment);
    // The kernel kills the child when the test's process dies. The modifier runs in the child
    // between fork and exec.
    m_process->setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
    QObject::connect(m_process.get(), &QProcess::readyReadStandardOutput, m_process.get(),
                     [this] { collect(QProcess::StandardOutput, m_outputRest, m_output); });
    QObject::connect(m_process.get(), &QProcess::readyReadStandardError, m_process.get(),
                     [this] { collect(QProcess::StandardError, m_errorRest, m_error); });
}

ChildProcess::~ChildProcess() {
    end();
}

testing::AssertionResult ChildProcess::start(const QString &program, const QStringList &arguments) {
    m_process->start(program, arguments);
    if (!m_process->waitForStarted(10000)) {
        return testing::AssertionFailure()
               << m_name.toStdString() << " (" << program.toStdString()
               << ") does not start: " << m_process->errorString().toStdString();
    }
    return testing::AssertionSuccess();
}

bool ChildProcess::isRunning() const {
    return m_process->state() != QProcess::NotRunning;
}

qint64 ChildProcess::processId() const {
    return m_process->processId();
}

QStringList ChildProcess::standardOutput() const {
    return m_output;
}

QStringList ChildProcess::standardError() const {
    return m_error;
}

void ChildProcess::writeLine(const QByteArray &line) {
    m_process->write(line + '\n');
    m_process->waitForBytesWritten(1000);
}

void ChildProcess::sendSignal(int signalNumber) {
    if (const qint64 id = processId(); id > 0)
        ::kill(static_cast<pid_t>(id), signalNumber);
}

testing::AssertionResult ChildProcess::waitForExit(std::chrono::milliseconds deadline) {
    const bool gone = eventually(deadline, [this] { return !isRunning(); });
    collectAll();
    if (gone)
        return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << m_name.toStdString() << " still runs after " << deadline.count() << " ms";
}

std::optional<int> ChildProcess::exitStatus() const {
    if (isRunning() || m_process->exitStatus() == QProcess::CrashExit)
        return std::nullopt;
    return m_process->exitCode();
}

QString ChildProcess::stateDescription() const {
    if (isRunning())
        return QStringLiteral("runs");
    if (m_process->exitStatus() == QProcess::CrashExit)
        return QStringLiteral("was ended by signal %1").arg(m_process->exitCode());
    return QStringLiteral("exited with status %1").arg(m_process->exitCode());
}

void ChildProcess::end() {
    if (isRunning()) {
        m_process->terminate();
        if (!m_process->waitForFinished(3000)) {
            m_process->kill();
            m_process->waitForFinished(10000);
        }
    }
    collectAll();
}

void ChildProcess::collect(QProcess::ProcessChannel channel, QByteArray &rest, QStringList &lines) {
    m_process->setReadChannel(channel);
    rest += m_process->readAll();
    for (qsizetype end = rest.indexOf('\n'); end >= 0; end = rest.indexOf('\n')) {
        lines.append(QString::fromUtf8(rest.left(end)));
        rest.remove(0, end + 1);
    }
}

void ChildProcess::collectAll() {
    collect(QProcess::StandardOutput, m_outputRest, m_output);
    collect(QProcess::StandardError, m_errorRest, m_error);
}

} // namespace lumvik::test
