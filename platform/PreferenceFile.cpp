#include "platform/PreferenceFile.h"

#include <QList>

#include <algorithm>
#include <optional>

namespace lumvik {

namespace {

const QByteArray generalSection = QByteArrayLiteral("[General]");

bool isHexadecimalDigit(QChar character) {
    return (character >= u'0' && character <= u'9') || (character >= u'a' && character <= u'f') ||
           (character >= u'A' && character <= u'F');
}

/// Returns whether QSettings reads `text` unchanged without quotation marks.
bool isPlain(const QString &text) {
    return text == text.trimmed() && std::all_of(text.begin(), text.end(), [](QChar each) {
               return (each >= u'0' && each <= u'9') || (each >= u'a' && each <= u'z') ||
                      (each >= u'A' && each <= u'Z') || QStringLiteral(" .:+-_").contains(each);
           });
}

/// Returns `text` as the value of a line. QSettings takes a text that begins with "@" for the
/// description of a value of another type, unless the "@" is doubled.
QByteArray encoded(const QString &text) {
    if (isPlain(text))
        return text.toLatin1();
    QString quoted = text.startsWith(u'@') ? QStringLiteral("\"@") : QStringLiteral("\"");
    bool isAfterNumber = false; // A hexadecimal digit here would belong to the number.
    for (const QChar each : text) {
        const bool needsNumber = each < u' ' || (isAfterNumber && isHexadecimalDigit(each));
        isAfterNumber = needsNumber;
        if (needsNumber)
            quoted += QStringLiteral("\\x%1").arg(each.unicode(), 0, 16);
        else if (each == u'"' || each == u'\\')
            quoted += QStringLiteral("\\") + each;
        else
            quoted += each;
    }
    return quoted.toUtf8() + '"';
}

/// Returns the key of a line, or an empty string if the line is not a value.
QString keyOf(const QByteArray &line) {
    const auto equals = line.indexOf('=');
    const bool isComment = line.trimmed().startsWith(';');
    return equals < 0 || isComment ? QString() : QString::fromUtf8(line.first(equals)).trimmed();
}

/// Returns the position at which new lines of the section [General] are inserted: after its last
/// line that is not blank. Returns nothing if there is no such section.
std::optional<qsizetype> endOfGeneralSection(const QList<QByteArray> &lines) {
    std::optional<qsizetype> end;
    bool isGeneral = true; // Lines before the first section belong to [General].
    for (qsizetype index = 0; index < lines.size(); ++index) {
        const QByteArray line = lines.at(index).trimmed();
        if (line.startsWith('['))
            isGeneral = line.compare(generalSection, Qt::CaseInsensitive) == 0;
        if (isGeneral && !line.isEmpty())
            end = index + 1;
    }
    return end;
}

/// Removes the lines of the section [General] whose keys are in `values`.
void removeValues(QList<QByteArray> &lines, const QMap<QString, QString> &values) {
    bool isGeneral = true;
    lines.removeIf([&](const QByteArray &line) {
        if (line.trimmed().startsWith('['))
            isGeneral = line.trimmed().compare(generalSection, Qt::CaseInsensitive) == 0;
        return isGeneral && values.contains(keyOf(line));
    });
}

} // namespace

QByteArray withPreferences(const QByteArray &file, const QMap<QString, QString> &values) {
    QList<QByteArray> lines = file.isEmpty() ? QList<QByteArray>() : file.split('\n');
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast(); // the end of the last line
    removeValues(lines, values);
    auto end = endOfGeneralSection(lines);
    if (!end) {
        lines.prepend(generalSection);
        if (lines.size() > 1)
            lines.insert(1, QByteArray());
        end = 1;
    }
    for (auto value = values.begin(); value != values.end(); ++value)
        lines.insert((*end)++, value.key().toLatin1() + '=' + encoded(value.value()));
    return lines.join('\n') + '\n';
}

} // namespace lumvik
