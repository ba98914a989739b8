#include "configuration/CameraDetailsStore.h"

#include "platform/LumvikLog.h"

#include <QJsonDocument>

#include <array>
#include <cerrno>
#include <cmath>
#include <utility>

namespace lumvik {

namespace {

constexpr mode_t folderMode = 0700;
constexpr mode_t fileMode = 0600;

constexpr QLatin1String camerasKey("cameras");
constexpr QLatin1String decodingThreadsKey("decodingThreads");

constexpr QLatin1String areaKey("area");

/// The members of a stored area, in the order in which they are written.
constexpr std::array<std::pair<QLatin1String, int CameraArea::*>, 6> areaMembers{{
    {QLatin1String("x"), &CameraArea::x},
    {QLatin1String("y"), &CameraArea::y},
    {QLatin1String("width"), &CameraArea::width},
    {QLatin1String("height"), &CameraArea::height},
    {QLatin1String("sourceWidth"), &CameraArea::sourceWidth},
    {QLatin1String("sourceHeight"), &CameraArea::sourceHeight},
}};

std::optional<CameraArea> decodedArea(const QJsonObject &entry) {
    CameraArea area;
    for (const auto &[key, member] : areaMembers)
        area.*member = entry.value(key).toInt(-1);
    return area.isValid() ? std::optional(area) : std::nullopt;
}

QJsonObject encodedArea(const CameraArea &area) {
    QJsonObject entry;
    for (const auto &[key, member] : areaMembers)
        entry.insert(key, area.*member);
    return entry;
}

CameraDetails decodedDetails(const QJsonObject &entry) {
    CameraDetails details;
    const double threads = entry.value(decodingThreadsKey).toDouble();
    if (threads >= 1 && threads <= CameraDetails::mostDecodingThreads &&
        std::floor(threads) == threads)
        details.decodingThreads = static_cast<int>(threads);
    details.area = decodedArea(entry.value(areaKey).toObject());
    return details;
}

/// Writes the details into `entry`. Defaults are left out.
void encodeDetails(const CameraDetails &details, QJsonObject &entry) {
    if (details.decodingThreads == CameraDetails().decodingThreads)
        entry.remove(decodingThreadsKey);
    else
        entry.insert(decodingThreadsKey, details.decodingThreads);
    if (details.area)
        entry.insert(areaKey, encodedArea(*details.area));
    else
        entry.remove(areaKey);
}

} // namespace

CameraDetailsStore::CameraDetailsStore(QString folder, const FileManager &fileManager)
    : m_folder(std::move(folder))
    , m_fileManager(fileManager) {}

CameraDetails CameraDetailsStore::details(const QString &url) const {
    return decodedDetails(entries().value(url).toObject());
}

tl::expected<void, FileError> CameraDetailsStore::store(const QString &url,
                                                        const CameraDetails &details,
                                                        const CameraList &cameras) const {
    const QJsonObject stored = entries();
    QJsonObject kept;
    for (const Camera &camera : cameras) {
        QJsonObject entry = stored.value(camera.url).toObject();
        if (camera.url == url)
            encodeDetails(details, entry);
        if (!entry.isEmpty())
            kept.insert(camera.url, entry);
    }
    auto written =
        write(QJsonDocument(QJsonObject{{camerasKey, kept}}).toJson(QJsonDocument::Indented));
    if (!written)
        LumvikLog::configuration().error(
            QStringLiteral("The details of the cameras could not be stored."));
    return written;
}

QString CameraDetailsStore::location() const {
    return m_folder + QStringLiteral("/cameras.details.json");
}

/// Returns the entries of the file, by address. Empty if there is no usable file.
QJsonObject CameraDetailsStore::entries() const {
    if (!m_fileManager.fileExists(location()))
        return {};
    const auto bytes = m_fileManager.contents(location(), largestDocument);
    const QJsonObject document = bytes ? QJsonDocument::fromJson(*bytes).object() : QJsonObject();
    const QJsonValue cameras = document.value(camerasKey);
    if (!cameras.isObject())
        reportUnreadable();
    return cameras.toObject();
}

tl::expected<void, FileError> CameraDetailsStore::write(const QByteArray &document) const {
    // A file that is too large to be read again would lose everything.
    if (document.size() > largestDocument)
        return tl::unexpected(FileError{FileError::Operation::write, location(), EFBIG});
    if (auto made = m_fileManager.createDirectory(m_folder, folderMode); !made)
        return made;
    if (auto written = m_fileManager.writeAtomically(document, location()); !written)
        return written;
    return m_fileManager.setPermissions(location(), fileMode);
}

void CameraDetailsStore::reportUnreadable() const {
    if (std::exchange(m_unreadableWasReported, true))
        return;
    LumvikLog::configuration().error(
        QStringLiteral("The details of the cameras cannot be read; they will be learned again."));
}

} // namespace lumvik
