#include "discovery/CameraSearch.h"

#include <QNetworkDatagram>
#include <QNetworkInterface>
#include <QPointer>
#include <QUdpSocket>

#include <algorithm>

namespace lumvik {

namespace {

// The groups of WS-Discovery. The IPv6 group is valid on one link.
const QHostAddress group4(QStringLiteral("239.255.255.250"));
const QString group6 = QStringLiteral("ff02::c");

/// Computers with many virtual networks have some dozens of addresses. More would only fill the
/// networks with probes.
constexpr std::size_t mostSockets = 64;
/// How many replies are read in one turn of the event loop, so that a flood does not hold up the
/// user interface.
constexpr int mostDatagramsPerTurn = 32;
/// How many replies are read in a search. A thousand cameras may reply to each of six probes.
constexpr int mostDatagrams = 10'000;

bool isUsable(const QNetworkInterface &interface, CameraSearchOptions::Interfaces wanted) {
    const QNetworkInterface::InterfaceFlags flags = interface.flags();
    if (!flags.testFlag(QNetworkInterface::IsUp) || !flags.testFlag(QNetworkInterface::IsRunning))
        return false;
    // Linux does not say of the loopback interface that it can multicast, although it can.
    const bool isLoopback = flags.testFlag(QNetworkInterface::IsLoopBack);
    if (wanted == CameraSearchOptions::Interfaces::loopback)
        return isLoopback;
    return !isLoopback && flags.testFlag(QNetworkInterface::CanMulticast);
}

/// Returns an IPv4 address that arrived in an IPv6 form as what it is.
QHostAddress plainAddress(const QHostAddress &address) {
    bool isVersion4 = false;
    const quint32 number = address.toIPv4Address(&isVersion4);
    return isVersion4 ? QHostAddress(number) : address;
}

/// How good an address is to keep; see `foundAtBetterAddress`.
int rankOf(const QHostAddress &address) {
    const bool isVersion4 = address.protocol() == QAbstractSocket::IPv4Protocol;
    return (address.isLinkLocal() ? 0 : 2) + (isVersion4 ? 1 : 0);
}

} // namespace

CameraSearch::CameraSearch(MainQueue &queue, CameraSearchOptions options, QObject *parent)
    : QObject(parent)
    , m_queue(queue)
    , m_options(options) {}

CameraSearch::~CameraSearch() {
    stop();
}

void CameraSearch::start() {
    stop();
    m_isSearching = true;
    m_hasSent = false;
    m_datagrams = 0;
    m_systemError.clear();
    m_ranks.clear();
    bool hasInterface = false;
    const QList<QNetworkInterface> interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface &interface : interfaces) {
        if (isUsable(interface, m_options.interfaces) && !interface.addressEntries().isEmpty()) {
            hasInterface = true;
            openSockets(interface);
        }
    }
    if (!hasInterface)
        return schedule(0, &CameraSearch::endWithoutInterface);
    for (const double time : probeTimes) {
        const bool isLast = time == probeTimes.back();
        schedule(time, isLast ? &CameraSearch::sendLastProbes : &CameraSearch::sendProbes);
    }
    schedule(duration, &CameraSearch::endComplete);
}

void CameraSearch::stop() {
    for (const auto &timer : m_timers)
        timer->cancel();
    m_timers.clear();
    // The search may be stopped by a slot while one of its sockets is being read.
    for (Network &network : m_networks) {
        network.socket->disconnect(this);
        network.socket.release()->deleteLater();
    }
    m_networks.clear();
    m_isSearching = false;
    ++m_searchNumber;
}

