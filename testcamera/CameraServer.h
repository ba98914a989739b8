#pragma once

#include "testcamera/CameraCommand.h"
#include "testcamera/CameraFeed.h"
#include "testcamera/CameraOptions.h"
#include "testcamera/LoginLock.h"
#include "testcamera/OnvifServer.h"
#include "testcamera/PortListener.h"
#include "testcamera/SilentConnections.h"
#include "testcamera/StreamStamps.h"

#include <gst/rtsp-server/rtsp-server.h>

#include <vector>

namespace lumvik::test {

/// The RTSP side of the test camera, which accepts connections, passes them to gst-rtsp-server, and
/// executes commands.
///
/// CameraServer, not gst-rtsp-server, accepts connections, so that it can refuse them, leave them
/// without a reply, or reset them. Each client has a stream of its own, fed by an outlet of the
/// CameraFeed. The server must be used on the main thread with GLib's default context, which also
/// serves all clients.
class CameraServer {
  public:
    /// Starts to serve. The error is the reason for a failure, for example that the port is in use.
    [[nodiscard]] static tl::expected<std::unique_ptr<CameraServer>, QString>
    start(const CameraOptions &options);

    CameraServer(const CameraServer &) = delete;
    CameraServer &operator=(const CameraServer &) = delete;
    ~CameraServer();

    /// Returns the stream's address, with the actual port and without credentials.
    [[nodiscard]] QString url() const;

    /// Executes a command. Returns the text to print after "ok", or the error. The caller handles
    /// Quit.
    [[nodiscard]] tl::expected<QString, QString> perform(const AnyCameraCommand &command);

  private:
    using Answer = tl::expected<QString, QString>;
    enum class Behaviour { Serving, Silent, HangingUp };
    struct Client {
        GObjectPointer<GstRTSPClient> client;
        GObjectPointer<GSocket> socket;
        bool plays = false;
    };

    CameraServer(const CameraOptions &options, std::optional<EncodedLoop> loop);
    void mountStream();
    void protectWithPassword();
    void useCodec(VideoCodec codec);
    void takeConnection(GObjectPointer<GSocket> socket);
    void configureMedia(GstRTSPMedia *media);
    void watchClient(GstRTSPClient *client);
    void clientPlays(GstRTSPClient *client, GstRTSPMedia *media);
    void hangUp(GstRTSPClient *client);
    [[nodiscard]] std::vector<Client>::iterator find(GstRTSPClient *client);
    [[nodiscard]] long playingClients() const;
    void forgetClient(GstRTSPClient *client);
    void cleanUp();
    void closeClients(CameraCommand::Drop::Manner manner);

    Answer perform(CameraCommand::Freeze);
    Answer perform(CameraCommand::Thaw);
    Answer perform(CameraCommand::End);
    Answer perform(CameraCommand::Drop drop);
    Answer perform(CameraCommand::Refuse);
    Answer perform(CameraCommand::Accept);
    Answer perform(CameraCommand::Silent);
    Answer perform(CameraCommand::Speak);
    Answer perform(CameraCommand::HangUp);
    Answer perform(CameraCommand::Stay);
    Answer perform(CameraCommand::Resize resize);
    Answer perform(CameraCommand::Rotate rotate);
    Answer perform(CameraCommand::UseCodec command);
    Answer perform(CameraCommand::Throttle throttle);
    Answer perform(CameraCommand::ChangeRate command);
    Answer perform(CameraCommand::JumpClock command);
    Answer perform(CameraCommand::Clients);
    Answer perform(CameraCommand::Streams);
    Answer perform(CameraCommand::Refusals);
    Answer perform(CameraCommand::Onvif);
    Answer perform(CameraCommand::Quit);

    const CameraOptions m_options;
    VideoCodec m_codec;
    Behaviour m_behaviour = Behaviour::Serving;
    LoginLock m_loginLock;
    StreamStamps m_stamps;
    CameraFeed m_feed;
    SilentConnections m_silentConnections;
    GObjectPointer<GstRTSPServer> m_server;
    GObjectPointer<GstRTSPMediaFactory> m_factory;
    std::vector<Client> m_clients;
    int m_bytesPerSecond = 0; ///< The limit for each connection; 0 without one.
    long m_mostPlaying = 0;
    long m_playRequests = 0;
    /// Clients whose connection has ended recently. If sending to a client failed at that moment,
    /// gst-rtsp-server may still have a deferred call for the client without holding a reference.
    /// Such clients are therefore kept until the second clean-up.
    std::vector<Client> m_goneClients;
    std::vector<Client> m_longGoneClients;
    std::unique_ptr<PortListener> m_listener;
    std::unique_ptr<OnvifServer> m_onvif; ///< Null without the option.
    guint m_cleanUpTimer = 0;
};

} // namespace lumvik::test
