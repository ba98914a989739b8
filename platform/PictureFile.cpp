#include "platform/PictureFile.h"

#include "platform/AtomicWrite.h"

#include <QBuffer>
#include <QDir>
#include <QFileInfo>
#include <QImageWriter>

#include <system_error>

namespace lumvik {

namespace {

/// The longest name that is kept of a camera. With the time, and with four bytes for each
/// character, a name is still shorter than 255 bytes, which most file systems permit.
constexpr qsizetype longestName = 50;

QString safeName(const QString &camera) {
    const QString unsafe = QStringLiteral("/\\:*?\"<>|");
    QString name;
    for (const QChar each : camera.simplified()) {
        const bool isSafe = !unsafe.contains(each) && each.category() != QChar::Other_Control &&
                            each.category() != QChar::Other_Format;
        name.append(isSafe ? each : QLatin1Char('-'));
    }
    while (name.startsWith(u'.')) // such a file would be hidden
        name.remove(0, 1);
    name.truncate(longestName);
    if (!name.isEmpty() && name.back().isHighSurrogate())
        name.chop(1);
    name = name.trimmed();
    return name.isEmpty() ? QStringLiteral("Camera") : name;
}

QString withNumber(const QString &fileName, int number) {
    const QFileInfo file(fileName);
    return QStringLiteral("%1 (%2).%3").arg(file.completeBaseName()).arg(number).arg(file.suffix());
}

} // namespace

QString pictureFileName(const QString &camera, const QDateTime &time) {
    // A colon is not permitted in names on some file systems.
    return QStringLiteral("%1 %2.png")
        .arg(safeName(camera), time.toString(QStringLiteral("yyyy-MM-dd HH.mm.ss")));
}

tl::expected<QString, QString> savePictureFile(const QImage &picture, const QString &folder,
                                               const QString &fileName) {
    if (!QDir().mkpath(folder))
        return tl::unexpected(QStringLiteral("The folder %1 cannot be created").arg(folder));
    const QDir directory(folder);
    QString name = fileName;
    for (int number = 2; directory.exists(name); ++number)
        name = withNumber(fileName, number);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    QImageWriter writer(&buffer, "png");
    if (!writer.write(picture))
        return tl::unexpected(writer.errorString());
    const QString path = directory.filePath(name);
    // QSaveFile does not report a full disk for a file that fits into its buffer.
    if (const int error = writeFileAtomically(bytes, path.toStdString()); error != 0)
        return tl::unexpected(QString::fromStdString(std::system_category().message(error)));
    return path;
}

} // namespace lumvik
