#include "testcamera/CommandReader.h"

#include <glib-unix.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace lumvik::test {

CommandReader::CommandReader(LineHandler onLine, EndHandler onEnd)
    : m_onLine(std::move(onLine))
    , m_onEnd(std::move(onEnd)) {
    const GUnixFDSourceFunc ready = [](gint, GIOCondition, gpointer data) -> gboolean {
        auto *self = static_cast<CommandReader *>(data);
        if (self->readAvailable())
            return G_SOURCE_CONTINUE;
        self->m_source = 0;
        return G_SOURCE_REMOVE;
    };
    const auto conditions = static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR);
    m_source = g_unix_fd_add(STDIN_FILENO, conditions, ready, this);
}

CommandReader::~CommandReader() {
    if (m_source != 0)
        g_source_remove(m_source);
}

/// Returns whether more input can arrive.
bool CommandReader::readAvailable() {
    std::array<char, 1024> chunk{};
    const ssize_t count = read(STDIN_FILENO, chunk.data(), chunk.size());
    if (count < 0 && (errno == EINTR || errno == EAGAIN))
        return true;
    if (count > 0)
        m_pending.append(chunk.data(), count);
    else if (!m_pending.isEmpty())
        m_pending.append('\n');
    for (qsizetype end = m_pending.indexOf('\n'); end >= 0; end = m_pending.indexOf('\n')) {
        const QString line = QString::fromUtf8(m_pending.left(end)).trimmed();
        m_pending.remove(0, end + 1);
        if (!line.isEmpty())
            m_onLine(line);
    }
    if (count <= 0)
        m_onEnd();
    return count > 0;
}

} // namespace lumvik::test
