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

/// The viewer itself, as a user would run it, on a desktop and with a home folder of a test's own.
///
/// The destructor ends the process; when the running test has failed by then, it prints what the
/// viewer wrote. Main thread only; must outlive neither its desktop nor its home.
class ViewerProcess : public DesktopProgram {
  public:
    using Variables = QList<std::pair<QString, QString>>;

    /// `variables` are added to the environment, replacing what is there.
    ViewerProcess(const TestDesktop &desktop, const TestHome &home,
                  const Variables &variables = {});
    ~ViewerProcess();

    /// Starts the program and waits until its window is on the screen. `launcher` is a command
    /// that becomes the program whose path follows it, such as one that enters a namespace first.
    [[nodiscard]] testing::AssertionResult start(const QStringList &launcher = {});

    /// The log so far. What is on standard error without being a log line is not in it.
    [[nodiscard]] QList<LogLine> log() const;
    /// How many log lines there are so far: a mark for `waitForLog`.
    [[nodiscard]] qsizetype logMark() const { return log().size(); }

    /// Waits for a line of this level and category whose whole text matches `text`, among the lines
    /// from number `from` on.
    [[nodiscard]] testing::AssertionResult waitForLog(const QString &level, const QString &category,
                                                      const QString &textPattern,
                                                      std::chrono::milliseconds deadline,
                                                      qsizetype from = 0) const;
    /// Whether there is such a line now.
    [[nodiscard]] bool hasLogged(const QString &level, const QString &category,
                                 const QString &textPattern, qsizetype from = 0) const;

    /// Waits until a live picture is shown, by the viewer's own account.
    [[nodiscard]] testing::AssertionResult waitForLiveVideo(qsizetype from = 0) const;

    /// Waits for the process to end of itself with status 0.
    [[nodiscard]] testing::AssertionResult exitsInOrder(std::chrono::milliseconds deadline);

    /// Everything that the program wrote to standard output and standard error.
    [[nodiscard]] QString allOutput() const;
};

} // namespace lumvik::test
