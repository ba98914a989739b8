#pragma once

#include "discovery/XmlTree.h"

#include <QNetworkDatagram>
#include <QNetworkInterface>
#include <QTest>
#include <QUdpSocket>

#include <gtest/gtest.h>

namespace lumvik::test {

/// A device that hears the probes of a search on a port of its own, and replies when the test tells
/// it to.
class SearchedDevice {
  public:
    /// The loopback interface.
    [[nodiscard]] static QNetworkInterface loopback() {
        const auto interfaces = QNetworkInterface::allInterfaces();
        for (const QNetworkInterface &each : interfaces)
            if (each.flags().testFlag(QNetworkInterface::IsLoopBack))
                return each;
        return {};
    }

    /// Hears the probes that are sent to WS-Discovery's group of the same IP version as `any`, from
    /// the interfaces `interfaces`.
    explicit SearchedDevice(const QList<QNetworkInterface> &interfaces = {loopback()},
                            const QHostAddress &any = QHostAddress::AnyIPv4,
                            std::uint16_t port = 0) {
        const bool isVersion4 = any.protocol() == QAbstractSocket::IPv4Protocol;
        const QHostAddress group(isVersion4 ? QStringLiteral("239.255.255.250")
                                            : QStringLiteral("ff02::c"));
        EXPECT_TRUE(m_socket.bind(any, port));
        for (const QNetworkInterface &interface : interfaces)
            EXPECT_TRUE(m_socket.joinMulticastGroup(group, interface));
        QObject::connect(&m_socket, &QUdpSocket::readyRead, &m_socket, [this] {
            while (m_socket.hasPendingDatagrams())
                m_probes.append(m_socket.receiveDatagram());
        });
    }

    [[nodiscard]] std::uint16_t port() const { return m_socket.localPort(); }
    [[nodiscard]] const QList<QNetworkDatagram> &probes() const { return m_probes; }
    /// Waits until `count` probes have arrived in all.
    [[nodiscard]] bool hears(qsizetype count) {
        return QTest::qWaitFor([&] { return m_probes.size() >= count; }, 10'000);
    }
    [[nodiscard]] static QString messageId(const QNetworkDatagram &probe) {
        const auto envelope = parsedXml(probe.data());
        return envelope ? envelope->textAt({u"Header", u"MessageID"}) : QString();
    }

    /// Replies to a probe as the device `endpoint`.
    void reply(const QNetworkDatagram &probe, const QByteArray &endpoint,
               const QByteArray &types = "dn:NetworkVideoTransmitter") {
        const QByteArray message =
            "<s:Envelope xmlns:s='s' xmlns:a='a' xmlns:d='d'><s:Header><a:RelatesTo>" +
            messageId(probe).toUtf8() +
            "</a:RelatesTo></s:Header><s:Body><d:ProbeMatches><d:ProbeMatch><a:EndpointReference>"
            "<a:Address>" +
            endpoint + "</a:Address></a:EndpointReference><d:Types>" + types +
            "</d:Types></d:ProbeMatch></d:ProbeMatches></s:Body></s:Envelope>";
        EXPECT_EQ(m_socket.writeDatagram(message, probe.senderAddress(),
                                         static_cast<quint16>(probe.senderPort())),
                  message.size());
    }

  private:
    QUdpSocket m_socket;
    QList<QNetworkDatagram> m_probes;
};

} // namespace lumvik::test
