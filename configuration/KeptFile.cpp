#include "configuration/KeptFile.h"

#include <QFileInfo>

#include <sys/stat.h>

#include <cerrno>

namespace lumvik {

namespace {

constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;

/// The number of names that are tried. Names are in use only if several lists are kept within the
/// same second.
constexpr int nameAttempts = 100;

QString keptName(const QDateTime &now, int attempt) {
    const QString time = now.toUTC().toString(QStringLiteral("yyyyMMdd'T'HHmmss'Z'"));
    const QString number = attempt == 1 ? QString() : QStringLiteral("-%1").arg(attempt);
    return QStringLiteral("cameras.unreadable-%1%2.json").arg(time, number);
}

} // namespace

tl::expected<KeptFile, FileError> KeptFile::keep(const FileManager &files, const QString &path,
                                                 const QDateTime &now) {
    const auto failure = [&](int systemError) {
        return tl::unexpected(FileError{FileError::Operation::keep, path, systemError});
    };
    const QString target = QFileInfo(path).canonicalFilePath(); // empty without access to the file
    const QString original = target.isEmpty() ? path : target;
    for (int attempt = 1; attempt <= nameAttempts; ++attempt) {
        const KeptFile kept(files, original,
                            QFileInfo(original).path() + u'/' + keptName(now, attempt));
        const auto named = files.addName(kept.m_original, kept.m_kept);
        if (!named && named.error().systemError == EEXIST)
            continue;
        if (!named)
            return failure(named.error().systemError);
        if (const auto made = files.setPermissions(kept.m_kept, ownerOnly); !made) {
            kept.undo();
            return failure(made.error().systemError);
        }
        return kept;
    }
    return failure(EEXIST);
}

void KeptFile::undo() const {
    m_files->removeName(m_kept, m_original);
}

QString KeptFile::name() const {
    return QFileInfo(m_kept).fileName();
}

} // namespace lumvik
