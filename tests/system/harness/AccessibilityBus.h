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

/// What a reader knows of the program it looks at: what it asks for each time, or what it was told
/// once and the news since, as screen readers do.
enum class ReaderMemory { none, remembers };

/// A program that looks at another one as a screen reader does (accessibility.py). Main thread
/// only.
class AccessibilityReader {
  public:
    explicit AccessibilityReader(const QProcessEnvironment &environment);

    /// Begins to look at a program, which must run.
    [[nodiscard]] testing::AssertionResult lookAt(qint64 processId, ReaderMemory memory);
    /// Gives a command (see accessibility.py) and waits for its answer. A refusal, such as that
    /// there is no such object, is an object with "error".
    [[nodiscard]] QJsonObject ask(const QJsonArray &command);

  private:
    ChildProcess m_process;
    qsizetype m_answers = 0; // how many lines of the process have been read
};

/// A session bus of a test's own with the service for assistive technology on it (AT-SPI). Main
/// thread only; must not outlive its desktop.
class AccessibilityBus {
  public:
    explicit AccessibilityBus(const TestDesktop &desktop);

    /// Whether there is a message bus at all on this machine.
    [[nodiscard]] bool isPossible() const { return m_bus.isRunning(); }
    /// Starts the service and waits until it is there.
    [[nodiscard]] testing::AssertionResult start();
    /// What a viewer needs in its environment to be seen here.
    [[nodiscard]] ViewerProcess::Variables viewerVariables() const;

    /// What programs need that look at others here.
    [[nodiscard]] QProcessEnvironment environment() const;

  private:
    const TestDesktop &m_desktop;
    PrivateBus m_bus;
    QTemporaryDir m_runtimeFolder;
    std::unique_ptr<ChildProcess> m_service;
};

} // namespace lumvik::test
