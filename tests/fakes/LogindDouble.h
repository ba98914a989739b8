#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>
#include <QList>
#include <QObject>
#include <QString>

#include <vector>

namespace lumvik::test {

/// The arguments of an inhibitor request.
struct InhibitRequest {
    QString what;
    QString who;
    QString why;
    QString mode;
};

/// A fake login manager on a private bus. The fake grants inhibitors, and announces sleep and
/// waking when the test asks for it. A LogindDouble works only while the event loop of the thread
/// that created it runs.
class LogindDouble : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")

  public:
    enum class Behaviour {
        granting,
        refusing,
        hesitating, ///< Grants an inhibitor only when `grantPending` is called.
    };

    explicit LogindDouble(const QString &busAddress, Behaviour behaviour = Behaviour::granting);
    ~LogindDouble() override;

    /// Whether this object owns the login manager's name on the bus.
    [[nodiscard]] bool isPresent() const { return m_isPresent; }
    [[nodiscard]] QList<InhibitRequest> requests() const { return m_requests; }
    /// Returns how many of the granted inhibitors are still held.
    [[nodiscard]] int openInhibitors() const;

    void grantPending();
    void setBehaviour(Behaviour behaviour) { m_behaviour = behaviour; }
    void announceSleep() { announce(true); }
    void announceWake() { announce(false); }

  public Q_SLOTS:
    Q_SCRIPTABLE QDBusUnixFileDescriptor Inhibit(const QString &what, const QString &who,
                                                 const QString &why, const QString &mode);

  private:
    void announce(bool isBeginning);
    [[nodiscard]] QDBusUnixFileDescriptor newInhibitor();

    const QString m_connectionName;
    QDBusConnection m_bus;
    bool m_isPresent = false;
    Behaviour m_behaviour;
    QList<InhibitRequest> m_requests;
    QList<QDBusMessage> m_pending;
    std::vector<int> m_inhibitors; ///< Read ends of pipes. Closing an inhibitor closes the write
                                   ///< end of its pipe.
};

/// Sends a sleep signal on `bus` from a connection that does not belong to the login manager. The
/// signal goes only to `receiver`, or to every receiver if `receiver` is empty.
void forgeSleep(QDBusConnection &bus, bool isBeginning, const QString &receiver = {});

} // namespace lumvik::test
