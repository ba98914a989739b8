#pragma once

#include <QString>

namespace lumvik {

/// Recognises what the engine says about the last delimiter of a stream.
///
/// The link marks the end of each picture with the beginning of the next one (AccessUnitDelimiter).
/// When a stream ends, a delimiter without a picture is left, and the engine complains about it in
/// three messages that look like a broken stream. A plain value; the engine's messages must be
/// passed in their order.
class DelimiterComplaints {
  public:
    /// Returns whether `text`, without the engine's prefix, is such a complaint.
    [[nodiscard]] bool contain(const QString &text);

  private:
    int m_expected = 0; ///< How many further messages may belong to the last complaint.
};

} // namespace lumvik
