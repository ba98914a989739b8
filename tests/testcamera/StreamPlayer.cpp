#include "StreamPlayer.h"

#include "testcamera/ClockPattern.h"

#include <gst/app/gstappsink.h>
#include <gst/video/video.h>

#include <chrono>

namespace lumvik::test {

namespace {

std::int64_t nowInMilliseconds() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

QString pipelineText(const QUrl &url, VideoCodec codec) {
    const QString decoder =
        codec == VideoCodec::H264
            ? QStringLiteral("rtph264depay ! h264parse ! avdec_h264 max-threads=1")
            : QStringLiteral("rtph265depay ! h265parse ! avdec_h265 max-threads=1");
    return QStringLiteral("rtspsrc location=%1 protocols=tcp latency=0 ! %2 ! videoconvert ! "
                          "video/x-raw,format=RGB ! appsink name=sink sync=false")
        .arg(QString::fromUtf8(url.toEncoded()), decoder);
}

} // namespace

StreamPlayer::StreamPlayer(const QUrl &url, VideoCodec codec) {
    gst_init(nullptr, nullptr);
    m_pipeline.reset(gst_parse_launch(pipelineText(url, codec).toUtf8().constData(), nullptr));
    m_sink.reset(gst_bin_get_by_name(GST_BIN(m_pipeline.get()), "sink"));
    GstAppSinkCallbacks callbacks{};
    callbacks.new_sample = [](GstAppSink *, gpointer self) {
        static_cast<StreamPlayer *>(self)->takeSample();
        return GST_FLOW_OK;
    };
    gst_app_sink_set_callbacks(GST_APP_SINK(m_sink.get()), &callbacks, this, nullptr);
    gst_element_set_state(m_pipeline.get(), GST_STATE_PLAYING);
}

StreamPlayer::~StreamPlayer() {
    gst_element_set_state(m_pipeline.get(), GST_STATE_NULL);
}

int StreamPlayer::pictures() const {
    const std::lock_guard lock(m_mutex);
    return m_pictures;
}

QImage StreamPlayer::picture() const {
    const std::lock_guard lock(m_mutex);
    return m_picture;
}

std::optional<std::uint32_t> StreamPlayer::shownTime() const {
    const std::lock_guard lock(m_mutex);
    return m_shownTime;
}

std::vector<StreamPlayer::ShownTime> StreamPlayer::shownTimes() const {
    const std::lock_guard lock(m_mutex);
    return m_shownTimes;
}

std::vector<int> StreamPlayer::delays() const {
    std::vector<int> delays;
    for (const ShownTime &shown : shownTimes())
        delays.push_back(static_cast<int>(static_cast<std::uint32_t>(shown.seen) - shown.time));
    return delays;
}

bool StreamPlayer::hasEnded() const {
    const GstObjectPointer<GstBus> bus(gst_element_get_bus(m_pipeline.get()));
    GstMessage *message = gst_bus_pop_filtered(
        bus.get(), static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
    if (message != nullptr) {
        m_hasEnded = true;
        gst_message_unref(message);
    }
    return m_hasEnded;
}

void StreamPlayer::takeSample() {
    const std::int64_t now = nowInMilliseconds();
    GstSample *sample = gst_app_sink_pull_sample(GST_APP_SINK(m_sink.get()));
    if (sample == nullptr)
        return;
    GstVideoInfo info;
    GstVideoFrame frame;
    if (gst_video_info_from_caps(&info, gst_sample_get_caps(sample)) &&
        gst_video_frame_map(&frame, &info, gst_sample_get_buffer(sample), GST_MAP_READ)) {
        const QImage picture =
            QImage(static_cast<const uchar *>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0)),
                   GST_VIDEO_FRAME_WIDTH(&frame), GST_VIDEO_FRAME_HEIGHT(&frame),
                   GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0), QImage::Format_RGB888)
                .copy();
        gst_video_frame_unmap(&frame);
        const auto time =
            ClockPattern::read(picture.width(), picture.height(),
                               [&picture](int x, int y) { return qGray(picture.pixel(x, y)); });
        const std::lock_guard lock(m_mutex);
        ++m_pictures;
        m_picture = picture;
        m_shownTime = time;
        if (time)
            m_shownTimes.push_back({now, *time});
    }
    gst_sample_unref(sample);
}

} // namespace lumvik::test
