#pragma once

#include "platform/network/HostLookup.h"

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace lumvik::test {

/// Provides resolvers whose look-ups do not return until `letGo` is called, as with a name server
/// that does not reply. Tests use these resolvers instead of the system's resolver. The resolvers
/// may outlive this object. All functions may be called on any thread.
///
///     const HangingResolver hanging;
///     TcpConnection connection(host, 554, hanging.resolver());
///     connection.start(queue);
///     ASSERT_TRUE(hanging.waitUntilAsked());
///     // ...
///     EXPECT_TRUE(hanging.letGo());
class HangingResolver {
  public:
    /// The time limit of `waitUntilAsked` and `letGo`, which usually wait only for milliseconds.
    static constexpr std::chrono::seconds patience{30};

    /// Returns a resolver that resolves every name to `answer`, after `letGo` was called.
    [[nodiscard]] NameResolver resolver(std::vector<SocketAddress> answer = {}) const {
        return [shared = m_shared, answer = std::move(answer)](const std::string &,
                                                               std::uint16_t) -> LookupResult {
            std::unique_lock lock(shared->mutex);
            ++shared->asked;
            shared->changed.notify_all();
            shared->changed.wait(lock, [&] { return shared->isLetGo; });
            ++shared->answered;
            shared->changed.notify_all();
            return answer;
        };
    }

    /// Returns how many look-ups have been started so far.
    [[nodiscard]] int asked() const {
        const std::scoped_lock lock(m_shared->mutex);
        return m_shared->asked;
    }
    /// Waits for the first look-up without running an event loop. Returns false if no look-up
    /// starts within `patience`.
    [[nodiscard]] bool waitUntilAsked() const {
        std::unique_lock lock(m_shared->mutex);
        return m_shared->changed.wait_for(lock, patience, [&] { return m_shared->asked > 0; });
    }
    /// Lets all look-ups return from now on, and waits for the look-ups in progress without running
    /// an event loop. Returns false if these look-ups do not return within `patience`.
    [[nodiscard]] bool letGo() const {
        std::unique_lock lock(m_shared->mutex);
        m_shared->isLetGo = true;
        m_shared->changed.notify_all();
        return m_shared->changed.wait_for(lock, patience,
                                          [&] { return m_shared->answered == m_shared->asked; });
    }

  private:
    struct Shared {
        std::mutex mutex;
        std::condition_variable changed;
        bool isLetGo = false;
        int asked = 0;
        int answered = 0;
    };
    std::shared_ptr<Shared> m_shared = std::make_shared<Shared>();
};

} // namespace lumvik::test
