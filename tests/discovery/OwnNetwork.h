#pragma once

#include <QCoreApplication>
#include <QProcess>
#include <QStandardPaths>

#include <gtest/gtest.h>

namespace lumvik::test {

/// Runs the current test again in a network namespace of its own that `script`, a shell script, has
/// set up, and returns true. In that second run, returns false. A test that needs interfaces begins
/// with
///
///     if (runsInOwnNetwork("ip link set lo up"))
///         return;
///
/// The test is skipped where unprivileged namespaces are not permitted.
[[nodiscard]] inline bool runsInOwnNetwork(const QString &script) {
    const char *const variable = "LUMVIK_TEST_OWN_NETWORK";
    if (qEnvironmentVariableIsSet(variable))
        return false;
    const QStringList enter{QStringLiteral("--user"), QStringLiteral("--map-root-user"),
                            QStringLiteral("--net"),  QStringLiteral("--"),
                            QStringLiteral("sh"),     QStringLiteral("-ec")};
    const QString program = QStringLiteral("unshare");
    const auto isPermitted = [&] {
        return !QStandardPaths::findExecutable(program).isEmpty() &&
               QProcess::execute(program,
                                 enter + QStringList{QStringLiteral("ip link set lo up")}) == 0;
    };
    const auto skip = [] { GTEST_SKIP() << "network namespaces are not permitted here"; };
    if (!isPermitted()) {
        skip();
        return true;
    }
    const testing::TestInfo *const test = testing::UnitTest::GetInstance()->current_test_info();
    const QString filter =
        QStringLiteral("--gtest_filter=%1.%2")
            .arg(QLatin1String(test->test_suite_name()), QLatin1String(test->name()));
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program,
                  enter + QStringList{script + QStringLiteral("\nexport %1=1\nexec \"$0\" \"$1\"")
                                                   .arg(QLatin1String(variable)),
                                      QCoreApplication::applicationFilePath(), filter});
    const bool hasEnded = process.waitForFinished(60'000);
    EXPECT_TRUE(hasEnded && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
        << process.readAll().toStdString();
    return true;
}

} // namespace lumvik::test
