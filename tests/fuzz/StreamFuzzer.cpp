// Packets of a stream. Each is one byte for its channel, one for its length and then its bytes, of
// which the first is changed so that inputs can consist of letters.
#include "engine/link/StreamChannels.h"
#include "fuzz/Fuzzing.h"

using namespace lumvik;

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    MediaDescription video;
    video.kind = "video";
    video.videoFormats = {{96, {VideoCodec::H264, false}},
                          {97, {VideoCodec::H265, false}},
                          {98, {VideoCodec::H264, true}},
                          {99, {VideoCodec::H265, true}}};
    StreamChannels channels;
    channels.setUp("RTP/AVP/TCP;interleaved=0-1", {}, &video);
    QByteArrayView input = test::bytesOf(data, size);
    while (!input.isEmpty()) {
        const auto channel = static_cast<std::uint8_t>(test::takeByte(input) % 3);
        const qsizetype length = test::takeByte(input);
        QByteArray payload = input.first(std::min(length, input.size())).toByteArray();
        input = input.sliced(payload.size());
        if (!payload.isEmpty())
            payload[0] = static_cast<char>(payload[0] ^ 0xd0);
        const auto taken = channels.take({channel, payload});
        if (!taken)
            break;
        constexpr qsizetype mostPadding = 255;
        test::require(taken->bytes.size() + mostPadding >= payload.size(),
                      "Nothing but padding is left out.");
        test::require(taken->bytes.size() <= payload.size() + 64, "A delimiter is short.");
    }
    return 0;
}
