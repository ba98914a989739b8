#pragma once

#include <QDateTime>
#include <QImage>
#include <QString>

#include <tl/expected.hpp>

namespace lumvik {

/// Returns the name of a file with a picture of the camera `camera`, taken at the local time
/// `time`, for example "Front Door 2026-01-31 12.00.00.png". Characters that a file system or
/// another system's file manager does not permit are replaced.
[[nodiscard]] QString pictureFileName(const QString &camera, const QDateTime &time);

/// Saves `picture` in `folder`, which is created if it does not exist, and returns the path of the
/// file, which only the owner can read. An existing file is never replaced: the name gets a number.
/// Returns the reason if the picture cannot be saved; then no file remains. Any thread. May take a
/// second.
[[nodiscard]] tl::expected<QString, QString>
savePictureFile(const QImage &picture, const QString &folder, const QString &fileName);

} // namespace lumvik
