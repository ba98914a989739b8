#include "configuration/CameraConfiguration.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstring>
#include <string_view>

namespace lumvik {

namespace {

constexpr QLatin1String camerasKey("cameras");
constexpr QLatin1String nameKey("name");
constexpr QLatin1String urlKey("url");

constexpr const char *byteOrderMark = "\xEF\xBB\xBF";

/// Goes over the texts of a JSON document before Qt's reader sees them, which is kinder than JSON
/// is and in one case loses a character:
///  - it takes control characters inside texts. JSON has none there, and a block of zero bytes is
///    what a file system may leave of a file after a power cut, so they are damage;
///  - it takes escapes that do not exist ("\q");
///  - it drops a U+FEFF at the beginning of a text. That becomes an escape, which is kept.
class TextCheck {
  public:
    explicit TextCheck(const QByteArray &bytes) : m_bytes(bytes) {}

    /// The document to hand to Qt, or notJson.
    [[nodiscard]] tl::expected<QByteArray, DecodingError> checked() {
        while (m_at < m_bytes.size()) {
            if (m_bytes.at(m_at++) == '"' && !skipText())
                return tl::unexpected(DecodingError::notJson);
        }
        if (m_result.isEmpty())
            return m_bytes; // Nothing had to be changed.
        return m_result + m_bytes.sliced(m_copied);
    }

  private:
    /// From behind the opening quotation mark to behind the closing one.
    bool skipText() {
        if (std::strncmp(m_bytes.constData() + m_at, byteOrderMark, 3) == 0)
            escapeByteOrderMark();
        while (m_at < m_bytes.size()) {
            const char byte = m_bytes.at(m_at++);
            if (byte == '"')
                return true;
            if (static_cast<unsigned char>(byte) < 0x20)
                return false;
            if (byte == '\\' && !skipEscape())
                return false;
        }
        return false;
    }

    bool skipEscape() {
        // The four digits of a "\\u" escape are checked by Qt's reader.
        constexpr std::string_view escapes = "\"\\/bfnrtu";
        return m_at < m_bytes.size() && escapes.find(m_bytes.at(m_at++)) != escapes.npos;
    }

    void escapeByteOrderMark() {
        m_result += m_bytes.sliced(m_copied, m_at - m_copied);
        m_result += "\\ufeff";
        m_at += 3;
        m_copied = m_at;
    }

    const QByteArray &m_bytes;
    QByteArray m_result;
    qsizetype m_at = 0;
    qsizetype m_copied = 0; // how much of m_bytes m_result stands for
};

tl::expected<Camera, DecodingError> decodedCamera(const QJsonValue &value) {
    const QJsonObject object = value.toObject(); // Empty when the value is something else.
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
    const auto checked = TextCheck(bytes).checked();
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
