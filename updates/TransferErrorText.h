#pragma once

#include <QNetworkReply>
#include <QString>

namespace lumvik {

/// Returns a sentence for the user about a failed transfer. The sentence is Qt's `description` of
/// the error, on one line, with a capital letter at the beginning and a full stop at the end.
/// Errors that Qt describes poorly or not at all have fixed sentences instead.
[[nodiscard]] QString transferErrorText(QNetworkReply::NetworkError error,
                                        const QString &description);

} // namespace lumvik
