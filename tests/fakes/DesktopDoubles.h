#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusObjectPath>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

namespace lumvik::test {

/// A fake service on a private bus. Works only while the event loop of the thread that created it
/// runs.
class ServiceDouble : public QObject, protected QDBusContext {
    Q_OBJECT

  public:
    ~ServiceDouble() override;

    /// Whether this object owns its name on the bus.
    [[nodiscard]] bool isPresent() const { return m_isPresent; }

  protected:
    ServiceDouble(const QString &busAddress, const QString &service);
    /// Makes the object of the derived class reachable at `path`, and then takes the name.
    void appearAt(const QString &path);
    [[nodiscard]] QDBusConnection &bus() { return m_bus; }

  private:
    const QString m_service;
    const QString m_connectionName;
    QDBusConnection m_bus;
    bool m_isPresent = false;
};

/// The arguments of a request to show a notification.
struct NotifyRequest {
    QString program;
    uint replacedId = 0;
    QString icon;
    QString title;
    QString text;
    QStringList actions;
    QVariantMap hints;
};

/// A fake notification server. It numbers its notifications from 41 on.
class NotificationServerDouble final : public ServiceDouble {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

  public:
    explicit NotificationServerDouble(const QString &busAddress);

    [[nodiscard]] const QList<NotifyRequest> &requests() const { return m_requests; }
    [[nodiscard]] const QList<uint> &closed() const { return m_closed; }
    /// Refuses all requests from now on.
    void refuse() { m_refuses = true; }
    /// Does what a click on `action` does. Without a token, the server knows of none.
    void invoke(uint id, const QString &action, const QString &activationToken = {});
    /// Announces that the user has dismissed the notification.
    void dismiss(uint id);

  public Q_SLOTS:
    Q_SCRIPTABLE uint Notify(const QString &program, uint replacedId, const QString &icon,
                             const QString &title, const QString &text, const QStringList &actions,
                             const QVariantMap &hints, int timeout);
    Q_SCRIPTABLE void CloseNotification(uint id) { m_closed.append(id); }

  private:
    void announce(const QString &signal, const QVariantList &arguments);

    QList<NotifyRequest> m_requests;
    QList<uint> m_closed;
    uint m_lastId = 40;
    bool m_refuses = false;
};

/// A fake screen saver. It numbers its inhibitors from 7 on.
class ScreenSaverDouble final : public ServiceDouble {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.ScreenSaver")

  public:
    explicit ScreenSaverDouble(const QString &busAddress);

    [[nodiscard]] const QList<uint> &inhibitors() const { return m_inhibitors; }
    [[nodiscard]] const QStringList &programs() const { return m_programs; }
    /// Refuses all requests from now on.
    void refuse() { m_refuses = true; }

  public Q_SLOTS:
    Q_SCRIPTABLE uint Inhibit(const QString &program, const QString &reason);
    Q_SCRIPTABLE void UnInhibit(uint cookie) { m_inhibitors.removeOne(cookie); }

  private:
    QList<uint> m_inhibitors;
    QStringList m_programs;
    uint m_lastCookie = 6;
    bool m_refuses = false;
};

/// A fake portal that keeps the screen on.
class PortalDouble final : public ServiceDouble {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Inhibit")

  public:
    explicit PortalDouble(const QString &busAddress);
    ~PortalDouble() override;

    /// The flags of the inhibitors that are held.
    [[nodiscard]] const QList<uint> &inhibitors() const { return m_inhibitors; }

  public Q_SLOTS:
    Q_SCRIPTABLE QDBusObjectPath Inhibit(const QString &window, uint flags,
                                         const QVariantMap &options);

  private:
    class Request;

    QList<uint> m_inhibitors;
    Request *m_request;
};

} // namespace lumvik::test
