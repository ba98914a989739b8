#include "testcamera/PortListener.h"

#include <netinet/in.h>
#include <netinet/tcp.h>

namespace lumvik::test {

namespace {

tl::unexpected<QString> failure(GError *raw) {
    const GErrorPointer error(raw);
    return tl::unexpected(error ? QString::fromUtf8(error->message)
                                : QStringLiteral("unknown error"));
}

} // namespace

tl::expected<std::unique_ptr<PortListener>, QString>
PortListener::open(const QString &address, std::uint16_t port, Handler handler) {
    std::unique_ptr<PortListener> listener(new PortListener);
    listener->m_handler = std::move(handler);
    listener->m_address.reset(g_inet_address_new_from_string(address.toUtf8().constData()));
    listener->m_port = port;
    if (!listener->m_address)
        return tl::unexpected(QStringLiteral("not an address: %1").arg(address));
    if (const auto bound = listener->bind(); !bound)
        return tl::unexpected(bound.error());
    if (const auto listening = listener->listen(); !listening)
        return tl::unexpected(listening.error());
    return listener;
}

PortListener::~PortListener() {
    close();
}

tl::expected<void, QString> PortListener::bind() {
    GError *error = nullptr;
    m_socket.reset(g_socket_new(g_inet_address_get_family(m_address.get()), G_SOCKET_TYPE_STREAM,
                                G_SOCKET_PROTOCOL_TCP, &error));
    if (!m_socket)
        return failure(error);
    g_socket_set_blocking(m_socket.get(), FALSE);
    // On the loopback interface, segments would have 64 KB and leave a throttled connection in
    // lumps.
    constexpr gint ethernetSegment = 1448;
    g_socket_set_option(m_socket.get(), IPPROTO_TCP, TCP_MAXSEG, ethernetSegment, nullptr);
    g_socket_set_listen_backlog(m_socket.get(), 64);
    const GObjectPointer<GSocketAddress> wanted(g_inet_socket_address_new(m_address.get(), m_port));
    if (!g_socket_bind(m_socket.get(), wanted.get(), TRUE, &error))
        return failure(error);
    const GObjectPointer<GSocketAddress> bound(g_socket_get_local_address(m_socket.get(), &error));
    if (!bound)
        return failure(error);
    m_port = g_inet_socket_address_get_port(G_INET_SOCKET_ADDRESS(bound.get()));
    return {};
}

tl::expected<void, QString> PortListener::refuse() {
    if (m_source == nullptr)
        return {};
    close();
    return bind();
}

tl::expected<void, QString> PortListener::listen() {
    if (m_source != nullptr)
        return {};
    GError *error = nullptr;
    if (!g_socket_listen(m_socket.get(), &error))
        return failure(error);
    m_source = g_socket_create_source(m_socket.get(), G_IO_IN, nullptr);
    const GSocketSourceFunc ready = [](GSocket *, GIOCondition, gpointer self) -> gboolean {
        static_cast<PortListener *>(self)->acceptConnection();
        return G_SOURCE_CONTINUE;
    };
    g_source_set_callback(m_source, G_SOURCE_FUNC(ready), this, nullptr);
    g_source_attach(m_source, nullptr);
    return {};
}

void PortListener::close() {
    if (m_source != nullptr) {
        g_source_destroy(m_source);
        g_source_unref(m_source);
        m_source = nullptr;
    }
    if (m_socket)
        g_socket_close(m_socket.get(), nullptr);
    m_socket.reset();
}

void PortListener::acceptConnection() {
    GObjectPointer<GSocket> connection(g_socket_accept(m_socket.get(), nullptr, nullptr));
    if (!connection)
        return; // the client has disconnected in the meantime
    // Without TCP_NODELAY the end of a picture would wait for the acknowledgement of its beginning.
    g_socket_set_option(connection.get(), IPPROTO_TCP, TCP_NODELAY, 1, nullptr);
    m_handler(std::move(connection));
}

} // namespace lumvik::test
