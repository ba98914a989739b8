#pragma once

#include "testcamera/GStreamerHandles.h"

#include <gio/gio.h>

#include <map>

namespace lumvik::test {

/// Accepted connections that never get a reply. Incoming data is read and discarded. The class must
/// be used on the main thread with GLib's default context.
class SilentConnections {
  public:
    SilentConnections() = default;
    SilentConnections(const SilentConnections &) = delete;
    SilentConnections &operator=(const SilentConnections &) = delete;
    ~SilentConnections() { closeAll(); }

    void add(GObjectPointer<GSocket> socket);
    /// Returns the number of connections that the clients have not closed yet.
    [[nodiscard]] std::size_t count() const { return m_connections.size(); }
    void closeAll();

  private:
    struct SourceDestroy {
        void operator()(GSource *source) const {
            g_source_destroy(source);
            g_source_unref(source);
        }
    };
    struct Connection {
        GObjectPointer<GSocket> socket;
        std::unique_ptr<GSource, SourceDestroy> source;
    };

    [[nodiscard]] bool discardInput(GSocket *socket);

    std::map<GSocket *, Connection> m_connections;
};

} // namespace lumvik::test
