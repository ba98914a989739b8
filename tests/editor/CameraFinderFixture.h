#pragma once

#include "discovery/OnvifDevice.h"
#include "editor/CameraFinderController.h"
#include "fakes/VirtualMainQueue.h"

#include <QTest>
#include <QTimer>

namespace lumvik::test {

/// A search on the loopback interface, which finds what the test reports by `find`, and a device
/// that can be asked for its streams. Timers are virtual.
class FinderNetwork {
  public:
    FinderNetwork() {
        // Work that is due runs in the event loop, in which the tests wait for the device.
        QObject::connect(&m_turns, &QTimer::timeout, &m_turns, [this] { queue.runPending(); });
        m_turns.start(1);
    }

    [[nodiscard]] CameraFinderController::MakeSearch makeSearch() {
        return [this] {
            auto made = std::make_unique<CameraSearch>(
                queue, CameraSearchOptions{.interfaces = CameraSearchOptions::Interfaces::loopback,
                                           .port = discoveryPort});
            search = made.get();
            return made;
        };
    }

    /// A camera whose service is the device.
    [[nodiscard]] FoundCamera camera(const QString &name) const {
        return {.identity = QStringLiteral("uuid:") + name,
                .serviceAddress = device.service(),
                .name = name,
                .hardware = QStringLiteral("Model 1"),
                .location = {}};
    }
    void find(const QString &name) const { Q_EMIT search->found(camera(name)); }
    void endSearch(CameraSearch::Ending ending = CameraSearch::Ending::complete) const {
        search->stop();
        Q_EMIT search->ended(ending);
    }

    /// Whether a question has the login of `anna`, without checking the password.
    [[nodiscard]] static bool isAnna(const OnvifQuestion &question) {
        const XmlElement *token = question.token();
        return token != nullptr && token->textAt({u"Username"}) == QLatin1String("anna");
    }

    /// A port on which no device of the test listens.
    static constexpr std::uint16_t discardPort = 9;

    std::uint16_t discoveryPort = discardPort;
    VirtualMainQueue queue;
    /// How the device replies. The usual device tells its time to everybody, and all else to anna.
    OnvifDevice::Handler handler = [](const OnvifQuestion &question) {
        return question.call == QLatin1String("GetSystemDateAndTime") || isAnna(question)
                   ? OnvifDevice::usualReply(question)
                   : OnvifDevice::notAuthorized();
    };
    OnvifDevice device{[this](const OnvifQuestion &question) { return handler(question); }};
    CameraSearch *search = nullptr; ///< Owned by the controller.

  private:
    QTimer m_turns;
};

} // namespace lumvik::test
