#pragma once

#include "engine/link/CameraLink.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace lumvik::test {

/// Creates camera links that connect to nothing and records what the controller does with them.
class FakeCameraLinks {
  public:
    /// Whether the factory creates links. If not, the engine connects to cameras itself.
    bool areEnabled = false;
    /// Whether there is a factory. If not, the user wants the engine to connect to cameras itself.
    bool areWanted = true;
    /// What happened, for example "open 1 rtsp://camera/live", "close 1", "wait 1", "destroy 1".
    std::vector<std::string> events;
    /// Reports a fact about the newest link to the controller.
    LinkFactHandler report;
    /// The user name and password that the newest link was given.
    std::optional<RtspCredentials> credentials;
    /// Called at each event.
    std::function<void(const std::string &)> eventHandler;

    [[nodiscard]] CameraLinkFactory factory() {
        if (!areWanted)
            return {};
        return [this](const CameraEndpoint &endpoint,
                      LinkFactHandler handler) -> std::unique_ptr<CameraLink> {
            if (!areEnabled)
                return nullptr;
            report = std::move(handler);
            credentials = endpoint.credentials;
            const std::string number = std::to_string(++m_count);
            record("open " + number + ' ' + endpoint.uri.toStdString());
            return std::make_unique<Link>(*this, number);
        };
    }

  private:
    class Link final : public CameraLink {
      public:
        Link(FakeCameraLinks &links, std::string number)
            : m_links(links)
            , m_number(std::move(number)) {}
        ~Link() override { m_links.record("destroy " + m_number); }
        [[nodiscard]] QByteArray engineAddress() const override {
            return QByteArray::fromStdString("rtsp://127.0.0.1:4000/" + m_number);
        }
        void close() override { m_links.record("close " + m_number); }
        bool waitUntilClosed(std::chrono::milliseconds) override {
            m_links.record("wait " + m_number);
            return true;
        }

      private:
        FakeCameraLinks &m_links;
        const std::string m_number;
    };

    void record(const std::string &event) {
        events.push_back(event);
        if (eventHandler)
            eventHandler(event);
    }

    int m_count = 0;
};

} // namespace lumvik::test
