#include "testcamera/Encoder.h"

#include <gst/app/gstappsink.h>
#include <gst/app/gstappsrc.h>
#include <gst/video/video.h>

#include <algorithm>

namespace lumvik::test {

namespace {

/// Returns the encoder's description for a pipeline. Constant quality keeps the bars exact. The
/// maximum bit rate only limits key frames of large pictures. One thread encodes a 1280x720 picture
/// in a few milliseconds. Only larger pictures are encoded by several threads, which split each
/// picture into slices.
QString encoderElement(const Encoder::Settings &settings) {
    const int pixels = settings.size.width() * settings.size.height();
    const int threads = std::clamp(pixels / (1280 * 720), 1, 4);
    if (settings.codec == VideoCodec::H264)
        return QStringLiteral(
                   "x264enc tune=zerolatency speed-preset=ultrafast bframes=0 pass=qual "
                   "quantizer=20 bitrate=12000 threads=%1 key-int-max=%2 "
                   "option-string=\"scenecut=0\" ! video/x-h264,stream-format=byte-stream,"
                   "alignment=au")
            .arg(threads)
            .arg(settings.keyFrameInterval);
    return QStringLiteral("x265enc tune=zerolatency speed-preset=ultrafast key-int-max=%2 "
                          "log-level=error option-string=\"scenecut=0:bframes=0:repeat-headers=1:"
                          "open-gop=0:crf=20:pools=%1\" ! video/x-h265,stream-format=byte-stream,"
                          "alignment=au")
        .arg(threads)
        .arg(settings.keyFrameInterval);
}

/// Returns the description of an encoder whose stream resembles that of a usual camera: one slice
/// for each picture, arithmetic coding, a loop filter, and the bit rate that makers recommend (7
/// Mbit/s for 2560x1440 at 25 fps in H.264, and half as much in H.265).
QString cameraLikeElement(const Encoder::Settings &settings) {
    constexpr double bitsPerPixel = 0.08;
    const int kilobits = static_cast<int>(bitsPerPixel * settings.size.width() *
                                          settings.size.height() * settings.framesPerSecond / 1000);
    if (settings.codec == VideoCodec::H264)
        return QStringLiteral("x264enc tune=zerolatency speed-preset=veryfast bframes=0 pass=cbr "
                              "bitrate=%1 vbv-buf-capacity=1000 threads=1 sliced-threads=false "
                              "key-int-max=%2 option-string=\"scenecut=0\" ! video/x-h264,"
                              "profile=high,stream-format=byte-stream,alignment=au")
            .arg(std::max(kilobits, 100))
            .arg(settings.keyFrameInterval);
    return QStringLiteral("x265enc tune=zerolatency speed-preset=superfast key-int-max=%2 "
                          "bitrate=%1 log-level=error option-string=\"scenecut=0:bframes=0:"
                          "repeat-headers=1:open-gop=0\" ! video/x-h265,stream-format=byte-stream,"
                          "alignment=au")
        .arg(std::max(kilobits / 2, 100))
        .arg(settings.keyFrameInterval);
}

QString pipelineText(const Encoder::Settings &settings) {
    return QStringLiteral("appsrc name=source format=time max-buffers=2 max-bytes=0 max-time=0 "
                          "leaky-type=downstream caps=\"video/x-raw,format=I420,width=%1,height=%2,"
                          "framerate=%3/1,pixel-aspect-ratio=%5/%6,interlace-mode=progressive,"
                          "colorimetry=bt709\" ! %4 ! appsink name=sink sync=false")
        .arg(settings.size.width())
        .arg(settings.size.height())
        .arg(settings.framesPerSecond)
        .arg(settings.effort == Encoder::Effort::fast ? encoderElement(settings)
                                                      : cameraLikeElement(settings))
        .arg(settings.pixelRatio.width())
        .arg(settings.pixelRatio.height());
}

} // namespace

tl::expected<std::unique_ptr<Encoder>, QString> Encoder::create(const Settings &settings,
                                                                Handler handler) {
    std::unique_ptr<Encoder> encoder(new Encoder);
    encoder->m_handler = std::move(handler);
    GError *failure = nullptr;
    encoder->m_pipeline.reset(
        gst_parse_launch(pipelineText(settings).toUtf8().constData(), &failure));
    const GErrorPointer error(failure);
    if (error || !encoder->m_pipeline)
        return tl::unexpected(QString::fromUtf8(error ? error->message : "no pipeline"));
    encoder->m_source.reset(gst_bin_get_by_name(GST_BIN(encoder->m_pipeline.get()), "source"));
    encoder->m_sink.reset(gst_bin_get_by_name(GST_BIN(encoder->m_pipeline.get()), "sink"));

    GstVideoInfo info;
    gst_video_info_set_format(&info, GST_VIDEO_FORMAT_I420,
                              static_cast<guint>(settings.size.width()),
                              static_cast<guint>(settings.size.height()));
    if (!encoder->preparePool(GST_VIDEO_INFO_SIZE(&info)))
        return tl::unexpected(QStringLiteral("no memory for pictures"));

    GstAppSinkCallbacks callbacks{};
    callbacks.new_sample = [](GstAppSink *, gpointer self) {
        static_cast<Encoder *>(self)->deliverSample();
        return GST_FLOW_OK;
    };
    gst_app_sink_set_callbacks(GST_APP_SINK(encoder->m_sink.get()), &callbacks, encoder.get(),
                               nullptr);
    if (gst_element_set_state(encoder->m_pipeline.get(), GST_STATE_PLAYING) ==
        GST_STATE_CHANGE_FAILURE)
        return tl::unexpected(QStringLiteral("the encoder does not start"));
    return encoder;
}

Encoder::~Encoder() {
    if (m_pipeline)
        gst_element_set_state(m_pipeline.get(), GST_STATE_NULL);
    if (m_pool)
        gst_buffer_pool_set_active(m_pool.get(), FALSE);
}

void Encoder::encode(const std::vector<std::uint8_t> &picture, GstClockTime capturedAt) {
    GstBuffer *buffer = nullptr;
    if (gst_buffer_pool_acquire_buffer(m_pool.get(), &buffer, nullptr) != GST_FLOW_OK)
        return;
    gst_buffer_fill(buffer, 0, picture.data(), picture.size());
    GST_BUFFER_PTS(buffer) = capturedAt;
    gst_app_src_push_buffer(GST_APP_SRC(m_source.get()), buffer);
}

void Encoder::forceKeyFrame() {
    gst_element_send_event(
        m_sink.get(), gst_video_event_new_upstream_force_key_unit(GST_CLOCK_TIME_NONE, TRUE, 0));
}

/// Creates a pool that reuses the pictures' memory. A new allocation for each frame would cause
/// page faults.
bool Encoder::preparePool(std::size_t bytes) {
    m_pool.reset(gst_buffer_pool_new());
    GstStructure *configuration = gst_buffer_pool_get_config(m_pool.get());
    gst_buffer_pool_config_set_params(configuration, nullptr, static_cast<guint>(bytes), 2, 0);
    return gst_buffer_pool_set_config(m_pool.get(), configuration) &&
           gst_buffer_pool_set_active(m_pool.get(), TRUE);
}

void Encoder::deliverSample() {
    GstSample *sample = gst_app_sink_pull_sample(GST_APP_SINK(m_sink.get()));
    if (sample == nullptr)
        return;
    GstBuffer *buffer = gst_sample_get_buffer(sample);
    // Encoders shift both the time stamps and the segment, so the running time is the original
    // time.
    const GstClockTime capturedAt = gst_segment_to_running_time(
        gst_sample_get_segment(sample), GST_FORMAT_TIME, GST_BUFFER_PTS(buffer));
    m_handler({buffer, !GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DELTA_UNIT), capturedAt});
    gst_sample_unref(sample);
}

} // namespace lumvik::test
