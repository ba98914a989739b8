#include "testcamera/SilentConnections.h"

#include <array>

namespace lumvik::test {

void SilentConnections::add(GObjectPointer<GSocket> socket) {
    GSocket *key = socket.get();
    g_socket_set_blocking(key, FALSE);
    Connection connection;
    connection.source.reset(g_socket_create_source(key, G_IO_IN, nullptr));
    const GSocketSourceFunc ready = [](GSocket *readable, GIOCondition, gpointer self) -> gboolean {
        return static_cast<SilentConnections *>(self)->discardInput(readable) ? G_SOURCE_CONTINUE
                                                                              : G_SOURCE_REMOVE;
    };
    g_source_set_callback(connection.source.get(), G_SOURCE_FUNC(ready), this, nullptr);
    g_source_attach(connection.source.get(), nullptr);
    connection.socket = std::move(socket);
    m_connections.emplace(key, std::move(connection));
}

void SilentConnections::closeAll() {
    for (auto &[key, connection] : m_connections)
        g_socket_close(key, nullptr);
    m_connections.clear();
}

/// Returns whether the connection still exists.
bool SilentConnections::discardInput(GSocket *socket) {
    std::array<char, 4096> ignored{};
    GError *raw = nullptr;
    const gssize count = g_socket_receive(socket, ignored.data(), ignored.size(), nullptr, &raw);
    const GErrorPointer error(raw);
    if (count > 0 || (error && g_error_matches(error.get(), G_IO_ERROR, G_IO_ERROR_WOULD_BLOCK)))
        return true;
    g_socket_close(socket, nullptr);
    m_connections.erase(socket);
    return false;
}

} // namespace lumvik::test
