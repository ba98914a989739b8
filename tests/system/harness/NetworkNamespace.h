#pragma once

#include "ChildProcess.h"

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>
#include <memory>

namespace lumvik::test {

/// A network of a test's own, with nothing in it but a loopback interface: a network and a mount
/// namespace, which exist as long as the object or a program in them. Nothing that is done in it
/// changes anything outside.
///
/// Programs enter it through `launcher()`. Main thread only.
class NetworkNamespace {
  public:
    /// Why this system does not let the tests make one; null where it does.
    [[nodiscard]] static QString obstacle();

    /// Makes it; inside the user namespace of `owner`, where there is one, so that interfaces can
    /// be passed between the two.
    [[nodiscard]] testing::AssertionResult start(const NetworkNamespace *owner = nullptr);

    /// A command that becomes the program whose path and arguments follow it, inside.
    [[nodiscard]] QStringList launcher() const;
    /// The process that stands for the namespace, as `ip link add … netns` takes it.
    [[nodiscard]] QString processId() const;

    /// Runs a command inside, the words of which are separated by spaces, and waits for it. What it
    /// writes is left in `output`.
    [[nodiscard]] testing::AssertionResult run(const QString &command,
                                               QByteArray *output = nullptr) const;
    /// Lets a system's file be another one, inside.
    [[nodiscard]] testing::AssertionResult replaceFile(const QString &path,
                                                       const QByteArray &content);
    /// Calls `action` on a thread that is inside. Only for the superuser.
    [[nodiscard]] testing::AssertionResult
    call(const std::function<testing::AssertionResult()> &action) const;

  private:
    std::unique_ptr<ChildProcess> m_holder;
    QTemporaryDir m_folder; // the replaced files
};

/// Two machines and the cable between them: the viewer's, with the interface "viewer0", and the
/// camera's, each a network namespace.
class CameraNetwork {
  public:
    static const QString viewerAddress;
    static const QString cameraAddress;

    enum class Cable { plugged, unplugged };

    [[nodiscard]] testing::AssertionResult start(Cable cable = Cable::plugged);
    /// Makes the cable and gives both ends their addresses. The system takes a moment to find that
    /// it can be used.
    [[nodiscard]] testing::AssertionResult plugIn() const;

    [[nodiscard]] NetworkNamespace &viewer() { return m_viewer; }
    [[nodiscard]] const NetworkNamespace &camera() const { return m_camera; }

    /// From now on names are looked up as these files say; without name servers in the hosts file
    /// alone.
    [[nodiscard]] testing::AssertionResult useNameServers(const QByteArray &resolvConf,
                                                          const QByteArray &hosts);
    /// An address to which everything is sent and from which nothing comes.
    [[nodiscard]] testing::AssertionResult addSwallowingAddress(const QString &address);

  private:
    NetworkNamespace m_viewer;
    NetworkNamespace m_camera;
};

} // namespace lumvik::test
