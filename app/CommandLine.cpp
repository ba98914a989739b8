#include "app/CommandLine.h"

#include <QCommandLineParser>

#include <array>

namespace lumvik {

namespace {

const QString usage = QStringLiteral(
    "Usage: lumvik [option]\n"
    "Shows a network camera live in a small window. When Lumvik runs already, its window comes to "
    "the front.\n"
    "\n"
    "  --camera-addresses    open the list of cameras, too\n"
    "  --check-for-updates   look for a newer version, too\n"
    "  --at-login            leave the keyboard to other windows; used by Start at Login\n"
    "  --help, -h            say this\n"
    "  --version, -v         say which version this is\n");

} // namespace

tl::expected<LaunchRequest::Action, CommandLineExit>
parseCommandLine(const QStringList &arguments, const QString &programVersion) {
    // Qt's own help options are not used, because their texts would be in the user's language,
    // unlike all other texts of the program.
    QCommandLineParser parser;
    const QCommandLineOption help(QStringList{QStringLiteral("h"), QStringLiteral("help")});
    const QCommandLineOption version(QStringList{QStringLiteral("v"), QStringLiteral("version")});
    parser.addOptions({help, version});
    constexpr std::array actions{LaunchRequest::Action::showCameraAddresses,
                                 LaunchRequest::Action::checkForUpdates,
                                 LaunchRequest::Action::startAtLogin};
    for (const auto action : actions)
        parser.addOption(QCommandLineOption(nameOfAction(action)));

    if (!parser.parse(arguments) || !parser.positionalArguments().isEmpty()) {
        // The message does not quote the arguments, because they may contain a password and the
        // terminal's output may go to a log.
        const QString problem = parser.positionalArguments().isEmpty()
                                    ? QStringLiteral("there is no such option.")
                                    : QStringLiteral("cameras are not named on the command line.");
        return tl::unexpected(CommandLineExit{QStringLiteral("lumvik: %1\n%2").arg(problem, usage),
                                              CommandLineExit::wrongUsage});
    }
    if (parser.isSet(help))
        return tl::unexpected(CommandLineExit{usage, 0});
    if (parser.isSet(version)) {
        return tl::unexpected(
            CommandLineExit{QStringLiteral("Lumvik %1\n").arg(programVersion), 0});
    }
    for (const auto action : actions) {
        if (parser.isSet(nameOfAction(action)))
            return action;
    }
    return LaunchRequest::Action::activate;
}

} // namespace lumvik
