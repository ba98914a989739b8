#pragma once

#include <QString>

namespace lumvik {

/// A camera's address as the engine takes it: the same with its scheme in small letters, because
/// the engine knows "rtsp" only in these and would take "RTSP" for the name of a file. All else
/// stays as it was typed.
[[nodiscard]] QString engineAddress(const QString &address);

} // namespace lumvik
