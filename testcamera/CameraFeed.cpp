#include "testcamera/CameraFeed.h"

#include "testcamera/AccessUnit.h"

#include <gst/app/gstappsrc.h>

#include <chrono>
#include <cstdio>
#include <utility>

namespace lumvik::test {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::nanoseconds;

std::size_t indexOf(VideoCodec codec) {
    return codec == VideoCodec::H264 ? 0 : 1;
}

GstClockTime nanosecondsOf(Clock::time_point time) {
    return static_cast<GstClockTime>(
        std::chrono::duration_cast<nanoseconds>(time.time_since_epoch()).count());
}

GstClockTime monotonicNow() {
    return nanosecondsOf(Clock::now());
}

GstBufferPointer bufferWith(const QByteArray &bytes) {
    return GstBufferPointer(
        gst_buffer_new_memdup(bytes.constData(), static_cast<gsize>(bytes.size())));
}

/// Read access to the bytes of a buffer.
class MappedBuffer {
  public:
    explicit MappedBuffer(GstBuffer *buffer)
        : m_buffer(buffer)
        , m_isMapped(gst_buffer_map(buffer, &m_info, GST_MAP_READ) != FALSE) {}
    MappedBuffer(const MappedBuffer &) = delete;
    MappedBuffer &operator=(const MappedBuffer &) = delete;
    ~MappedBuffer() {
        if (m_isMapped)
            gst_buffer_unmap(m_buffer, &m_info);
    }
    [[nodiscard]] AccessUnit::Bytes bytes() const {
        return m_isMapped ? AccessUnit::Bytes(m_info.data, m_info.size) : AccessUnit::Bytes();
    }

  private:
    GstBuffer *m_buffer;
    GstMapInfo m_info{};
    bool m_isMapped;
};

} // namespace

/// The part of the feed that serves one stream. All members are guarded by the feed's mutex.
class CameraFeed::Outlet {
  public:
    enum class Stage { Created, NeedsParameterSets, Paused, NeedsKeyFrame, Flowing, Ended };

    Outlet(GstElement *appSource, VideoCodec usedCodec)
        : codec(usedCodec)
        , m_source(GST_ELEMENT(gst_object_ref(appSource))) {}

    /// Sends a copy that shares the picture's memory and has a time stamp of this stream.
    void push(GstBuffer *buffer, GstClockTime capturedAt) {
        const GstClockTime base = gst_element_get_base_time(m_source.get());
        GstBuffer *stamped = gst_buffer_copy(buffer);
        GST_BUFFER_PTS(stamped) = capturedAt > base ? capturedAt - base : 0;
        GST_BUFFER_DTS(stamped) = GST_CLOCK_TIME_NONE;
        gst_app_src_push_buffer(GST_APP_SRC(m_source.get()), stamped);
    }
    void end() {
        gst_app_src_end_of_stream(GST_APP_SRC(m_source.get()));
        stage = Stage::Ended;
    }

    const VideoCodec codec;
    Stage stage = Stage::Created;
    /// Whether the client started to play before the parameter sets were available.
    bool playsAtOnce = false;

  private:
    GstObjectPointer<GstElement> m_source;
};

using Stage = CameraFeed::Outlet::Stage;

CameraFeed::CameraFeed(const CameraOptions &options, std::optional<EncodedLoop> loop)
    : m_name(options.name)
    , m_bottom(options.clockPattern ? Picture::Bottom::ClockPattern : Picture::Bottom::Ramp)
    , m_framesPerSecond(options.framesPerSecond)
    , m_keyFrameInterval(options.keyFrameInterval)
    , m_pixelRatio(options.pixelRatio)
    , m_loop(std::move(loop))
    , m_wantedSize(options.size)
    , m_rate(options.framesPerSecond)
    , m_painter([this] { m_loop ? repeatLoop() : run(); }) {}

CameraFeed::~CameraFeed() {
    {
        const std::lock_guard lock(m_mutex);
        m_stop = true;
    }
    m_wake.notify_all();
    m_painter.join();
}

std::shared_ptr<CameraFeed::Outlet> CameraFeed::addOutlet(GstElement *source, VideoCodec codec) {
    auto outlet = std::make_shared<Outlet>(source, codec);
    {
        const std::lock_guard lock(m_mutex);
        m_outlets.push_back(outlet);
    }
    // The outlet owns the source, so the source holds only a weak reference to the outlet.
    struct Link {
        CameraFeed *feed;
        std::weak_ptr<Outlet> outlet;
    };
    GstAppSrcCallbacks callbacks{};
    callbacks.need_data = [](GstAppSrc *, guint, gpointer data) {
        const auto *link = static_cast<Link *>(data);
        if (const auto started = link->outlet.lock())
            link->feed->outletStarted(started);
    };
    gst_app_src_set_callbacks(GST_APP_SRC(source), &callbacks, new Link{this, outlet},
                              [](gpointer data) { delete static_cast<Link *>(data); });
    return outlet;
}

void CameraFeed::removeOutlet(const std::shared_ptr<Outlet> &outlet) {
    const std::lock_guard lock(m_mutex);
    std::erase(m_outlets, outlet);
}

