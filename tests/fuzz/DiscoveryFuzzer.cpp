// What devices reply to probes and to ONVIF's calls. The first byte chooses the reader.
#include "discovery/OnvifMessage.h"
#include "discovery/WsDiscoveryMessage.h"
#include "fuzz/Fuzzing.h"

#include <QHostAddress>

using namespace lumvik;

namespace {

/// A text of a device that is shown must not forge others.
void requirePresentable(const QString &text) {
    test::require(text == presentableText(text), "Texts of devices are presentable.");
}

void readProbeReply(const QByteArray &message, const QHostAddress &sender) {
    const QStringList identifiers{QStringLiteral("urn:uuid:1")};
    for (const FoundCamera &camera : camerasInReply(message, sender, identifiers)) {
        test::require(isHost(camera.serviceAddress.host(), sender), "Only the sender is asked.");
        test::require(!camera.identity.isEmpty(), "Every camera can be told from others.");
        requirePresentable(camera.name);
        requirePresentable(camera.hardware);
        requirePresentable(camera.location);
    }
}

void readProfiles(const XmlElement &content) {
    const auto profiles = onvifProfiles(content);
    test::require(profiles.size() <= mostOnvifProfiles, "Profiles are bounded.");
    for (const OnvifProfile &profile : profiles) {
        requirePresentable(profile.name);
        requirePresentable(profile.codec);
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    QByteArrayView input = test::bytesOf(data, size);
    const int reader = test::takeByte(input) % 6;
    const QByteArray message = input.toByteArray();
    const QHostAddress sender(QStringLiteral("192.0.2.7"));
    if (reader == 0) {
        readProbeReply(message, sender);
        return 0;
    }
    const auto call = static_cast<OnvifCall>(reader - 1);
    const OnvifReply reply = onvifReply(call, 200, message);
    if (reply.kind != OnvifReplyKind::success)
        return 0;
    (void)onvifClock(reply.content);
    if (const auto service = mediaService(call, reply.content, sender))
        test::require(isHost(service->host(), sender), "Only the sender is asked.");
    readProfiles(reply.content);
    (void)streamAddress(reply.content, sender);
    return 0;
}
