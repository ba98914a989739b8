#include "editor/CameraListRules.h"

#include <QCollator>
#include <QUrl>

#include <algorithm>

namespace lumvik {

namespace {

QCollator nameOrder() {
    QCollator order;
    order.setCaseSensitivity(Qt::CaseInsensitive);
    return order;
}

/// Returns whether `text` contains white space, control characters or zero-width spaces. White
/// space in an address is a typing error, and zero-width spaces come with text that is copied from
/// web pages. No camera can be reached at such an address.
bool containsWhiteSpace(const QString &text) {
    return std::any_of(text.begin(), text.end(), [](QChar each) {
        return each.isSpace() || each.category() == QChar::Other_Control || each == u'\u200B' ||
               each == u'\u2060' || each == u'\uFEFF';
    });
}

CameraListProblem missingName(int row) {
    return {.title = QStringLiteral("Camera name required"),
            .nameInTitle = {},
            .message = QStringLiteral("Enter a name for camera %1.").arg(row + 1),
            .row = row,
            .field = CameraField::name};
}

CameraListProblem badAddress(int row, const QString &name) {
    return {.title = QStringLiteral("Check "),
            .nameInTitle = name,
            .message = QStringLiteral("Enter a full RTSP address beginning with rtsp://."),
            .row = row,
            .field = CameraField::address};
}

} // namespace

bool isCameraAddress(const QString &address) {
    if (containsWhiteSpace(address))
        return false;
    const QUrl url(address);
    return url.isValid() && url.scheme() == QLatin1String("rtsp") && !url.host().isEmpty();
}

QString spokenAddress(const QString &address) {
    const QString trimmed = address.trimmed();
    if (trimmed.isEmpty() || trimmed == QLatin1String("rtsp://")) // The address of a new camera.
        return QStringLiteral("No address yet");
    // If the password is not percent-encoded, QUrl may take a part of it for the host. Any "@"
    // other than the one that ends the user information is a sign of such a password.
    const QUrl url(trimmed);
    const bool hasOnlyUserDelimiter =
        trimmed.count(QLatin1Char('@')) == (url.userInfo(QUrl::FullyEncoded).isEmpty() ? 0 : 1);
    if (!isCameraAddress(trimmed) || !hasOnlyUserDelimiter)
        return QStringLiteral("Address that cannot be read out");
    if (url.port() < 0)
        return QStringLiteral("Camera at %1").arg(url.host());
    return QStringLiteral("Camera at %1, port %2").arg(url.host()).arg(url.port());
}

tl::expected<CameraList, CameraListProblem> validatedCameras(const CameraList &cameras) {
    if (cameras.size() < fewestCameras) {
        return tl::unexpected(
            CameraListProblem{.title = QStringLiteral("Add a camera"),
                              .nameInTitle = {},
                              .message = QStringLiteral("Lumvik needs at least one camera."),
                              .row = std::nullopt,
                              .field = CameraField::name});
    }
    CameraList validated;
    for (int row = 0; row < cameras.size(); ++row) {
        const Camera trimmed{.name = cameras.at(row).name.trimmed(),
                             .url = cameras.at(row).url.trimmed()};
        if (trimmed.name.isEmpty())
            return tl::unexpected(missingName(row));
        if (!isCameraAddress(trimmed.url))
            return tl::unexpected(badAddress(row, trimmed.name));
        validated.append(trimmed);
    }
    return validated;
}

bool namesAreAlike(const QString &one, const QString &other) {
    return nameOrder().compare(one, other) == 0;
}

CameraList sortedByName(CameraList cameras, Qt::SortOrder order) {
    const QCollator names = nameOrder();
    std::stable_sort(cameras.begin(), cameras.end(), [&](const Camera &a, const Camera &b) {
        const int comparison = names.compare(a.name, b.name);
        return order == Qt::AscendingOrder ? comparison < 0 : comparison > 0;
    });
    return cameras;
}

bool canRemoveCamera(qsizetype cameras, bool hasSelection) {
    return cameras > fewestCameras && hasSelection;
}

int rowAfterRemoving(int removed, int left) {
    return std::min(left - 1, removed);
}

std::optional<int> draggedRow(const QString &text, qsizetype cameras) {
    bool isNumber = false;
    const int row = text.toInt(&isNumber);
    // QString::toInt() also accepts surrounding white space, which mimeData() never writes.
    const bool isPlain = std::all_of(text.begin(), text.end(), [](QChar each) {
        return (each >= u'0' && each <= u'9') || each == u'+' || each == u'-';
    });
    if (!isNumber || !isPlain || row < 0 || row >= cameras)
        return std::nullopt;
    return row;
}

int destinationOfDrop(int source, int gap) {
    return source < gap ? gap - 1 : gap;
}

int selectionAfterSaving(int selected, const CameraList &before, const CameraList &after) {
    if (selected >= 0 && selected < before.size()) {
        const Camera &shown = before.at(selected);
        const auto same = after.indexOf(shown);
        if (same >= 0)
            return static_cast<int>(same);
        const auto alike = std::find_if(after.begin(), after.end(), [&](const Camera &each) {
            return namesAreAlike(each.name, shown.name);
        });
        if (alike != after.end())
            return static_cast<int>(alike - after.begin());
    }
    return std::min(static_cast<int>(after.size()) - 1, std::max(selected, 0));
}

} // namespace lumvik
