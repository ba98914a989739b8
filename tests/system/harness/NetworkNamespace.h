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

/// A private network with only a loopback interface. It consists of a network namespace and a mount
/// namespace, which exist as long as the object or a program in them. Changes inside do not affect
/// the rest of the system.
///
/// Programs enter it through `launcher()`. Main thread only.
class NetworkNamespace {
  public:
    /// The reason why this system does not permit such namespaces. Null when it does.
    [[nodiscard]] static QString obstacle();

    /// Creates the namespaces. With an `owner` they belong to its user namespace, so that
    /// interfaces can be moved between the two.
    [[nodiscard]] testing::AssertionResult start(const NetworkNamespace *owner = nullptr);

    /// A command that executes the program whose path and arguments follow it inside the namespace.
    [[nodiscard]] QStringList launcher() const;
    /// The process that represents the namespace for `ip link add … netns`.
    [[nodiscard]] QString processId() const;

    /// Runs a command inside the namespace and waits for it. Spaces separate its words. Its output
    /// is stored in `output`.
    [[nodiscard]] testing::AssertionResult run(const QString &command,
                                               QByteArray *output = nullptr) const;
    /// Replaces a system file inside the namespace.
    [[nodiscard]] testing::AssertionResult replaceFile(const QString &path,
                                                       const QByteArray &content);
    /// Calls `action` on a thread inside the namespace. Only for the superuser.
    [[nodiscard]] testing::AssertionResult
    call(const std::function<testing::AssertionResult()> &action) const;

  private:
    std::unique_ptr<ChildProcess> m_holder;
    QTemporaryDir m_folder; // the replaced files
};

/// Two simulated machines and the cable between them. The machine of the viewer, with the interface
/// "viewer0", and that of the camera are network namespaces.
class CameraNetwork {
  public:
    static const QString viewerAddress;
    static const QString cameraAddress;

    enum class Cable { plugged, unplugged };

    [[nodiscard]] testing::AssertionResult start(Cable cable = Cable::plugged);
    /// Creates the cable and gives both ends their addresses. The system needs a moment before the
    /// connection is usable.
    [[nodiscard]] testing::AssertionResult plugIn() const;

    [[nodiscard]] NetworkNamespace &viewer() { return m_viewer; }
    [[nodiscard]] const NetworkNamespace &camera() const { return m_camera; }

    /// Replaces resolv.conf and hosts for the viewer. Without name servers, only the hosts file is
    /// used.
    [[nodiscard]] testing::AssertionResult useNameServers(const QByteArray &resolvConf,
                                                          const QByteArray &hosts);
    /// Makes an address reachable that swallows every packet and never replies.
    [[nodiscard]] testing::AssertionResult addBlackHoleAddress(const QString &address);

  private:
    NetworkNamespace m_viewer;
    NetworkNamespace m_camera;
};

} // namespace lumvik::test
