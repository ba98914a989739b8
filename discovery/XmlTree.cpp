#include "discovery/XmlTree.h"

#include <QXmlStreamReader>

#include <algorithm>

namespace lumvik {

namespace {

/// Builds the tree of one document.
class TreeBuilder {
  public:
    TreeBuilder(const QByteArray &document, const XmlLimits &limits)
        : m_reader(document)
        , m_limits(limits) {}

    [[nodiscard]] std::optional<XmlElement> build() {
        std::optional<XmlElement> root;
        while (!m_reader.atEnd()) {
            const QXmlStreamReader::TokenType token = m_reader.readNext();
            if (isForbidden(token))
                return std::nullopt;
            if (token == QXmlStreamReader::StartElement) {
                root = element(1);
                if (!root)
                    return std::nullopt;
            }
        }
        return m_reader.hasError() ? std::nullopt : root;
    }

  private:
    [[nodiscard]] static bool isForbidden(QXmlStreamReader::TokenType token) {
        return token == QXmlStreamReader::DTD || token == QXmlStreamReader::EntityReference ||
               token == QXmlStreamReader::Invalid;
    }

    [[nodiscard]] bool isTooLong(QStringView text) const { return text.size() > m_limits.text; }

    /// Reads the attributes of the current start tag. Returns whether they are within the limits.
    [[nodiscard]] bool readAttributes(XmlElement &result) const {
        const QXmlStreamAttributes attributes = m_reader.attributes();
        for (const QXmlStreamAttribute &each : attributes) {
            if (isTooLong(each.name()) || isTooLong(each.value()))
                return false;
            result.attributes.emplace(each.name().toString(), each.value().toString());
        }
        return true;
    }

    /// Reads the element whose start tag is the current token, to its end tag.
    [[nodiscard]] std::optional<XmlElement> element(int depth) {
        if (depth > m_limits.depth || ++m_elements > m_limits.elements ||
            isTooLong(m_reader.name()))
            return std::nullopt;
        XmlElement result;
        result.name = m_reader.name().toString();
        if (!readAttributes(result))
            return std::nullopt;
        while (!m_reader.atEnd()) {
            const QXmlStreamReader::TokenType token = m_reader.readNext();
            if (isForbidden(token))
                return std::nullopt;
            if (token == QXmlStreamReader::EndElement) {
                result.text = result.text.trimmed();
                return result;
            }
            if (token == QXmlStreamReader::StartElement) {
                auto child = element(depth + 1);
                if (!child)
                    return std::nullopt;
                result.children.push_back(*std::move(child));
            } else if (token == QXmlStreamReader::Characters) {
                result.text += m_reader.text();
                if (isTooLong(result.text))
                    return std::nullopt;
            }
        }
        return std::nullopt;
    }

    QXmlStreamReader m_reader;
    const XmlLimits m_limits;
    int m_elements = 0;
};

} // namespace

const XmlElement *XmlElement::child(QStringView childName) const {
    const auto found =
        std::find_if(children.begin(), children.end(),
                     [childName](const XmlElement &each) { return each.name == childName; });
    return found == children.end() ? nullptr : &*found;
}

const XmlElement *XmlElement::find(std::initializer_list<QStringView> path) const {
    const XmlElement *element = this;
    for (const QStringView step : path) {
        element = element->child(step);
        if (element == nullptr)
            return nullptr;
    }
    return element;
}

QString XmlElement::textAt(std::initializer_list<QStringView> path) const {
    const XmlElement *element = find(path);
    return element == nullptr ? QString() : element->text;
}

const XmlElement *XmlElement::descendant(QStringView descendantName) const {
    for (const XmlElement &each : children) {
        if (each.name == descendantName)
            return &each;
        if (const XmlElement *found = each.descendant(descendantName))
            return found;
    }
    return nullptr;
}

QString XmlElement::attribute(const QString &attributeName) const {
    const auto found = attributes.find(attributeName);
    return found == attributes.end() ? QString() : found->second;
}

std::optional<XmlElement> parsedXml(const QByteArray &document, const XmlLimits &limits) {
    if (document.size() > limits.bytes)
        return std::nullopt;
    return TreeBuilder(document, limits).build();
}

} // namespace lumvik
