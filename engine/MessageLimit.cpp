#include "engine/MessageLimit.h"

namespace lumvik {

namespace {

/// What messages of the same kind have in common.
QString kindOf(const QString &message) {
    constexpr qsizetype longestKind = 80;
    QString letters;
    for (const QChar each : message) {
        if (each.isLetter() && letters.size() < longestKind)
            letters.append(each);
    }
    return letters;
}

} // namespace

bool MessageLimit::admits(const QString &message, TimeStamp now) {
    QString key = kindOf(message);
    if (!m_kinds.contains(key) && m_kinds.size() >= mostKinds)
        key.clear();
    Kind &kind = m_kinds[key];
    if (kind.admitted == 0)
        kind.since = now;
    if (kind.admitted >= mostMessages && now - kind.since < period) {
        ++kind.omitted;
        return false;
    }
    if (now - kind.since >= period) {
        kind.since = now;
        kind.admitted = 0;
    }
    ++kind.admitted;
    kind.example = message;
    return true;
}

QStringList MessageLimit::takeSummaries(TimeStamp now) {
    QStringList summaries;
    for (auto kind = m_kinds.begin(); kind != m_kinds.end();) {
        if (now - kind->since < period) {
            ++kind;
            continue;
        }
        if (kind->omitted > 0) {
            summaries.append(QStringLiteral("%1 more messages like this one were left out: %2")
                                 .arg(kind->omitted)
                                 .arg(kind->example));
        }
        kind = m_kinds.erase(kind);
    }
    return summaries;
}

} // namespace lumvik
