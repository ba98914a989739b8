#include "configuration/CameraConfiguration.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <string_view>

namespace lumvik {

namespace {

constexpr QLatin1String camerasKey("cameras");
constexpr QLatin1String nameKey("name");
constexpr QLatin1String urlKey("url");

/// U+FEFF in UTF-8.
constexpr QByteArrayView byteOrderMark = "\xEF\xBB\xBF";

/// The first code point that may appear unescaped in a JSON string.
constexpr unsigned char firstPrintable = 0x20;

/// Checks a JSON document before QJsonDocument parses it, without building anything from it. The
/// check refuses documents with too many values or too many levels, for which QJsonDocument would
/// need many times their size in memory. QJsonDocument also accepts two kinds of invalid strings
/// and drops a character of some valid ones:
///  - QJsonDocument accepts control characters in strings. JSON forbids them, and they indicate a
///    damaged file: after a power failure, a file may contain a block of zero bytes.
///  - QJsonDocument accepts invalid escape sequences, such as "\q".
///  - QJsonDocument drops a U+FEFF at the beginning of a string. The check replaces the U+FEFF with
///    an escape sequence, which QJsonDocument decodes correctly.
class DocumentCheck {
  public:
    explicit DocumentCheck(const QByteArray &bytes) : m_bytes(bytes) {}

    /// Returns the document that QJsonDocument is to parse, or notJson.
    [[nodiscard]] tl::expected<QByteArray, DecodingError> checked() {
        while (m_at < m_bytes.size()) {
            const char byte = m_bytes.at(m_at++);
            if (byte == '"' && !skipText())
                return tl::unexpected(DecodingError::notJson);
            if (!isWithinLimits(byte))
                return tl::unexpected(DecodingError::tooComplex);
        }
        if (m_result.isEmpty())
            return m_bytes; // No byte-order mark had to be replaced.
        return m_result + m_bytes.sliced(m_copied);
    }

  private:
    /// Counts the levels and the values by the structural characters of the document. Every array,
    /// object, element and member has one. Returns false when there are too many.
    bool isWithinLimits(char byte) {
        switch (byte) {
        case '[':
        case '{':
            ++m_values;
            return ++m_levels <= CameraConfiguration::deepestNesting;
        case ']':
        case '}':
            --m_levels;
            return true;
        case ',':
        case ':':
            return ++m_values <= CameraConfiguration::mostValues;
        default:
            return true;
        }
    }

    /// Advances from the first character of a string to the position after its closing quotation
    /// mark. Returns false when the string is not valid.
    bool skipText() {
        if (QByteArrayView(m_bytes).sliced(m_at).startsWith(byteOrderMark))
            escapeByteOrderMark();
        while (m_at < m_bytes.size()) {
            const char byte = m_bytes.at(m_at++);
            if (byte == '"')
                return true;
            if (static_cast<unsigned char>(byte) < firstPrintable)
                return false;
            if (byte == '\\' && !skipEscape())
                return false;
        }
        return false;
    }

    bool skipEscape() {
        // QJsonDocument itself checks the four digits after "\\u".
        constexpr std::string_view escapes = "\"\\/bfnrtu";
        return m_at < m_bytes.size() && escapes.find(m_bytes.at(m_at++)) != escapes.npos;
    }

    void escapeByteOrderMark() {
        m_result += m_bytes.sliced(m_copied, m_at - m_copied);
        m_result += "\\ufeff";
        m_at += byteOrderMark.size();
        m_copied = m_at;
    }

    const QByteArray &m_bytes;
    QByteArray m_result;
    qsizetype m_at = 0;
    int m_levels = 0;
    int m_values = 0;
    qsizetype m_copied = 0; // The number of bytes of m_bytes that m_result already covers.
};

tl::expected<Camera, DecodingError> decodedCamera(const QJsonValue &value) {
    const QJsonObject object = value.toObject(); // Empty if `value` is not an object.
    const QJsonValue name = object.value(nameKey);
    const QJsonValue url = object.value(urlKey);
    if (!name.isString() || !url.isString())
        return tl::unexpected(DecodingError::badCamera);
    return Camera{name.toString(), url.toString()};
}

} // namespace

QByteArray CameraConfiguration::encoded() const {
    QJsonArray array;
    for (const Camera &camera : cameras)
        array.append(QJsonObject{{nameKey, camera.name}, {urlKey, camera.url}});
    QByteArray bytes =
        QJsonDocument(QJsonObject{{camerasKey, array}}).toJson(QJsonDocument::Indented);
    if (bytes.endsWith('\n'))
        bytes.chop(1);
    return bytes;
}

tl::expected<CameraConfiguration, DecodingError>
CameraConfiguration::decoded(const QByteArray &bytes) {
    const auto checked = DocumentCheck(bytes).checked();
    if (!checked)
        return tl::unexpected(checked.error());
    QJsonParseError problem;
    const QJsonDocument document = QJsonDocument::fromJson(*checked, &problem);
    if (problem.error != QJsonParseError::NoError)
        return tl::unexpected(DecodingError::notJson);
    if (!document.isObject())
        return tl::unexpected(DecodingError::notAnObject);
    const QJsonValue array = document.object().value(camerasKey);
    if (!array.isArray())
        return tl::unexpected(DecodingError::noCameraArray);

    CameraConfiguration configuration;
    const QJsonArray elements = array.toArray();
    configuration.cameras.reserve(elements.size());
    for (const auto &element : elements) {
        auto camera = decodedCamera(element);
        if (!camera)
            return tl::unexpected(camera.error());
        configuration.cameras.append(std::move(*camera));
    }
    return configuration;
}

} // namespace lumvik
