// The description of a stream (SDP).
#include "engine/link/SessionDescription.h"
#include "fuzz/Fuzzing.h"

#include <QByteArrayList>

using namespace lumvik;

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const QByteArrayView text = test::bytesOf(data, size);
    if (const auto description = parseSessionDescription(text))
        test::require(description->media.size() <= mostMedia, "The media are bounded.");
    const auto hide = [](const QByteArray &) { return QByteArray("hidden"); };
    const QByteArray seen = withoutCameraAddresses(text.toByteArray(), hide);
    test::require(withoutCameraAddresses(seen, hide) == seen, "What is hidden stays hidden.");
    for (const QByteArray &line : seen.split('\n')) {
        const QByteArray content = line.trimmed();
        test::require(!content.startsWith("c=") || content == "c=IN IP4 127.0.0.1",
                      "The engine sees no host.");
        test::require(!content.startsWith("a=control:") || content == "a=control:hidden",
                      "The engine sees no address.");
    }
    return 0;
}