/// A camera replies only to a sender in its own subnet, so each IPv4 address of an interface has a
/// socket. By IPv6, all devices on the link can reply to the address that is valid there.
void CameraSearch::openSockets(const QNetworkInterface &interface) {
    QHostAddress address6;
    const QList<QNetworkAddressEntry> entries = interface.addressEntries();
    for (const QNetworkAddressEntry &entry : entries) {
        const QHostAddress address = entry.ip();
        if (address.protocol() == QAbstractSocket::IPv4Protocol)
            openSocket(interface, address);
        else if (address6.isNull() || address.isLinkLocal())
            address6 = address;
    }
    if (!address6.isNull())
        openSocket(interface, address6);
}

void CameraSearch::openSocket(const QNetworkInterface &interface, const QHostAddress &address) {
    if (m_networks.size() >= mostSockets)
        return;
    Network network{std::make_unique<QUdpSocket>(), group4, {}};
    if (address.protocol() == QAbstractSocket::IPv6Protocol) {
        network.group = QHostAddress(group6);
        network.group.setScopeId(interface.name());
    }
    QUdpSocket *const socket = network.socket.get();
    if (!socket->bind(address, 0)) {
        m_systemError = socket->errorString();
        return;
    }
    socket->setMulticastInterface(interface);
    connect(socket, &QUdpSocket::readyRead, this, [this, socket] { readReplies(*socket); });
    m_networks.push_back(std::move(network));
}

void CameraSearch::schedule(double seconds, void (CameraSearch::*step)()) {
    m_timers.push_back(m_queue.after(seconds, [this, step] { (this->*step)(); }));
}

/// Each probe has an identifier of its own, also on each network: many devices do not reply twice
/// to the same one. The first reply may have been lost, and a device with several addresses shall
/// reply from each.
void CameraSearch::sendProbes() {
    for (const ProbeKind kind : {ProbeKind::videoTransmitters, ProbeKind::anyDevice}) {
        for (Network &network : m_networks) {
            network.messageIds.append(makeMessageId());
            const QByteArray message = probeMessage(kind, network.messageIds.back());
            if (network.socket->writeDatagram(message, network.group, m_options.port) ==
                message.size())
                m_hasSent = true;
            else
                m_systemError = network.socket->errorString();
        }
    }
}

void CameraSearch::sendLastProbes() {
    sendProbes();
    if (!m_hasSent)
        end(Ending::notSent);
}

void CameraSearch::readReplies(QUdpSocket &socket) {
    // A slot may stop the search, start another one, or destroy this object.
    const auto isCurrent = [this, self = QPointer(this), number = m_searchNumber] {
        return self && m_searchNumber == number;
    };
    for (int count = 0; count < mostDatagramsPerTurn && isCurrent() && socket.hasPendingDatagrams();
         ++count) {
        const QNetworkDatagram datagram = socket.receiveDatagram();
        if (++m_datagrams > mostDatagrams || datagram.senderAddress().isNull())
            continue;
        const QHostAddress sender = plainAddress(datagram.senderAddress());
        const auto cameras = camerasInReply(datagram.data(), sender, messageIdsOf(socket));
        for (const FoundCamera &camera : cameras)
            if (isCurrent())
                take(camera, sender);
    }
}

QStringList CameraSearch::messageIdsOf(const QUdpSocket &socket) const {
    const auto network =
        std::find_if(m_networks.begin(), m_networks.end(),
                     [&socket](const Network &each) { return each.socket.get() == &socket; });
    return network == m_networks.end() ? QStringList() : network->messageIds;
}

void CameraSearch::take(const FoundCamera &camera, const QHostAddress &sender) {
    const int rank = rankOf(sender);
    const auto known = m_ranks.find(camera.identity);
    if (known != m_ranks.end()) {
        if (rank <= known->second)
            return;
        known->second = rank;
        Q_EMIT foundAtBetterAddress(camera);
    } else if (m_ranks.size() < mostCamerasFound) {
        m_ranks.emplace(camera.identity, rank);
        Q_EMIT found(camera);
    }
}

void CameraSearch::end(Ending ending) {
    stop();
    Q_EMIT ended(ending);
}

} // namespace lumvik
