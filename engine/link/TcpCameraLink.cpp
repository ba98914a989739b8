#include "engine/link/TcpCameraLink.h"

#include "engine/link/EnginePort.h"
#include "engine/link/LinkDialogue.h"
#include "engine/link/OwnSocket.h"
#include "engine/link/StreamMeter.h"
#include "platform/FileDescriptor.h"
#include "platform/SerialQueue.h"
#include "platform/network/TcpConnection.h"

#include <QTcpSocket>
#include <QTimer>

#include <linux/sockios.h>
#include <sys/ioctl.h>

#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

namespace lumvik {

namespace {

using Kind = LinkFact::Kind;
using std::chrono::milliseconds;

/// How much memory a stream that waits for the engine may occupy, in bytes, before the camera is
/// not read any more. More than ten seconds of any camera, so that old pictures can be left out
/// here rather than arrive late.
constexpr qsizetype largestBacklog = 32LL * 1024 * 1024;
/// How many bytes a socket reads ahead.
constexpr qint64 readBufferSize = 1024LL * 1024;
/// How many bytes wait for the camera before the engine is not read any more.
constexpr qint64 largestRequestBacklog = 1024LL * 1024;
/// How often it is checked whether an engine that is behind has read more.
constexpr milliseconds pumpInterval{2};
/// How long the camera may take to confirm the end of the session.
constexpr milliseconds longestFarewell{500};

/// How often the log says that pictures are left out. A machine that is too slow for its camera
/// leaves some out all the time.
constexpr std::chrono::minutes omissionLogInterval{1};

/// Deletes objects that may be dropped while one of their signals is being handled.
struct DeleteLater {
    void operator()(QObject *object) const {
        object->disconnect();
        object->deleteLater();
    }
};
template<typename Object>
using LatePointer = std::unique_ptr<Object, DeleteLater>;

LatePointer<QTcpSocket> socketFor(FileDescriptor descriptor) {
    LatePointer<QTcpSocket> socket(new QTcpSocket);
    socket->setReadBufferSize(readBufferSize);
    if (!socket->setSocketDescriptor(descriptor.release()))
        return nullptr;
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    return socket;
}

} // namespace

/// The sockets of a link. All functions except the constructor, `engineAddress` and
/// `waitUntilEnded` run on the queue's thread.
class TcpCameraLink::Session : public std::enable_shared_from_this<Session> {
  public:
    Session(CameraEndpoint endpoint, SerialQueue &queue, LinkFactHandler handler,
            NameResolver resolver, std::unique_ptr<EnginePort> enginePort,
            const QByteArray &engineBase)
        : m_queue(queue)
        , m_handler(std::move(handler))
        , m_resolver(std::move(resolver))
        , m_host(endpoint.host)
        , m_port(endpoint.port)
        , m_dialogue(std::move(endpoint), engineBase)
        , m_engineAddress(m_dialogue.engineAddress())
        , m_enginePort(std::move(enginePort)) {}

    [[nodiscard]] SerialQueue &queue() { return m_queue; }
    [[nodiscard]] QByteArray engineAddress() const { return m_engineAddress; }
    [[nodiscard]] bool waitUntilEnded(milliseconds timeLimit);

    /// Keeps the session alive until it has ended.
    void start();
    /// Ends the session with the camera in an orderly manner.
    void close();

  private:
    void connectToCamera();
    void cameraStateChanged(NetworkConnection::State state);
    void takeCameraSocket();
    void engineIsConnected(EnginePort::Connection connection);
    /// Gives the engine as much of the backlog as it may have.
    void pump();
    void reportLateness(StreamBacklog::TimePoint now);
    [[nodiscard]] qsizetype unreadByEngine() const;
    void readFromCamera();
    void readFromEngine();
    void perform(const LinkDialogue::Output &output);
    void cameraHasEnded();
    void engineHasEnded();
    void awaitFarewell();
    void end();
    void report(Kind kind) { report(LinkFact{kind}); }
    void report(const LinkFact &fact) {
        if (m_handler)
            m_handler(fact);
    }

    SerialQueue &m_queue;
    const LinkFactHandler m_handler;
    const NameResolver m_resolver;
    const QString m_host;
    std::uint16_t m_port;

