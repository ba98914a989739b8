#pragma once

#include "DesktopProgram.h"

#include <QRegularExpression>

namespace lumvik::test {

class TestHome;

/// One line of the viewer's log.
struct LogLine {
    QString level; // "debug", "info", "default" or "error"
    QString category;
    QString text;
};

/// The viewer's process, which runs on a private desktop with a private home folder.
///
/// The destructor ends the process and prints its output when the test has failed. Main thread
/// only. Must not outlive its desktop or its home folder.
class ViewerProcess : public DesktopProgram {
  public:
    using Variables = QList<std::pair<QString, QString>>;

    /// `variables` are added to the environment and replace existing variables.
    ViewerProcess(const TestDesktop &desktop, const TestHome &home,
                  const Variables &variables = {});
    ~ViewerProcess();

    /// Starts the program and waits until its window is on the screen. `launcher` is a command that
    /// starts the program, for example after entering a network namespace. The program's path is
    /// appended to `launcher`.
    [[nodiscard]] testing::AssertionResult start(const QStringList &launcher = {});

    /// The log lines that the viewer has written so far. Other output on standard error is left
    /// out.
    [[nodiscard]] QList<LogLine> log() const;
    /// The number of log lines so far, for use as a mark with `waitForLog`.
    [[nodiscard]] qsizetype logMark() const { return log().size(); }

    /// Waits for a log line of this level and category whose text matches `textPattern` completely.
    /// Lines before number `from` are ignored.
    [[nodiscard]] testing::AssertionResult waitForLog(const QString &level, const QString &category,
                                                      const QString &textPattern,
                                                      std::chrono::milliseconds deadline,
                                                      qsizetype from = 0) const;
    /// Whether the log contains a line of this level and category whose text matches `textPattern`
    /// completely. Lines before number `from` are ignored.
    [[nodiscard]] bool hasLogged(const QString &level, const QString &category,
                                 const QString &textPattern, qsizetype from = 0) const;

    /// Waits until the viewer's log reports a live picture.
    [[nodiscard]] testing::AssertionResult waitForLiveVideo(qsizetype from = 0) const;

    /// Waits until the process exits, and returns whether its exit status is 0.
    [[nodiscard]] testing::AssertionResult exitsInOrder(std::chrono::milliseconds deadline);

    /// Everything that the program wrote to standard output and standard error.
    [[nodiscard]] QString allOutput() const;
};

} // namespace lumvik::test
