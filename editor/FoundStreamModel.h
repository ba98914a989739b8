#pragma once

#include "discovery/OnvifMessage.h"

#include <QAbstractTableModel>

#include <vector>

namespace lumvik {

/// What a stream is for, as far as its size among the camera's other streams shows it.
enum class StreamKind {
    main,    ///< No other stream of the camera is larger.
    sub,     ///< Another one is larger.
    unknown, ///< The camera does not tell the size.
};

/// One of the streams that a found camera offers.
struct FoundStream {
    OnvifProfile profile;
    StreamKind kind = StreamKind::unknown;

    friend bool operator==(const FoundStream &, const FoundStream &) = default;
};

/// Returns the streams that can be put into the camera list, the largest ones first and those of
/// unknown size last. The camera's order is kept among equals. Addresses that the camera list does
/// not accept, such as those that begin with "rtsps://", are left out.
[[nodiscard]] std::vector<FoundStream> usableStreams(const std::vector<OnvifProfile> &profiles);

/// The table of the streams of one camera. Main thread only.
class FoundStreamModel final : public QAbstractTableModel {
    Q_OBJECT

  public:
    enum Column { name, kind, size, rate, codec, numberOfColumns };

    void setStreams(std::vector<FoundStream> streams);
    /// Returns the stream in a row, or nullptr if there is no such row. The pointer is valid until
    /// the model changes.
    [[nodiscard]] const FoundStream *stream(int row) const;

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex &parent = {}) const override;
    /// The accessible text of a name is that of the whole row, as in CameraFinderModel.
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation,
                                      int role) const override;

  private:
    [[nodiscard]] QString textAt(int row, int column) const;

    std::vector<FoundStream> m_streams;
};

} // namespace lumvik
