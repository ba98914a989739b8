#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

#include <optional>

namespace lumvik::test {

/// A SOAP message as far as the camera needs it. It is read without the code that Lumvik uses for
/// the same purpose, so that the two do not share a mistake.
struct SoapRequest {
    QString call; ///< The name of the first element in the body, without its prefix.
    QString callNamespace;
    QHash<QString, QString> texts; ///< The texts of all elements, by their names without prefixes.
};

/// Parses a message. Returns nothing if it is damaged or not a SOAP 1.2 message.
[[nodiscard]] std::optional<SoapRequest> parseSoapRequest(const QByteArray &message);

} // namespace lumvik::test
