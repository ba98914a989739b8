#include "editor/CameraListRules.h"

#include "configuration/CameraAddress.h"
#include "configuration/CameraListBounds.h"

#include <QCollator>

#include <algorithm>

namespace lumvik {

namespace {

QCollator nameOrder() {
    QCollator order;
    order.setCaseSensitivity(Qt::CaseInsensitive);
    return order;
}

CameraListProblem missingName(int row) {
    return {.title = QStringLiteral("Camera name required"),
            .nameInTitle = {},
            .message = QStringLiteral("Enter a name for camera %1.").arg(row + 1),
            .row = row,
            .field = CameraField::name};
}

CameraListProblem badAddress(int row, const Camera &camera) {
    const QString problem = cameraAddressProblem(camera.url);
    return {.title = QStringLiteral("Check "),
            .nameInTitle = camera.name,
            .message = QStringLiteral("Enter a full RTSP address beginning with rtsp://.") +
                       (problem.isEmpty() ? QString() : u' ' + problem),
            .row = row,
            .field = CameraField::address};
}

CameraListProblem beyondBounds(const CameraListExcess &excess) {
    using Kind = CameraListExcess::Kind;
    return {.title = excess.kind == Kind::tooManyCameras ? QStringLiteral("Too many cameras")
                     : excess.kind == Kind::longName     ? QStringLiteral("Camera name too long")
                                                         : QStringLiteral("Address too long"),
            .nameInTitle = {},
            .message = errorDescription(excess),
            .row = static_cast<int>(excess.row),
            .field = excess.kind == Kind::longAddress ? CameraField::address : CameraField::name};
}

} // namespace

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
            return tl::unexpected(badAddress(row, trimmed));
        validated.append(trimmed);
    }
    if (const auto excess = excessOf(validated))
        return tl::unexpected(beyondBounds(*excess));
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
