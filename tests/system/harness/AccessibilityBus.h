#pragma once

#include "ChildProcess.h"
#include "ViewerProcess.h"
#include "fakes/PrivateBus.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

namespace lumvik::test {

class TestDesktop;

/// How a reader obtains information about a program: by querying the program each time, or from a
/// cache that the reader updates from events, as screen readers do.
enum class ReaderMemory { none, remembers };

/// A process that inspects another program as a screen reader does (accessibility.py). Main thread
/// only.
class AccessibilityReader {
  public:
    explicit AccessibilityReader(const QProcessEnvironment &environment);

    /// Selects the program to inspect, which must be running.
    [[nodiscard]] testing::AssertionResult lookAt(qint64 processId, ReaderMemory memory);
    /// Sends a command (see accessibility.py) and waits for the reply. An error, such as a missing
    /// accessible object, is returned as a JSON object with the key "error".
    [[nodiscard]] QJsonObject ask(const QJsonArray &command);

  private:
    ChildProcess m_process;
    qsizetype m_answers = 0; // the number of lines read from the process
};

/// A private session bus with the accessibility service AT-SPI. Main thread only. Must not outlive
/// its desktop.
class AccessibilityBus {
  public:
    explicit AccessibilityBus(const TestDesktop &desktop);

    /// Whether a message bus can be started on this machine.
    [[nodiscard]] bool isPossible() const { return m_bus.isRunning(); }
    /// Starts the accessibility service and waits until its bus is available.
    [[nodiscard]] testing::AssertionResult start();
    /// The environment variables that make a viewer visible on this bus.
    [[nodiscard]] ViewerProcess::Variables viewerVariables() const;

    /// The environment for programs that inspect other programs through this bus.
    [[nodiscard]] QProcessEnvironment environment() const;

  private:
    const TestDesktop &m_desktop;
    PrivateBus m_bus;
    QTemporaryDir m_runtimeFolder;
    std::unique_ptr<ChildProcess> m_service;
};

} // namespace lumvik::test
