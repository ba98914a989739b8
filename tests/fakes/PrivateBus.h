#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace lumvik::test {

/// A message bus of a test's own, on which everybody may do everything. It runs from construction
/// to destruction.
///
///     const PrivateBus bus;
///     if (!bus.isRunning())
///         GTEST_SKIP() << "there is no dbus-daemon";
///
/// A program takes it for the system bus with `address()` in DBUS_SYSTEM_BUS_ADDRESS.
class PrivateBus {
  public:
    PrivateBus();
    PrivateBus(const PrivateBus &) = delete;
    PrivateBus &operator=(const PrivateBus &) = delete;
    ~PrivateBus();

    [[nodiscard]] bool isRunning() const { return !m_address.isEmpty(); }
    [[nodiscard]] QString address() const { return m_address; }

  private:
    QTemporaryDir m_folder;
    QProcess m_daemon;
    QString m_address;
};

} // namespace lumvik::test