void CameraFeed::play(const std::shared_ptr<Outlet> &outlet) {
    const std::lock_guard lock(m_mutex);
    if (outlet->stage == Stage::Created || outlet->stage == Stage::NeedsParameterSets)
        outlet->playsAtOnce = true;
    if (outlet->stage == Stage::Paused)
        outlet->stage = Stage::NeedsKeyFrame;
}

void CameraFeed::pause(const std::shared_ptr<Outlet> &outlet) {
    const std::lock_guard lock(m_mutex);
    outlet->playsAtOnce = false;
    if (outlet->stage == Stage::NeedsKeyFrame || outlet->stage == Stage::Flowing)
        outlet->stage = Stage::Paused;
}

void CameraFeed::freeze() {
    const std::lock_guard lock(m_mutex);
    m_isFrozen = true;
}

void CameraFeed::thaw() {
    const std::lock_guard lock(m_mutex);
    if (!m_isFrozen)
        return;
    m_isFrozen = false;
    // Pictures may have been dropped, so decoding can continue only with a key frame.
    for (const auto &outlet : m_outlets) {
        if (outlet->stage == Stage::Flowing)
            outlet->stage = Stage::NeedsKeyFrame;
    }
}

void CameraFeed::end() {
    const std::lock_guard lock(m_mutex);
    for (const auto &outlet : m_outlets) {
        if (outlet->stage != Stage::Created)
            outlet->end();
    }
}

void CameraFeed::resize(QSize size) {
    const std::lock_guard lock(m_mutex);
    if (size == m_wantedSize)
        return;
    m_wantedSize = size;
    ++m_generation;
    for (QByteArray &parameterSets : m_parameterSets)
        parameterSets.clear();
    for (const auto &outlet : m_outlets) {
        if (outlet->stage == Stage::Flowing)
            outlet->stage = Stage::NeedsKeyFrame;
    }
}

void CameraFeed::changeRate(double picturesPerSecond) {
    {
        const std::lock_guard lock(m_mutex);
        m_rate = picturesPerSecond;
        m_rateChanged = true;
    }
    m_wake.notify_all();
}

void CameraFeed::rotate(int degrees) {
    const std::lock_guard lock(m_mutex);
    m_rotation = degrees;
    // A player that has been asked to turn the picture must also be asked to turn it back.
    m_sendsOrientation = m_sendsOrientation || degrees != 0;
}

/// Called on the stream's own thread when the stream starts.
void CameraFeed::outletStarted(const std::shared_ptr<Outlet> &outlet) {
    const std::lock_guard lock(m_mutex);
    if (outlet->stage != Stage::Created)
        return;
    outlet->stage = Stage::NeedsParameterSets;
    sendParameterSets(*outlet);
    if (outlet->stage == Stage::NeedsParameterSets) {
        m_parametersWanted = true;
        m_wake.notify_all();
    }
}

/// Sends the parameter sets to an outlet that needs them, if they are known.
void CameraFeed::sendParameterSets(Outlet &outlet) {
    const QByteArray &parameterSets = m_parameterSets[indexOf(outlet.codec)];
    if (outlet.stage != Stage::NeedsParameterSets || parameterSets.isEmpty())
        return;
    outlet.push(bufferWith(parameterSets).get(), monotonicNow());
    outlet.stage = outlet.playsAtOnce ? Stage::NeedsKeyFrame : Stage::Paused;
}

void CameraFeed::run() {
    using Seconds = std::chrono::duration<double>;
    Clock::time_point begin = Clock::now();
    std::int64_t tick = 0;
    std::unique_lock lock(m_mutex);
    while (!m_stop) {
        if (std::exchange(m_rateChanged, false)) {
            begin = Clock::now();
            tick = 0;
        }
        // Ticks are multiples of the exact period, so late wake-ups and rounding errors do not
        // accumulate.
        const Seconds period(1 / m_rate);
        const Clock::time_point next =
            begin + std::chrono::duration_cast<nanoseconds>(static_cast<double>(tick) * period);
        m_wake.wait_until(lock, next,
                          [this] { return m_stop || m_parametersWanted || m_rateChanged; });
        if (m_stop)
            break;
        if (m_rateChanged)
            continue;
        const bool isTick = Clock::now() >= next;
        const Work work = takeWork(isTick ? Occasion::Tick : Occasion::Description);
        lock.unlock();
        perform(work, isTick ? next : Clock::now());
        lock.lock();
        // Ticks missed while the machine was suspended or busy are skipped instead of being made up
        // in a burst.
        if (isTick)
            tick = std::max(tick + 1, static_cast<std::int64_t>((Clock::now() - begin) / period));
    }
    lock.unlock();
    m_encoders = {};
}

