#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>

#include <initializer_list>
#include <map>
#include <optional>
#include <vector>

namespace lumvik {

/// An element of a message from a device. Namespaces are ignored, because devices choose their own
/// prefixes and some declare wrong namespaces. A plain value.
struct XmlElement {
    QString name;                          ///< Without the prefix.
    std::map<QString, QString> attributes; ///< By their names without prefixes.
    QString text;                          ///< The text directly in the element, trimmed.
    std::vector<XmlElement> children;      ///< In the order of the document.

    /// Returns the first child with the name, or null.
    [[nodiscard]] const XmlElement *child(QStringView childName) const;
    /// Follows the path of first children. Returns null if one of them does not exist.
    [[nodiscard]] const XmlElement *find(std::initializer_list<QStringView> path) const;
    /// Returns the text at the end of the path, or an empty text.
    [[nodiscard]] QString textAt(std::initializer_list<QStringView> path) const;
    /// Returns the first element with the name anywhere below this one, or null.
    [[nodiscard]] const XmlElement *descendant(QStringView descendantName) const;
    /// Returns the value of an attribute, or an empty text.
    [[nodiscard]] QString attribute(const QString &attributeName) const;
};

/// The limits for a document. A camera is small and honest; everything beyond is an attack.
struct XmlLimits {
    qsizetype bytes = 65'536; ///< 64 KiB, more than a UDP datagram can hold.
    int depth = 32;           ///< ONVIF's own messages have up to a dozen levels.
    int elements = 20'000;
    qsizetype text = 8192; ///< The length of a name, a text or a value, in UTF-16 code units.
};

/// Parses a document. Returns nothing if the document is damaged or beyond a limit, or if it
/// contains a document type or a reference to an entity, which could make it grow without limit.
[[nodiscard]] std::optional<XmlElement> parsedXml(const QByteArray &document,
                                                  const XmlLimits &limits = {});

} // namespace lumvik
