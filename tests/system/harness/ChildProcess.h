#pragma once

#include <QByteArray>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>

namespace lumvik::test {

/// A program that a test starts and that never outlives the test. The program's output is collected
/// line by line.
///
/// The destructor sends SIGTERM, kills the process if it still runs after three seconds, and reaps
/// it. The kernel kills the process when the test's own process dies. Processes are addressed by
/// id, never by name. Main thread only. Output is collected while the event loop runs (see
/// Eventually.h), by `waitForExit` and by `end`.
class ChildProcess {
  public:
    /// `name` identifies the program in failure messages.
    ChildProcess(QString name, const QProcessEnvironment &environment);
    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;
    ~ChildProcess();

    /// Starts `program`, which is a path or a name that is looked up in PATH.
    [[nodiscard]] testing::AssertionResult start(const QString &program,
                                                 const QStringList &arguments);

    [[nodiscard]] bool isRunning() const;
    /// The process id, or 0 when the program is not running.
    [[nodiscard]] qint64 processId() const;

    /// The complete lines that the program has written so far, without their line breaks.
    [[nodiscard]] QStringList standardOutput() const;
    [[nodiscard]] QStringList standardError() const;

    /// Writes `line` and a line break to the program's standard input.
    void writeLine(const QByteArray &line);
    void sendSignal(int signalNumber);

    /// Waits until the process has exited.
    [[nodiscard]] testing::AssertionResult waitForExit(std::chrono::milliseconds deadline);
    /// The exit status. Empty while the process runs, and when a signal ended the process.
    [[nodiscard]] std::optional<int> exitStatus() const;
    /// The state of the process in words, for example "runs", "exited with status 0" or "was ended
    /// by signal 11".
    [[nodiscard]] QString stateDescription() const;

    /// Ends the process as the destructor does.
    void end();

  private:
    void collect(QProcess::ProcessChannel channel, QByteArray &rest, QStringList &lines);
    void collectAll();

    QString m_name;
    std::unique_ptr<QProcess> m_process; // also the context object of its signal connections
    QByteArray m_outputRest;             // the incomplete last line of the standard output
    QByteArray m_errorRest;              // the incomplete last line of the standard error
    QStringList m_output;
    QStringList m_error;
};

} // namespace lumvik::test
