#include "testcamera/CameraServer.h"

#include "testcamera/CameraLogin.h"

#include <sys/socket.h>

#include <algorithm>
#include <utility>

namespace lumvik::test {

namespace {

constexpr const char *outletKey = "lumvik-outlet";
constexpr const char *role = "viewer";

const QString encodedAheadText = QStringLiteral("the pictures have been encoded ahead");

using OutletHolder = std::shared_ptr<CameraFeed::Outlet>;

OutletHolder *outletOf(GstRTSPMedia *media) {
    return media == nullptr
               ? nullptr
               : static_cast<OutletHolder *>(g_object_get_data(G_OBJECT(media), outletKey));
}

/// Sends a reset at once. On Linux, connecting a TCP socket to AF_UNSPEC aborts its connection.
void abortConnection(GSocket *socket) {
    sockaddr nobody{};
    nobody.sa_family = AF_UNSPEC;
    // A failure is ignored, because the connection is closed in any case.
    (void)::connect(g_socket_get_fd(socket), &nobody, sizeof nobody);
}

/// Lets the system send at most this many bytes a second, or any number for 0.
void limitRate(GSocket *socket, int bytesPerSecond) {
    constexpr gint unlimited = -1; // the largest unsigned number
    g_socket_set_option(socket, SOL_SOCKET, SO_MAX_PACING_RATE,
                        bytesPerSecond > 0 ? bytesPerSecond : unlimited, nullptr);
}

bool hasEncoder(VideoCodec codec) {
    const GstObjectPointer<GstElementFactory> found(
        gst_element_factory_find(codec == VideoCodec::H264 ? "x264enc" : "x265enc"));
    return found != nullptr;
}

GstRTSPLowerTrans protocolsOf(StreamTransport transport) {
    switch (transport) {
    case StreamTransport::Tcp:
        return GST_RTSP_LOWER_TRANS_TCP;
    case StreamTransport::Udp:
        return GST_RTSP_LOWER_TRANS_UDP;
    case StreamTransport::Any:
        break;
    }
    return static_cast<GstRTSPLowerTrans>(GST_RTSP_LOWER_TRANS_TCP | GST_RTSP_LOWER_TRANS_UDP);
}

} // namespace

tl::expected<std::unique_ptr<CameraServer>, QString>
CameraServer::start(const CameraOptions &options) {
    if (!hasEncoder(options.codec))
        return tl::unexpected(QStringLiteral("the codec's encoder is not installed"));
    std::optional<EncodedLoop> loop;
    if (options.encodedAhead > 0) {
        auto encoded = EncodedLoop::encode(options);
        if (!encoded)
            return tl::unexpected(encoded.error());
        loop = *std::move(encoded);
    }
    std::unique_ptr<CameraServer> server(new CameraServer(options, std::move(loop)));
    auto listener = PortListener::open(options.address, options.port,
                                       [camera = server.get()](GObjectPointer<GSocket> socket) {
                                           camera->takeConnection(std::move(socket));
                                       });
    if (!listener)
        return tl::unexpected(listener.error());
    server->m_listener = std::move(*listener);
    if (options.onvif.port) {
        auto onvif = OnvifServer::start(options, server->m_listener->port(), server->m_loginLock);
        if (!onvif)
            return tl::unexpected(QStringLiteral("ONVIF: ") + onvif.error());
        server->m_onvif = *std::move(onvif);
    }
    return server;
}

CameraServer::CameraServer(const CameraOptions &options, std::optional<EncodedLoop> loop)
    : m_options(options)
    , m_codec(options.codec)
    , m_loginLock({.lockAfter = options.lockAfter,
                   .lockTime = options.lockMinutes * 60.0,
                   .refuseFirst = static_cast<double>(options.refuseFirst)})
    , m_stamps(options.stampedRate)
    , m_feed(options, std::move(loop))
    , m_server(gst_rtsp_server_new())
    , m_factory(gst_rtsp_media_factory_new()) {
    // Clients have no threads of their own and are served on the main thread.
    const GObjectPointer<GstRTSPThreadPool> threads(
        gst_rtsp_server_get_thread_pool(m_server.get()));
    gst_rtsp_thread_pool_set_max_threads(threads.get(), 0);
    mountStream();
    if (!options.user.isEmpty())
        protectWithPassword();
    g_signal_connect(m_server.get(), "client-connected",
                     G_CALLBACK(+[](GstRTSPServer *, GstRTSPClient *client, gpointer self) {
                         static_cast<CameraServer *>(self)->watchClient(client);
                     }),
                     this);
    m_cleanUpTimer = g_timeout_add_seconds(
        5,
        [](gpointer self) -> gboolean {
            static_cast<CameraServer *>(self)->cleanUp();
            return G_SOURCE_CONTINUE;
        },
        this);
}

CameraServer::~CameraServer() {
    g_source_remove(m_cleanUpTimer);
    m_listener.reset();
    closeClients(CameraCommand::Drop::Manner::Orderly);
    g_signal_handlers_disconnect_by_data(m_server.get(), this);
    g_signal_handlers_disconnect_by_data(m_factory.get(), this);
}

QString CameraServer::url() const {
    const bool isVersion6 = m_options.address.contains(QLatin1Char(':'));
    return QStringLiteral("rtsp://%1:%2%3")
        .arg(isVersion6 ? QStringLiteral("[%1]").arg(m_options.address) : m_options.address)
        .arg(m_listener->port())
        .arg(m_options.path);
}

void CameraServer::mountStream() {
    useCodec(m_codec);
    gst_rtsp_media_factory_set_protocols(m_factory.get(), protocolsOf(m_options.transport));
    gst_rtsp_media_factory_set_shared(m_factory.get(), FALSE);
    gst_rtsp_media_factory_set_latency(m_factory.get(), 0);
    g_signal_connect(m_factory.get(), "media-configure",
                     G_CALLBACK(+[](GstRTSPMediaFactory *, GstRTSPMedia *media, gpointer self) {
                         static_cast<CameraServer *>(self)->configureMedia(media);
                     }),
                     this);
    const GObjectPointer<GstRTSPMountPoints> mounts(
        gst_rtsp_server_get_mount_points(m_server.get()));
    for (const OnvifReplies::Stream &stream : OnvifReplies::streams(m_options))
        gst_rtsp_mount_points_add_factory(mounts.get(), stream.path.toUtf8().constData(),
                                          GST_RTSP_MEDIA_FACTORY(g_object_ref(m_factory.get())));
}

void CameraServer::protectWithPassword() {
    const auto auth = makeCameraLogin(m_options, role, m_loginLock);
    gst_rtsp_media_factory_add_role(m_factory.get(), role, GST_RTSP_PERM_MEDIA_FACTORY_ACCESS,
                                    G_TYPE_BOOLEAN, TRUE, GST_RTSP_PERM_MEDIA_FACTORY_CONSTRUCT,
                                    G_TYPE_BOOLEAN, TRUE, nullptr);
    gst_rtsp_server_set_auth(m_server.get(), auth.get());
}

void CameraServer::useCodec(VideoCodec codec) {
    m_codec = codec;
    gst_rtsp_media_factory_set_launch(
        m_factory.get(),
        codec == VideoCodec::H264
            ? "( appsrc name=source is-live=true format=time max-bytes=0 "
              "caps=video/x-h264,stream-format=byte-stream,alignment=au "
              "! rtph264pay name=pay0 pt=96 config-interval=-1 aggregate-mode=none )"
            : "( appsrc name=source is-live=true format=time max-bytes=0 "
              "caps=video/x-h265,stream-format=byte-stream,alignment=au "
              "! rtph265pay name=pay0 pt=96 config-interval=-1 aggregate-mode=none )");
}

void CameraServer::takeConnection(GObjectPointer<GSocket> socket) {
    if (m_behaviour == Behaviour::Silent) {
        m_silentConnections.add(std::move(socket));
        return;
    }
    const GObjectPointer<GSocketAddress> remote(g_socket_get_remote_address(socket.get(), nullptr));
    if (!remote)
        return; // the client has already disconnected
    auto *address = G_INET_SOCKET_ADDRESS(remote.get());
    gchar *host = g_inet_address_to_string(g_inet_socket_address_get_address(address));
    gst_rtsp_server_transfer_connection(m_server.get(), socket.release(), host,
                                        g_inet_socket_address_get_port(address), nullptr);
    g_free(host);
}

/// Creates the outlet for a new stream. The outlet exists as long as the stream.
void CameraServer::configureMedia(GstRTSPMedia *media) {
    const GstObjectPointer<GstElement> element(gst_rtsp_media_get_element(media));
    const GstObjectPointer<GstElement> source(
        gst_bin_get_by_name(GST_BIN(element.get()), "source"));
    const GstObjectPointer<GstElement> payloader(
        gst_bin_get_by_name(GST_BIN(element.get()), "pay0"));
    m_stamps.attachTo(payloader.get());
    struct Registration {
        OutletHolder outlet; // the first member, where outletOf expects it
        CameraFeed *feed;
    };
    auto *registration = new Registration{m_feed.addOutlet(source.get(), m_codec), &m_feed};
    g_object_set_data_full(G_OBJECT(media), outletKey, registration, [](gpointer data) {
        const std::unique_ptr<Registration> ended(static_cast<Registration *>(data));
        ended->feed->removeOutlet(ended->outlet);
    });
}

void CameraServer::watchClient(GstRTSPClient *client) {
    GSocket *socket = gst_rtsp_connection_get_read_socket(gst_rtsp_client_get_connection(client));
    Client watched;
    watched.client.reset(GST_RTSP_CLIENT(g_object_ref(client)));
    watched.socket.reset(G_SOCKET(g_object_ref(socket)));
    m_clients.push_back(std::move(watched));
    if (m_bytesPerSecond > 0)
        limitRate(socket, m_bytesPerSecond);
    g_signal_connect(client, "closed", G_CALLBACK(+[](GstRTSPClient *closed, gpointer self) {
                         static_cast<CameraServer *>(self)->forgetClient(closed);
                     }),
                     this);
    g_signal_connect(client, "play-request",
                     G_CALLBACK(+[](GstRTSPClient *, GstRTSPContext *context, gpointer self) {
                         static_cast<CameraServer *>(self)->clientPlays(context->client,
                                                                        context->media);
                     }),
                     this);
    g_signal_connect(client, "pause-request",
                     G_CALLBACK(+[](GstRTSPClient *, GstRTSPContext *context, gpointer self) {
                         if (const OutletHolder *outlet = outletOf(context->media))
                             static_cast<CameraServer *>(self)->m_feed.pause(*outlet);
                     }),
                     this);
}

/// Called once the reply to PLAY has been sent.
void CameraServer::clientPlays(GstRTSPClient *client, GstRTSPMedia *media) {
    if (const auto known = find(client); known != m_clients.end())
        known->plays = true;
    ++m_playRequests;
    m_mostPlaying = std::max(m_mostPlaying, playingClients());
    if (m_behaviour == Behaviour::HangingUp)
        hangUp(client);
    else if (const OutletHolder *outlet = outletOf(media))
        m_feed.play(*outlet);
}

/// Closes a connection in an orderly way. gst-rtsp-server detects the end of the connection by
/// itself.
void CameraServer::hangUp(GstRTSPClient *client) {
    if (const auto known = find(client); known != m_clients.end())
        g_socket_shutdown(known->socket.get(), TRUE, TRUE, nullptr);
}

std::vector<CameraServer::Client>::iterator CameraServer::find(GstRTSPClient *client) {
    return std::find_if(m_clients.begin(), m_clients.end(),
                        [client](const Client &one) { return one.client.get() == client; });
}

long CameraServer::playingClients() const {
    return std::count_if(m_clients.cbegin(), m_clients.cend(),
                         [](const Client &one) { return one.plays; });
}

void CameraServer::forgetClient(GstRTSPClient *client) {
    const auto known = find(client);
    if (known == m_clients.end())
        return;
    g_signal_handlers_disconnect_by_data(client, this);
    g_socket_shutdown(known->socket.get(), TRUE, TRUE, nullptr);
    m_goneClients.push_back(std::move(*known));
    m_clients.erase(known);
}

void CameraServer::cleanUp() {
    m_longGoneClients = std::exchange(m_goneClients, {});
    // Clients over UDP may disappear without notice, so their sessions end through a time-out.
    const GObjectPointer<GstRTSPSessionPool> sessions(
        gst_rtsp_server_get_session_pool(m_server.get()));
    gst_rtsp_session_pool_cleanup(sessions.get());
}

/// Closes all connections at once. gst-rtsp-server detects their end by itself.
void CameraServer::closeClients(CameraCommand::Drop::Manner manner) {
    // Streams are ended before the connections, so that nothing more is sent. Otherwise, streams
    // over UDP would outlive their connections.
    const GObjectPointer<GstRTSPSessionPool> sessions(
        gst_rtsp_server_get_session_pool(m_server.get()));
    g_list_free_full(
        gst_rtsp_session_pool_filter(
            sessions.get(),
            [](GstRTSPSessionPool *, GstRTSPSession *, gpointer) { return GST_RTSP_FILTER_REMOVE; },
            nullptr),
        g_object_unref);
    for (Client &client : std::exchange(m_clients, {})) {
        g_signal_handlers_disconnect_by_data(client.client.get(), this);
        if (manner == CameraCommand::Drop::Manner::Reset)
            abortConnection(client.socket.get());
        else
            g_socket_shutdown(client.socket.get(), TRUE, TRUE, nullptr);
        m_goneClients.push_back(std::move(client));
    }
    m_silentConnections.closeAll();
}

tl::expected<QString, QString> CameraServer::perform(const AnyCameraCommand &command) {
    return std::visit([this](const auto &concrete) { return perform(concrete); }, command);
}

CameraServer::Answer CameraServer::perform(CameraCommand::Freeze) {
    m_feed.freeze();
    return QString();
}

CameraServer::Answer CameraServer::perform(CameraCommand::Thaw) {
    m_feed.thaw();
    return QString();
}

CameraServer::Answer CameraServer::perform(CameraCommand::End) {
    m_feed.end();
    return QString();
}

CameraServer::Answer CameraServer::perform(CameraCommand::Drop drop) {
    closeClients(drop.manner);
    return QString();
}

CameraServer::Answer CameraServer::perform(CameraCommand::Refuse) {
    const auto refused = m_listener->refuse();
    closeClients(CameraCommand::Drop::Manner::Orderly);
    return refused.map([] { return QString(); });
}

CameraServer::Answer CameraServer::perform(CameraCommand::Accept) {
    return m_listener->listen().map([] { return QString(); });
}

CameraServer::Answer CameraServer::perform(CameraCommand::Silent) {
    if (m_behaviour != Behaviour::Silent)
        closeClients(CameraCommand::Drop::Manner::Orderly);
    m_behaviour = Behaviour::Silent;
    return QString();
}

CameraServer::Answer CameraServer::perform(CameraCommand::Speak) {
    m_behaviour = Behaviour::Serving;
    m_silentConnections.closeAll();
    return QString();
}

CameraServer::Answer CameraServer::perform(CameraCommand::HangUp) {
    if (m_behaviour != Behaviour::HangingUp)
        closeClients(CameraCommand::Drop::Manner::Orderly);
    m_behaviour = Behaviour::HangingUp;
    return QString();
}

CameraServer::Answer CameraServer::perform(CameraCommand::Stay) {
    m_behaviour = Behaviour::Serving;
    return QString();
}

CameraServer::Answer CameraServer::perform(CameraCommand::Resize resize) {
    if (m_options.encodedAhead > 0)
        return tl::unexpected(encodedAheadText);
    m_feed.resize(resize.size);
    return QString();
}

CameraServer::Answer CameraServer::perform(CameraCommand::Rotate rotate) {
    m_feed.rotate(rotate.degrees);
    return QString();
}

CameraServer::Answer CameraServer::perform(CameraCommand::UseCodec command) {
    if (m_options.encodedAhead > 0)
        return tl::unexpected(encodedAheadText);
    if (!hasEncoder(command.codec))
        return tl::unexpected(QStringLiteral("the codec's encoder is not installed"));
    useCodec(command.codec);
    return QString();
}

CameraServer::Answer CameraServer::perform(CameraCommand::Throttle throttle) {
    m_bytesPerSecond = throttle.bytesPerSecond;
    for (const Client &client : m_clients)
        limitRate(client.socket.get(), m_bytesPerSecond);
    return QString();
}

CameraServer::Answer CameraServer::perform(CameraCommand::ChangeRate command) {
    if (m_options.encodedAhead > 0)
        return tl::unexpected(encodedAheadText);
    m_feed.changeRate(command.picturesPerSecond);
    return QString();
}

CameraServer::Answer CameraServer::perform(CameraCommand::JumpClock command) {
    m_stamps.jump(command.seconds);
    return QString();
}

CameraServer::Answer CameraServer::perform(CameraCommand::Clients) {
    return QString::number(m_clients.size() + m_silentConnections.count());
}

CameraServer::Answer CameraServer::perform(CameraCommand::Streams) {
    return QStringLiteral("%1 %2 %3").arg(playingClients()).arg(m_mostPlaying).arg(m_playRequests);
}

CameraServer::Answer CameraServer::perform(CameraCommand::Refusals) {
    return QString::number(m_loginLock.refusals()) +
           (m_loginLock.isLocked(secondsSinceStart()) ? QStringLiteral(" locked") : QString());
}

CameraServer::Answer CameraServer::perform(CameraCommand::Onvif) {
    if (!m_onvif)
        return tl::unexpected(QStringLiteral("the camera was started without --onvif"));
    return m_onvif->url();
}

CameraServer::Answer CameraServer::perform(CameraCommand::Quit) {
    return QString();
}

} // namespace lumvik::test
