#pragma once

#include "platform/network/NetworkConnection.h"
#include "platform/network/NetworkPathMonitor.h"

#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace lumvik::test {

/// A connection that reports states when the test calls `report`, on the thread of the test.
class FakeConnection final : public NetworkConnection {
  public:
    FakeConnection(QString toHost, std::uint16_t toPort, std::optional<State> answer)
        : host(std::move(toHost))
        , port(toPort)
        , m_answer(answer) {}

    void setStateUpdateHandler(StateUpdateHandler handler) override {
        m_handler = std::move(handler);
    }
    void start(SerialQueue &) override {
        isStarted = true;
        if (m_answer)
            report(*m_answer);
    }
    void cancel() override { isCancelled = true; }
    [[nodiscard]] ConnectionFailure failure() const override { return why; }

    /// Reports a state to the handler, if one is set.
    void report(State state) {
        if (const auto handler = m_handler)
            handler(state);
    }
    [[nodiscard]] bool hasHandler() const { return static_cast<bool>(m_handler); }

    const QString host;
    const std::uint16_t port;
    bool isStarted = false;
    bool isCancelled = false;
    ConnectionFailure why = ConnectionFailure::unreachable;

  private:
    std::optional<State> m_answer;
    StateUpdateHandler m_handler;
};

/// Creates FakeConnection objects and keeps all of them.
class FakeNetwork {
  public:
    /// The state that each connection reports when it is started. If empty, a started connection
    /// reports no state.
    std::optional<NetworkConnection::State> answer = NetworkConnection::State::ready;
    /// Why the connections fail, if they do.
    ConnectionFailure why = ConnectionFailure::unreachable;

    [[nodiscard]] NetworkConnectionFactory factory() {
        return [this](const QString &host, std::uint16_t port) {
            connections.push_back(std::make_shared<FakeConnection>(host, port, answer));
            connections.back()->why = why;
            return connections.back();
        };
    }

    std::vector<std::shared_ptr<FakeConnection>> connections; // in order of creation
};

/// Reports network paths to the controller under test when the test calls `report`, on the thread
/// of the test. A FakeNetworkPath must outlive the monitor that it makes.
class FakeNetworkPath {
  public:
    [[nodiscard]] std::unique_ptr<NetworkPathMonitor> makeMonitor() {
        return std::make_unique<Monitor>(*this);
    }
    void report(const NetworkPathSignature &signature) {
        if (isStarted && !isCancelled)
            m_handler(signature);
    }

    bool isStarted = false;
    bool isCancelled = false;
    std::function<void()> whenStarted;

  private:
    class Monitor final : public NetworkPathMonitor {
      public:
        explicit Monitor(FakeNetworkPath &path) : m_path(path) {}
        void setPathUpdateHandler(UpdateHandler handler) override {
            m_path.m_handler = std::move(handler);
        }
        void start(SerialQueue &) override {
            m_path.isStarted = true;
            m_path.isCancelled = false;
            if (m_path.whenStarted)
                m_path.whenStarted();
        }
        void cancel() override { m_path.isCancelled = true; }

      private:
        FakeNetworkPath &m_path;
    };

    NetworkPathMonitor::UpdateHandler m_handler;
};

} // namespace lumvik::test