    std::shared_ptr<Session> m_self; ///< From `start` until the end.
    LinkDialogue m_dialogue;
    const QByteArray m_engineAddress; ///< As a text.
    const std::unique_ptr<EnginePort> m_enginePort;
    std::shared_ptr<TcpConnection> m_connection; ///< While connecting to the camera.
    LatePointer<QTcpSocket> m_camera;
    LatePointer<QTcpSocket> m_engine;
    LatePointer<QTimer> m_farewell;
    StreamBacklog m_backlog;
    StreamMeter m_meter;
    LatePointer<QTimer> m_pumpTimer; ///< Runs while something waits for the engine.
    SocketAddress m_engineSocket; ///< Of the engine's socket, which also belongs to this process.
    int m_engineDescriptor = -1;  ///< The engine's; only for questions about unread bytes.
    bool m_isLate = false;
    std::int64_t m_reportedOmissions = 0;
    std::optional<StreamBacklog::TimePoint> m_omissionLogged;
    QByteArray m_earlyForCamera; ///< What the engine said before the camera was connected.
    bool m_isEnding = false;     ///< The engine's side is closed, and the camera's side is closing.
    bool m_hasEnded = false;

    std::mutex m_endMutex; ///< Guards the next member.
    bool m_hasEndedForWaiters = false;
    std::condition_variable m_endCondition;
};

bool TcpCameraLink::Session::waitUntilEnded(milliseconds timeLimit) {
    std::unique_lock lock(m_endMutex);
    return m_endCondition.wait_for(lock, timeLimit, [this] { return m_hasEndedForWaiters; });
}

void TcpCameraLink::Session::start() {
    m_self = shared_from_this();
    m_enginePort->listen({.accepted =
                              [this](EnginePort::Connection connection) {
                                  engineIsConnected(std::move(connection));
                              },
                          .intruderRefused = [this] { report(Kind::IntruderRefused); }});
    connectToCamera();
}

void TcpCameraLink::Session::connectToCamera() {
    report(Kind::Connecting);
    m_connection = std::make_shared<TcpConnection>(m_host, m_port, m_resolver);
    m_connection->setStateUpdateHandler([weak = weak_from_this()](NetworkConnection::State state) {
        if (const auto self = weak.lock())
            self->cameraStateChanged(state);
    });
    m_connection->start(m_queue);
}

void TcpCameraLink::Session::cameraStateChanged(NetworkConnection::State state) {
    switch (state) {
    case NetworkConnection::State::preparing:
    case NetworkConnection::State::cancelled:
        break;
    case NetworkConnection::State::waiting: // the supervision decides when to try again
    case NetworkConnection::State::failed:
        report({.kind = Kind::ConnectingFailed, .failure = m_connection->failure()});
        end();
        break;
    case NetworkConnection::State::ready:
        takeCameraSocket();
        break;
    }
}

void TcpCameraLink::Session::takeCameraSocket() {
    m_camera = socketFor(m_connection->takeSocket());
    m_connection.reset();
    if (!m_camera)
        return end();
    report(Kind::Connected);
    QTcpSocket *camera = m_camera.get();
    QObject::connect(camera, &QTcpSocket::readyRead, camera, [this] { readFromCamera(); });
    QObject::connect(camera, &QTcpSocket::bytesWritten, camera, [this] { readFromEngine(); });
    QObject::connect(camera, &QTcpSocket::disconnected, camera, [this] { cameraHasEnded(); });
    perform(m_dialogue.cameraConnected(camera->peerAddress()));
    if (m_camera) {
        m_camera->write(std::exchange(m_earlyForCamera, {}));
        m_camera->flush();
    }
}

void TcpCameraLink::Session::engineIsConnected(EnginePort::Connection connection) {
    m_engineSocket = connection.engineSocket;
    m_engineDescriptor = connection.engineDescriptor;
    m_engine = socketFor(std::move(connection.descriptor));
    if (!m_engine)
        return end();
    QTcpSocket *engine = m_engine.get();
    QObject::connect(engine, &QTcpSocket::readyRead, engine, [this] { readFromEngine(); });
    QObject::connect(engine, &QTcpSocket::bytesWritten, engine, [this] { pump(); });
    QObject::connect(engine, &QTcpSocket::disconnected, engine, [this] { engineHasEnded(); });
    readFromEngine();
}

void TcpCameraLink::Session::readFromCamera() {
    const bool isFull = m_backlog.memory() >= largestBacklog && !m_isEnding;
    if (!m_camera || isFull)
        return;
    const QByteArray bytes = m_camera->readAll();
    if (!bytes.isEmpty())
        perform(m_dialogue.takeFromCamera(bytes));
}

void TcpCameraLink::Session::readFromEngine() {
    if (!m_engine || (m_camera && m_camera->bytesToWrite() >= largestRequestBacklog))
        return;
    const QByteArray bytes = m_engine->readAll();
    if (!bytes.isEmpty())
        perform(m_dialogue.takeFromEngine(bytes));
}

void TcpCameraLink::Session::perform(const LinkDialogue::Output &output) {
    // A handler may drop the last reference to this object.
    const auto self = shared_from_this();
    if (m_camera && !output.toCamera.isEmpty()) {
        m_camera->write(output.toCamera);
        m_camera->flush();
    } else if (!m_camera) {
        m_earlyForCamera += output.toCamera;
    }
    if (m_engine) {
        const auto now = StreamBacklog::Clock::now();
        for (const EngineData &data : output.toEngine) {
            m_meter.take(data, now);
            m_backlog.push(data, now);
        }
    }
    // Before the engine gets the picture, so that the window knows its age in time.
    if (const auto measure = m_meter.measure(m_backlog.oldestWait(StreamBacklog::Clock::now()),
                                             StreamBacklog::Clock::now()))
        report({.kind = Kind::Measured, .measure = *measure});
    pump();
    for (const LinkFact &fact : output.facts)
        report(fact);
    if (m_hasEnded)
        return;
    if (output.mustClose)
        return end();
    if (output.reconnectToPort) {
        m_camera.reset();
        m_port = *output.reconnectToPort;
        connectToCamera();
    } else if (m_isEnding && !m_dialogue.awaitsEnd()) {
        end();
    }
}

void TcpCameraLink::Session::pump() {
    if (!m_engine || m_backlog.isEmpty())
        return;
    const auto self = shared_from_this(); // reading and writing may end the session
    const auto now = StreamBacklog::Clock::now();
    const bool wasFull = m_backlog.memory() >= largestBacklog;
    const QByteArray bytes = m_backlog.take(unreadByEngine(), now);
    if (!bytes.isEmpty()) {
        m_engine->write(bytes);
        m_engine->flush();
    }
    if (m_hasEnded || !m_engine)
        return;
    reportLateness(now);
    if (m_backlog.isEmpty()) {
        m_pumpTimer.reset();
    } else if (!m_pumpTimer) {
        m_pumpTimer.reset(new QTimer);
        m_pumpTimer->setTimerType(Qt::PreciseTimer);
        QObject::connect(m_pumpTimer.get(), &QTimer::timeout, m_pumpTimer.get(),
                         [this] { pump(); });
        m_pumpTimer->start(pumpInterval);
    }
    if (wasFull)
        readFromCamera();
}

void TcpCameraLink::Session::reportLateness(StreamBacklog::TimePoint now) {
    if (std::exchange(m_reportedOmissions, m_backlog.omittedPictures()) !=
        m_backlog.omittedPictures()) {
        const bool isRepeated = m_omissionLogged && now - *m_omissionLogged < omissionLogInterval;
        if (!isRepeated)
            m_omissionLogged = now;
        report({.kind = Kind::PicturesOmitted, .isRepeated = isRepeated});
    }
    const bool isLate = m_backlog.isLate(now);
    if (std::exchange(m_isLate, isLate) != isLate)
        report(isLate ? Kind::PictureIsLate : Kind::PictureIsInTime);
}

/// Returns how many bytes the engine has not read: in this socket, in the system's queue for it,
/// and in the engine's own socket.
qsizetype TcpCameraLink::Session::unreadByEngine() const {
    int queued = 0;
    if (::ioctl(static_cast<int>(m_engine->socketDescriptor()), SIOCOUTQ, &queued) != 0)
        queued = 0;
    return m_engine->bytesToWrite() + queued +
           unreadBytes(m_engineDescriptor, m_engineSocket).value_or(0);
}

void TcpCameraLink::Session::cameraHasEnded() {
    const auto self = shared_from_this();
    readFromCamera();
    if (m_hasEnded || !m_camera)
        return;
    report(Kind::EndedByCamera);
    m_camera.reset();
    end();
}

void TcpCameraLink::Session::engineHasEnded() {
    const auto self = shared_from_this();
    readFromEngine();
    if (m_hasEnded || !m_engine)
        return;
    report(Kind::EndedByEngine);
    close();
}

void TcpCameraLink::Session::close() {
    if (m_hasEnded || m_isEnding)
        return;
    const auto self = shared_from_this(); // writing may end the session
    m_enginePort->close();
    m_pumpTimer.reset();
    m_engine.reset();
    m_backlog = StreamBacklog();
    if (!m_camera)
        return end();
    const QByteArray request = m_dialogue.takeTeardown();
    m_camera->write(request);
    m_camera->flush();
    if (m_hasEnded || !m_camera)
        return;
    if (!m_dialogue.awaitsEnd())
        return end();
    awaitFarewell();
}

/// Goes on reading until the camera has confirmed the end. If the connection were closed with
/// unread data, the system would reset it, and the camera might never read the request.
void TcpCameraLink::Session::awaitFarewell() {
    m_isEnding = true;
    m_farewell.reset(new QTimer);
    m_farewell->setSingleShot(true);
    QObject::connect(m_farewell.get(), &QTimer::timeout, m_farewell.get(), [this] { end(); });
    m_farewell->start(longestFarewell);
    readFromCamera(); // what was received while the backlog was full is not announced again
}

void TcpCameraLink::Session::end() {
    if (std::exchange(m_hasEnded, true))
        return;
    const std::shared_ptr<Session> self = std::move(m_self);
    m_enginePort->close();
    m_farewell.reset();
    if (m_connection)
        m_connection->cancel();
    m_connection.reset();
    m_pumpTimer.reset();
    // What was received from the camera still reaches the engine, unless it is old.
    if (m_engine) {
        if (!m_backlog.isLate(StreamBacklog::Clock::now()))
            m_engine->write(m_backlog.takeAll());
        QTcpSocket *engine = m_engine.release();
        engine->disconnect();
        QObject::connect(engine, &QTcpSocket::disconnected, engine, &QObject::deleteLater);
        engine->disconnectFromHost();
        if (engine->state() == QAbstractSocket::UnconnectedState)
            engine->deleteLater();
    }
    m_camera.reset();
    const std::scoped_lock lock(m_endMutex);
    m_hasEndedForWaiters = true;
    m_endCondition.notify_all();
}

std::unique_ptr<TcpCameraLink> TcpCameraLink::open(const CameraEndpoint &endpoint,
                                                   SerialQueue &queue, LinkFactHandler handler,
                                                   NameResolver resolver) {
    auto port = EnginePort::open();
    if (!port)
        return nullptr;
    const QByteArray base = "rtsp://127.0.0.1:" + QByteArray::number(port->number()) + '/' +
                            RtspAuthentication::randomNonce();
    const auto session = std::make_shared<Session>(endpoint, queue, std::move(handler),
                                                   std::move(resolver), std::move(port), base);
    queue.async([session] { session->start(); });
    return std::unique_ptr<TcpCameraLink>(new TcpCameraLink(session));
}

TcpCameraLink::TcpCameraLink(std::shared_ptr<Session> session) : m_session(std::move(session)) {}

TcpCameraLink::~TcpCameraLink() {
    close();
}

QByteArray TcpCameraLink::engineAddress() const {
    return m_session->engineAddress();
}

void TcpCameraLink::close() {
    m_session->queue().async([session = m_session] { session->close(); });
}

bool TcpCameraLink::waitUntilClosed(milliseconds timeLimit) {
    return m_session->waitUntilEnded(timeLimit);
}

} // namespace lumvik
