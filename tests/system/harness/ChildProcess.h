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

/// A program that a test starts, whose output is collected line by line and which never outlives
/// it.
///
/// The destructor asks it to end (SIGTERM), kills it after three seconds, and reaps it; should the
/// test's own process be killed, the kernel ends it. Everything goes by process id, never by name.
/// Made and used on the main thread; output arrives while the event loop runs (see Eventually.h) or
/// when it is asked for.
class ChildProcess {
  public:
    /// `name` is what failure messages call the program.
    ChildProcess(QString name, const QProcessEnvironment &environment);
    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;
    ~ChildProcess();

    /// Starts `program`, a path or a name to be found in the search path.
    [[nodiscard]] testing::AssertionResult start(const QString &program,
                                                 const QStringList &arguments);

    [[nodiscard]] bool isRunning() const;
    /// 0 when it does not run.
    [[nodiscard]] qint64 processId() const;

    /// The complete lines written so far, without their line breaks.
    [[nodiscard]] QStringList standardOutput() const;
    [[nodiscard]] QStringList standardError() const;

    /// Writes `line` and a line break to the program's standard input.
    void writeLine(const QByteArray &line);
    void sendSignal(int signalNumber);

    /// Waits until the process is gone.
    [[nodiscard]] testing::AssertionResult waitForExit(std::chrono::milliseconds deadline);
    /// What it returned; nothing while it runs and when a signal ended it.
    [[nodiscard]] std::optional<int> exitStatus() const;
    /// In words: "runs", "exited with status 0", "was ended by signal 11".
    [[nodiscard]] QString stateDescription() const;

    /// Ends the process as the destructor does.
    void end();

  private:
    void collect(QProcess::ProcessChannel channel, QByteArray &rest, QStringList &lines);
    void collectAll();

    QString m_name;
    std::unique_ptr<QProcess> m_process; // outlived by nothing; its signals have it as context
    QByteArray m_outputRest;             // the line that is not complete yet
    QByteArray m_errorRest;
    QStringList m_output;
    QStringList m_error;
};

} // namespace lumvik::test
