#include "editor/PastedCameras.h"

#include "discovery/PastedAddress.h"
#include "engine/link/CameraEndpoint.h"

namespace lumvik {

namespace {

/// More sentences would not fit into an alert.
constexpr qsizetype mostSentences = 5;

QString nameFor(const QString &address) {
    const auto endpoint = cameraEndpoint(address);
    return endpoint ? endpoint->host : QStringLiteral("New Camera");
}

} // namespace

PastedCameras pastedCameras(const QString &text, QStringList listed) {
    PastedCameras pasted;
    QStringList sentences;
    int duplicates = 0;
    int number = 0;
    for (const PastedAddress &address : pastedAddresses(text)) {
        ++number;
        if (!address) {
            sentences.append(QStringLiteral("Address %1: %2")
                                 .arg(number)
                                 .arg(pasteProblemText(address.error())));
        } else if (listed.contains(*address)) {
            ++duplicates;
        } else {
            listed.append(*address);
            pasted.cameras.append({.name = nameFor(*address), .url = *address});
        }
    }
    if (number == 0)
        sentences.append(QStringLiteral("There is no address in what was pasted."));
    if (const qsizetype more = sentences.size() - mostSentences; more > 0) {
        sentences = sentences.first(mostSentences);
        sentences.append(QStringLiteral("%1 more were not understood.").arg(more));
    }
    if (duplicates > 0)
        sentences.append(
            duplicates == 1
                ? QStringLiteral("1 address is in the list already.")
                : QStringLiteral("%1 addresses are in the list already.").arg(duplicates));
    pasted.problems = sentences.join(QLatin1Char('\n'));
    return pasted;
}

} // namespace lumvik
