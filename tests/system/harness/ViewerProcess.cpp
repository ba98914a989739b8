#include "ViewerProcess.h"

#include "Eventually.h"
#include "TestDesktop.h"
#include "TestHome.h"

#include <iostream>

namespace lumvik::test {

using namespace std::chrono_literals;

namespace {

QProcessEnvironment viewerEnvironment(const TestDesktop &desktop, const TestHome &home,
                                      const ViewerProcess::Variables &variables) {
    QProcessEnvironment environment = home.environment(desktop.environment());
    for (const auto &[name, value] : variables)
        environment.insert(name, value);
    return environment;
}

} // namespace

ViewerProcess::ViewerProcess(const TestDesktop &desktop, const TestHome &home,
                             const Variables &variables)
    : DesktopProgram(desktop, QStringLiteral("the viewer"),
                     viewerEnvironment(desktop, home, variables)) {}

ViewerProcess::~ViewerProcess() {
    const QString state = process().stateDescription();
    process().end();
    if (testing::Test::HasFailure()) {
        std::cout << "The viewer " << state.toStdString() << ". Its output:\n"
                  << allOutput().toStdString() << std::endl;
    }
}

testing::AssertionResult ViewerProcess::start(const QStringList &launcher) {
    const QStringList command = launcher + QStringList{QStringLiteral(LUMVIK_VIEWER_PROGRAM)};
    if (const auto started = process().start(command.first(), command.mid(1)); !started)
        return started;
    return waitForWindow(QStringLiteral("Lumvik"), 60s);
}

QList<LogLine> ViewerProcess::log() const {
    static const QRegularExpression form(
        QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z "
                       "(debug|info|default|error) (\\w+): (.*)$"));
    QList<LogLine> lines;
    for (const QString &line : process().standardError()) {
        if (const auto match = form.match(line); match.hasMatch())
            lines.append({match.captured(1), match.captured(2), match.captured(3)});
    }
    return lines;
}

bool ViewerProcess::hasLogged(const QString &level, const QString &category,
                              const QString &textPattern, qsizetype from) const {
    const QRegularExpression text(QRegularExpression::anchoredPattern(textPattern));
    const QList<LogLine> lines = log().mid(from);
    return std::any_of(lines.cbegin(), lines.cend(), [&](const LogLine &line) {
        return line.level == level && line.category == category && text.match(line.text).hasMatch();
    });
}

testing::AssertionResult ViewerProcess::waitForLog(const QString &level, const QString &category,
                                                   const QString &textPattern,
                                                   std::chrono::milliseconds deadline,
                                                   qsizetype from) const {
    if (eventually(deadline, [&] { return hasLogged(level, category, textPattern, from); }))
        return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << "within " << deadline.count() << " ms no log line \"" << level.toStdString() << " "
           << category.toStdString() << ": " << textPattern.toStdString() << "\"; the viewer "
           << process().stateDescription().toStdString();
}

testing::AssertionResult ViewerProcess::waitForLiveVideo(qsizetype from) const {
    return waitForLog(QStringLiteral("default"), QStringLiteral("playback"),
                      QStringLiteral("Live video frames resumed for player generation \\d+\\."),
                      40s, from);
}

testing::AssertionResult ViewerProcess::exitsInOrder(std::chrono::milliseconds deadline) {
    if (const auto gone = process().waitForExit(deadline); !gone)
        return gone;
    if (process().exitStatus() == 0)
        return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << "the viewer " << process().stateDescription().toStdString();
}

QString ViewerProcess::allOutput() const {
    return (process().standardOutput() + process().standardError()).join(u'\n');
}

} // namespace lumvik::test
