#include "updates/VersionComparison.h"

#include <QList>

#include <algorithm>
#include <charconv>
#include <system_error>

namespace lumvik {

namespace {

QStringView leadingNumericRun(QStringView piece) {
    qsizetype length = 0;
    for (const char32_t character : piece.toUcs4()) {
        if (!QChar::isNumber(character))
            break;
        length += QChar::requiresSurrogates(character) ? 2 : 1;
    }
    return piece.first(length);
}

} // namespace

std::optional<std::int64_t> decimalInteger(QStringView text) {
    // Qt's conversion would ignore surrounding spaces, and std::from_chars rejects a plus sign.
    if (text.startsWith(u'+')) {
        text = text.sliced(1);
        if (text.startsWith(u'-'))
            return std::nullopt;
    }
    // Characters outside Latin-1 become question marks, which are not digits.
    const QByteArray bytes = text.toLatin1();
    std::int64_t number = 0;
    const char *const end = bytes.constData() + bytes.size();
    const auto [read, error] = std::from_chars(bytes.constData(), end, number);
    if (error != std::errc() || read != end)
        return std::nullopt;
    return number;
}

std::vector<std::int64_t> numericVersionParts(const QString &version) {
    std::vector<std::int64_t> parts;
    for (const QStringView piece : QStringView(version).split(u'.', Qt::SkipEmptyParts))
        parts.push_back(decimalInteger(leadingNumericRun(piece)).value_or(0));
    return parts;
}

std::strong_ordering compareVersions(const QString &a, const QString &b) {
    std::vector<std::int64_t> ours = numericVersionParts(a);
    std::vector<std::int64_t> theirs = numericVersionParts(b);
    const std::size_t length = std::max(ours.size(), theirs.size());
    ours.resize(length, 0);
    theirs.resize(length, 0);
    return ours <=> theirs;
}

} // namespace lumvik
