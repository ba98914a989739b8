#pragma once

#include <QNetworkReply>
#include <QString>

namespace lumvik {

/// The toolkit's description of a network error as a sentence for the user: one line, with a
/// capital at the beginning and a full stop at the end. Errors that the toolkit describes badly or
/// not at all get a sentence of our own.
[[nodiscard]] QString transferErrorText(QNetworkReply::NetworkError error,
                                        const QString &description);

} // namespace lumvik
