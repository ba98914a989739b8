#include "app/SingleInstance.h"

#include "configuration/CameraConfigurationStore.h"
#include "platform/LumvikLog.h"

#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QFile>
#include <QLocalSocket>
#include <QStandardPaths>
#include <QThread>
#include <QTimer>

#include <filesystem>
#include <system_error>
#include <utility>

namespace lumvik {

using namespace std::chrono_literals;

namespace {

/// The longest request that is accepted, in bytes. Requests and replies are single lines.
constexpr qint64 longestRequest = 4096;
/// How long a client's connection may stay open.
constexpr auto requestTimeLimit = 5s;
/// The time between two attempts to become the first instance or to reach it, in milliseconds.
constexpr unsigned long pollInterval = 20;
/// The reply to a request that was carried out.
const QByteArray done = QByteArrayLiteral("done\n");

/// Returns `folder` without links. The folder, and the folders that contain it, need not exist.
QByteArray canonicalPath(const QString &folder) {
    const std::filesystem::path path(QFile::encodeName(folder).toStdString());
    std::error_code failure;
    const std::filesystem::path canonical = std::filesystem::weakly_canonical(path, failure);
    return QByteArray::fromStdString((failure ? path : canonical).string());
}

int remainingTime(const QDeadlineTimer &deadline) {
    return static_cast<int>(deadline.remainingTime());
}

} // namespace

SingleInstance::SingleInstance(const QString &basePath)
    : m_socketPath(basePath + QStringLiteral(".socket"))
    , m_lock(basePath + QStringLiteral(".lock")) {
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    QObject::connect(&m_server, &QLocalServer::newConnection, &m_server,
                     [this] { acceptClients(); });
}

QString SingleInstance::standardPath() {
    const QByteArray list = QCryptographicHash::hash(
        canonicalPath(CameraConfigurationStore::shared().appSupportDirectory()),
        QCryptographicHash::Sha256);
    return QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation) +
           QStringLiteral("/lumvik-") + QString::fromLatin1(list.toHex().left(16));
}

SingleInstance::Outcome SingleInstance::claim(const LaunchRequest &request,
                                              std::chrono::milliseconds limit) {
    const QDeadlineTimer deadline(limit);
    do {
        switch (m_lock.tryLock()) {
        case InstanceLock::Result::acquired:
            openSocket();
            return Outcome::first;
        case InstanceLock::Result::unavailable:
            LumvikLog::lifecycle().error(QStringLiteral(
                "The lock file cannot be created; another instance may already be running."));
            return Outcome::first;
        case InstanceLock::Result::heldByAnother:
            break;
        }
        if (handOver(request, deadline))
            return Outcome::handedOver;
        // The other instance is just starting or exiting.
        QThread::msleep(pollInterval);
    } while (!deadline.hasExpired());
    return Outcome::unanswered;
}

bool SingleInstance::handOver(const LaunchRequest &request, const QDeadlineTimer &deadline) const {
    QLocalSocket first;
    first.connectToServer(m_socketPath);
    if (!first.waitForConnected(remainingTime(deadline)))
        return false;
    first.write(encode(request) + '\n');
    while (!first.canReadLine() && first.waitForReadyRead(remainingTime(deadline))) {
    }
    return first.readLine() == done;
}

void SingleInstance::openSocket() {
    // An existing socket file is left over from a crash, because a live owner would hold the lock.
    QLocalServer::removeServer(m_socketPath);
    if (!m_server.listen(m_socketPath)) {
        LumvikLog::lifecycle().error(QStringLiteral("Later instances cannot reach this one: %1.")
                                         .arg(m_server.errorString()));
    }
}

void SingleInstance::listen(LaunchRequestHandler handler) {
    m_handler = std::move(handler);
    acceptClients();
}

void SingleInstance::close() {
    m_server.close();
    m_handler = nullptr;
}

void SingleInstance::acceptClients() {
    if (!m_handler)
        return;
    while (QLocalSocket *client = m_server.nextPendingConnection()) {
        QObject::connect(client, &QLocalSocket::disconnected, client, &QObject::deleteLater);
        QObject::connect(client, &QLocalSocket::readyRead, &m_server,
                         [this, client] { replyTo(*client); });
        QTimer::singleShot(requestTimeLimit, client, &QLocalSocket::abort);
        replyTo(*client);
    }
}

void SingleInstance::replyTo(QLocalSocket &client) {
    // A client sends nothing but one line.
    if (client.bytesAvailable() > longestRequest) {
        client.abort();
        return;
    }
    if (!client.canReadLine())
        return;
    const auto request = decodeLaunchRequest(client.readLine());
    // A client that gets no reply tries again, and becomes the first instance once this one has
    // exited.
    if (request && m_handler && m_handler(*request)) {
        client.write(done);
        client.flush();
    }
    client.disconnectFromServer();
}

} // namespace lumvik