void CameraFeed::repeatLoop() {
    std::int64_t number = m_loop->numberAt(Clock::now());
    std::unique_lock lock(m_mutex);
    // A stream can then be described before the first key frame is due.
    m_parameterSets[indexOf(m_loop->codec())] = AccessUnit::parameterSets(
        m_loop->codec(), MappedBuffer(m_loop->picture(0).buffer.get()).bytes());
    while (!m_stop) {
        const Clock::time_point due = m_loop->dueAt(number);
        m_wake.wait_until(lock, due, [this] { return m_stop; });
        if (m_stop)
            break;
        const EncodedLoop::CodedPicture &picture = m_loop->picture(number);
        lock.unlock();
        deliver(m_loop->codec(), 0, {picture.buffer.get(), picture.isKeyFrame, nanosecondsOf(due)});
        lock.lock();
        // Each picture is needed to decode the next one, so a picture that is late is sent late.
        // After a long suspension, whole loops are skipped.
        ++number;
        while (Clock::now() - m_loop->dueAt(number) >= m_loop->length())
            number += m_loop->count();
    }
}

CameraFeed::Work CameraFeed::takeWork(Occasion occasion) {
    m_parametersWanted = false;
    Work work;
    work.size = m_wantedSize;
    work.generation = m_generation;
    work.paints = occasion == Occasion::Tick && !m_isFrozen;
    for (const auto &outlet : m_outlets) {
        Need &need = work.needs[indexOf(outlet->codec)];
        switch (outlet->stage) {
        case Stage::Created:
        case Stage::Ended:
            break;
        case Stage::NeedsParameterSets:
            need.encoder = true;
            need.parameterSets = true;
            break;
        case Stage::Paused:
        case Stage::Flowing:
            need.encoder = true;
            break;
        case Stage::NeedsKeyFrame:
            need.encoder = true;
            need.keyFrame = true;
            break;
        }
    }
    return work;
}

/// Paints and encodes as needed. Called without the mutex, because it waits for encoders, which
/// lock the mutex to deliver pictures.
void CameraFeed::perform(const Work &work, Clock::time_point capturedAt) {
    const bool isNew = !m_picture || m_picture->size() != work.size;
    if (isNew) {
        m_encoders = {};
        m_encoderFailed = {};
        m_picture = std::make_unique<Picture>(work.size, m_name, m_bottom);
    }
    const bool isWatched = work.needs[0].encoder || work.needs[1].encoder;
    if (isNew || (isWatched && work.paints))
        m_picture->paint(static_cast<std::uint32_t>(monotonicNow() / GST_MSECOND),
                         QTime::currentTime());
    for (const VideoCodec codec : {VideoCodec::H264, VideoCodec::H265}) {
        const Need &need = work.needs[indexOf(codec)];
        prepareEncoder(codec, need, work);
        Encoder *encoder = m_encoders[indexOf(codec)].get();
        if (encoder == nullptr || !(work.paints || need.parameterSets))
            continue;
        if (need.keyFrame || need.parameterSets)
            encoder->forceKeyFrame();
        encoder->encode(m_picture->data(), nanosecondsOf(capturedAt));
    }
}

void CameraFeed::prepareEncoder(VideoCodec codec, const Need &need, const Work &work) {
    std::unique_ptr<Encoder> &encoder = m_encoders[indexOf(codec)];
    if (!need.encoder)
        encoder.reset();
    if (!need.encoder || encoder || m_encoderFailed[indexOf(codec)])
        return;
    auto created = Encoder::create(
        {codec, work.size, m_framesPerSecond, m_keyFrameInterval, Encoder::Effort::fast,
         m_pixelRatio},
        [this, codec, generation = work.generation](const Encoder::CodedPicture &picture) {
            deliver(codec, generation, picture);
        });
    m_encoderFailed[indexOf(codec)] = !created;
    if (created)
        encoder = std::move(*created);
    else
        std::fprintf(stderr, "no encoder: %s\n", qPrintable(created.error()));
}

/// Called on an encoder's thread.
void CameraFeed::deliver(VideoCodec codec, std::uint64_t generation,
                         const Encoder::CodedPicture &picture) {
    const std::lock_guard lock(m_mutex);
    if (generation != m_generation)
        return; // the picture was encoded in an old size
    if (picture.isKeyFrame)
        m_parameterSets[indexOf(codec)] =
            AccessUnit::parameterSets(codec, MappedBuffer(picture.buffer).bytes());
    const GstBufferPointer oriented = withOrientation(codec, picture.buffer);
    for (const auto &outlet : m_outlets) {
        if (outlet->codec != codec)
            continue;
        sendParameterSets(*outlet);
        if (outlet->stage == Stage::NeedsKeyFrame && picture.isKeyFrame && !m_isFrozen)
            outlet->stage = Stage::Flowing;
        if (outlet->stage == Stage::Flowing && !m_isFrozen)
            outlet->push(oriented.get(), picture.capturedAt);
    }
}

/// Every picture carries the orientation, because some decoders keep it for one picture only.
GstBufferPointer CameraFeed::withOrientation(VideoCodec codec, GstBuffer *buffer) const {
    if (!m_sendsOrientation)
        return GstBufferPointer(gst_buffer_ref(buffer));
    GstBufferPointer turned =
        bufferWith(AccessUnit::withOrientation(codec, MappedBuffer(buffer).bytes(), m_rotation));
    gst_buffer_copy_into(turned.get(), buffer, GST_BUFFER_COPY_FLAGS, 0, gsize(-1));
    return turned;
}

} // namespace lumvik::test
