#pragma once

#include "app/controller/LaunchRequest.h"

#include <QStringList>

#include <tl/expected.hpp>

namespace lumvik {

/// The output and the exit status of a program that exits because of its command line.
struct CommandLineExit {
    /// The exit status for a wrong command line.
    static constexpr int wrongUsage = 2;

    QString text;   ///< For standard output if `status` is 0, otherwise for standard error.
    int status = 0; ///< 0 for help and version, otherwise `wrongUsage`.
};

/// Returns the action that is requested by `arguments`, which include the program's name, or the
/// reason to exit. `programVersion` is the text for --version.
///
/// Cameras cannot be given on the command line, because other users of the machine can read it and
/// addresses contain passwords.
[[nodiscard]] tl::expected<LaunchRequest::Action, CommandLineExit>
parseCommandLine(const QStringList &arguments, const QString &programVersion);

} // namespace lumvik
