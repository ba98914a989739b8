#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace lumvik::test {

/// A message bus for one test, without access restrictions. The constructor starts the bus, and the
/// destructor ends it.
///
///     const PrivateBus bus;
///     if (!bus.isRunning())
///         GTEST_SKIP() << "there is no dbus-daemon";
///
/// A program uses this bus as the system bus if DBUS_SYSTEM_BUS_ADDRESS contains `address()`.
class PrivateBus {
  public:
    PrivateBus();
    PrivateBus(const PrivateBus &) = delete;
    PrivateBus &operator=(const PrivateBus &) = delete;
    ~PrivateBus();

    [[nodiscard]] bool isRunning() const { return !m_address.isEmpty(); }
    [[nodiscard]] QString address() const { return m_address; }
    /// The file of the bus's socket.
    [[nodiscard]] QString socket() const { return m_folder.filePath(QStringLiteral("socket")); }

  private:
    QTemporaryDir m_folder;
    QProcess m_daemon;
    QString m_address;
};

} // namespace lumvik::test
