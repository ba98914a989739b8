#pragma once

#include "app/controller/LaunchRequest.h"

#include <QStringList>

#include <tl/expected.hpp>

namespace lumvik {

/// Why the program is not to start: what to say on the terminal, and how to end.
struct CommandLineExit {
    QString text;
    int status = 0; ///< 2 when the command line is wrong; `text` is for standard error then.
};

/// What `arguments`, the program's name among them, ask for; `programVersion` is what it says about
/// itself. Cameras are not named here: other users of the machine can read a command line, and
/// addresses hold passwords.
[[nodiscard]] tl::expected<LaunchRequest::Action, CommandLineExit>
parseCommandLine(const QStringList &arguments, const QString &programVersion);

} // namespace lumvik
