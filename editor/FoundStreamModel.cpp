#include "editor/FoundStreamModel.h"

#include "configuration/CameraAddress.h"

#include <algorithm>

namespace lumvik {

namespace {

qint64 areaOf(const QSize &size) {
    return size.isEmpty() ? 0 : static_cast<qint64>(size.width()) * size.height();
}

QString textOf(StreamKind kind) {
    switch (kind) {
    case StreamKind::main:
        return QStringLiteral("Main");
    case StreamKind::sub:
        return QStringLiteral("Sub");
    case StreamKind::unknown:
        return {};
    }
    return {};
}

/// Returns the usual spelling of a codec that ONVIF spells otherwise.
QString textOfCodec(const QString &codec) {
    if (codec == QLatin1String("H264"))
        return QStringLiteral("H.264");
    if (codec == QLatin1String("H265"))
        return QStringLiteral("H.265");
    return codec;
}

} // namespace

std::vector<FoundStream> usableStreams(const std::vector<OnvifProfile> &profiles) {
    std::vector<FoundStream> streams;
    qint64 largest = 0;
    for (const OnvifProfile &profile : profiles) {
        if (!isCameraAddress(profile.address))
            continue;
        streams.push_back({.profile = profile});
        largest = std::max(largest, areaOf(profile.size));
    }
    for (FoundStream &stream : streams)
        if (const qint64 area = areaOf(stream.profile.size); area > 0)
            stream.kind = area == largest ? StreamKind::main : StreamKind::sub;
    std::stable_sort(streams.begin(), streams.end(),
                     [](const FoundStream &one, const FoundStream &other) {
                         return areaOf(one.profile.size) > areaOf(other.profile.size);
                     });
    return streams;
}

void FoundStreamModel::setStreams(std::vector<FoundStream> streams) {
    beginResetModel();
    m_streams = std::move(streams);
    endResetModel();
}

const FoundStream *FoundStreamModel::stream(int row) const {
    return row < 0 || row >= rowCount() ? nullptr : &m_streams[static_cast<std::size_t>(row)];
}

int FoundStreamModel::rowCount(const QModelIndex &parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_streams.size());
}

int FoundStreamModel::columnCount(const QModelIndex &parent) const {
    return parent.isValid() ? 0 : numberOfColumns;
}

QString FoundStreamModel::textAt(int row, int column) const {
    const FoundStream &each = *stream(row);
    const OnvifProfile &profile = each.profile;
    switch (column) {
    case name:
        return profile.name.trimmed().isEmpty() ? QStringLiteral("Stream %1").arg(row + 1)
                                                : profile.name;
    case kind:
        return textOf(each.kind);
    case size:
        return profile.size.isEmpty()
                   ? QString()
                   : QStringLiteral("%1 × %2").arg(profile.size.width()).arg(profile.size.height());
    case rate:
        return profile.framesPerSecond > 0 ? QStringLiteral("%1 fps").arg(profile.framesPerSecond)
                                           : QString();
    case codec:
        return textOfCodec(profile.codec);
    default:
        return {};
    }
}

QVariant FoundStreamModel::data(const QModelIndex &index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    if (role == Qt::AccessibleTextRole && index.column() == name) {
        QStringList texts;
        for (int column = 0; column < numberOfColumns; ++column)
            texts.append(textAt(index.row(), column));
        texts.removeAll(QString());
        return texts.join(QStringLiteral(", "));
    }
    return role == Qt::DisplayRole ? textAt(index.row(), index.column()) : QVariant();
}

QVariant FoundStreamModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::TextAlignmentRole)
        return QVariant(Qt::AlignLeft | Qt::AlignVCenter);
    if (role != Qt::DisplayRole)
        return {};
    switch (section) {
    case name:
        return QStringLiteral("Stream");
    case kind:
        return QStringLiteral("Kind");
    case size:
        return QStringLiteral("Resolution");
    case rate:
        return QStringLiteral("Frame rate");
    case codec:
        return QStringLiteral("Codec");
    default:
        return {};
    }
}

} // namespace lumvik
