#include "testcamera/StreamStamps.h"

#include "testcamera/GStreamerHandles.h"

#include <gst/rtp/gstrtpbuffer.h>

#include <cmath>

namespace lumvik::test {

namespace {

/// The stamps of H.264 and H.265 count 90,000 units a second (RFC 6184, 8.2.1 and RFC 7798, 7.1).
constexpr double unitsPerSecond = 90'000;

std::uint32_t units(double seconds) {
    return static_cast<std::uint32_t>(std::llround(seconds * unitsPerSecond));
}

} // namespace

void StreamStamps::attachTo(GstElement *payloader) {
    const GstObjectPointer<GstPad> pad(gst_element_get_static_pad(payloader, "src"));
    gst_pad_add_probe(
        pad.get(),
        static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_BUFFER_LIST),
        [](GstPad *, GstPadProbeInfo *info, gpointer data) {
            Stream &stream = *static_cast<Stream *>(data);
            if ((info->type & GST_PAD_PROBE_TYPE_BUFFER_LIST) != 0) {
                auto *list = gst_buffer_list_make_writable(GST_PAD_PROBE_INFO_BUFFER_LIST(info));
                gst_buffer_list_foreach(
                    list,
                    [](GstBuffer **buffer, guint, gpointer each) -> gboolean {
                        change(*buffer, *static_cast<Stream *>(each));
                        return TRUE;
                    },
                    data);
                info->data = list;
            } else {
                auto *buffer = GST_PAD_PROBE_INFO_BUFFER(info);
                change(buffer, stream);
                info->data = buffer;
            }
            return GST_PAD_PROBE_OK;
        },
        new Stream{this, std::nullopt, 0, 0},
        [](gpointer data) { delete static_cast<Stream *>(data); });
}

void StreamStamps::jump(double seconds) {
    m_offset += units(seconds);
}

void StreamStamps::change(GstBuffer *&buffer, Stream &stream) {
    buffer = gst_buffer_make_writable(buffer);
    GstRTPBuffer packet = GST_RTP_BUFFER_INIT;
    if (gst_rtp_buffer_map(buffer, GST_MAP_READWRITE, &packet) == FALSE)
        return;
    gst_rtp_buffer_set_timestamp(
        &packet, stream.stamps->changed(gst_rtp_buffer_get_timestamp(&packet), stream));
    gst_rtp_buffer_unmap(&packet);
}

/// All packets of a picture have the same stamp.
std::uint32_t StreamStamps::changed(std::uint32_t original, Stream &stream) const {
    if (m_rate == 0)
        return original + m_offset;
    if (!stream.original)
        stream.first = original;
    else if (*stream.original != original)
        ++stream.pictures;
    stream.original = original;
    return stream.first + units(static_cast<double>(stream.pictures) / m_rate) + m_offset;
}

} // namespace lumvik::test
