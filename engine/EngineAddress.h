#pragma once

#include <QString>

namespace lumvik {

/// Returns a camera's address in the form that the engine needs: the scheme is converted to lower
/// case and everything else is left unchanged. The engine recognises "rtsp" only in lower case and
/// would treat "RTSP://..." as a file name.
[[nodiscard]] QString engineAddress(const QString &address);

} // namespace lumvik
