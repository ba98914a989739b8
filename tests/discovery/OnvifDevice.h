#pragma once

#include "discovery/XmlTree.h"

#include <QByteArray>
#include <QList>
#include <QTcpServer>
#include <QUrl>

#include <functional>
#include <map>

class QTcpSocket;

namespace lumvik::test {

/// A request as the device received it.
struct OnvifQuestion {
    QByteArray target;                        ///< What stands in the start line.
    std::map<QByteArray, QByteArray> headers; ///< Names in lower case.
    QString call;                             ///< The name of the element in the body.
    XmlElement envelope;

    /// The UsernameToken, or null.
    [[nodiscard]] const XmlElement *token() const {
        return envelope.find({u"Header", u"Security", u"UsernameToken"});
    }
    [[nodiscard]] QByteArray header(const QByteArray &name) const {
        const auto found = headers.find(name);
        return found == headers.end() ? QByteArray() : found->second;
    }
};

/// A device on the loopback interface that replies to SOAP requests as the test decides. It works
/// in the event loop of the test.
class OnvifDevice {
  public:
    /// As a reply: closes the connection without one.
    static constexpr const char *closeConnection = "close";

    /// Returns the whole reply with its head. An empty reply leaves the client waiting.
    using Handler = std::function<QByteArray(const OnvifQuestion &)>;

    explicit OnvifDevice(Handler handler,
                         const QHostAddress &address = QHostAddress(QHostAddress::LocalHost));

    [[nodiscard]] QUrl service() const;
    /// All questions so far, in order.
    [[nodiscard]] const QList<OnvifQuestion> &questions() const { return m_questions; }
    /// The names of the calls so far. One that contained a login has a "+" behind it.
    [[nodiscard]] QStringList calls() const;

    /// Returns a reply with a status, and with `headers`, each with its line break.
    [[nodiscard]] static QByteArray reply(int status, const QByteArray &body,
                                          const QByteArray &headers = {});
    /// Returns a reply whose SOAP body is `content`.
    [[nodiscard]] static QByteArray message(const QByteArray &content, int status = 200,
                                            const QByteArray &headers = {});
    /// Returns the fault with which cameras refuse a UsernameToken.
    [[nodiscard]] static QByteArray notAuthorized();
    /// Returns a good reply to each call of a camera with two profiles, whose host is 10.0.0.1.
    [[nodiscard]] static QByteArray usualReply(const OnvifQuestion &question);

  private:
    void read(QTcpSocket &socket, QByteArray &received);

    Handler m_handler;
    QTcpServer m_server;
    QList<OnvifQuestion> m_questions;
};

} // namespace lumvik::test
