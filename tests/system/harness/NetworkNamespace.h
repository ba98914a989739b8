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

/// A private network with only a loopback interface. The network consists of a network namespace
/// and a mount namespace. Both namespaces exist until the object is destroyed and no program runs
/// in them any more. Changes inside the namespaces do not affect the rest of the system.
///
/// Programs enter the namespaces through `launcher()`. Main thread only.
class NetworkNamespace {
  public:
    /// The reason why this system does not permit network namespaces. Null when the system permits
    /// them.
    [[nodiscard]] static QString obstacle();

    /// Creates the namespaces. If there is an `owner`, the new namespaces belong to the owner's
    /// user namespace, so that network interfaces can be moved between the two networks.
    [[nodiscard]] testing::AssertionResult start(const NetworkNamespace *owner = nullptr);

    /// A command that runs a program inside the namespace. The program's path and arguments must be
    /// appended to the command.
    [[nodiscard]] QStringList launcher() const;
    /// The id of the process that identifies the namespace in `ip link add … netns`.
    [[nodiscard]] QString processId() const;

    /// Runs a command inside the namespace and waits until the command has finished. `command` is
    /// split into words at spaces. The command's output is stored in `output`.
    [[nodiscard]] testing::AssertionResult run(const QString &command,
                                               QByteArray *output = nullptr) const;
    /// Replaces a system file inside the namespace.
    [[nodiscard]] testing::AssertionResult replaceFile(const QString &path,
                                                       const QByteArray &content);
    /// Calls `action` on a separate thread inside the namespace. Only the superuser may do this.
    [[nodiscard]] testing::AssertionResult
    call(const std::function<testing::AssertionResult()> &action) const;

  private:
    std::unique_ptr<ChildProcess> m_holder;
    QTemporaryDir m_folder; // contains the replacement files
};

/// Two simulated machines, one for the viewer and one for the camera, and a cable between them.
/// Each machine is a network namespace. The ends of the cable are the network interfaces "viewer0"
/// and "camera0".
class CameraNetwork {
  public:
    static const QString viewerAddress;
    static const QString cameraAddress;

    enum class Cable { plugged, unplugged };

    [[nodiscard]] testing::AssertionResult start(Cable cable = Cable::plugged);
    /// Creates the cable and assigns addresses to both ends. The system needs a moment before the
    /// connection is usable.
    [[nodiscard]] testing::AssertionResult plugIn() const;

    [[nodiscard]] NetworkNamespace &viewer() { return m_viewer; }
    [[nodiscard]] const NetworkNamespace &camera() const { return m_camera; }

    /// Replaces resolv.conf and hosts for the viewer. When `resolvConf` is empty, the viewer uses
    /// only the hosts file.
    [[nodiscard]] testing::AssertionResult useNameServers(const QByteArray &resolvConf,
                                                          const QByteArray &hosts);
    /// Makes all packets to `address` disappear without a reply.
    [[nodiscard]] testing::AssertionResult addBlackHoleAddress(const QString &address);

  private:
    NetworkNamespace m_viewer;
    NetworkNamespace m_camera;
};

} // namespace lumvik::test
