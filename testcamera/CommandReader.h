#pragma once

#include <QByteArray>
#include <QString>

#include <glib.h>

#include <functional>

namespace lumvik::test {

/// Reads lines from standard input as they arrive. Must be used on the main thread with GLib's
/// default context.
class CommandReader {
  public:
    using LineHandler = std::function<void(const QString &)>;
    using EndHandler = std::function<void()>;

    /// `onEnd` is called once when standard input has ended. The last line need not end with a line
    /// feed.
    CommandReader(LineHandler onLine, EndHandler onEnd);
    CommandReader(const CommandReader &) = delete;
    CommandReader &operator=(const CommandReader &) = delete;
    ~CommandReader();

  private:
    [[nodiscard]] bool readAvailable();

    LineHandler m_onLine;
    EndHandler m_onEnd;
    QByteArray m_pending;
    guint m_source = 0;
};

} // namespace lumvik::test
