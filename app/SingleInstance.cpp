#include "app/SingleInstance.h"

#include "configuration/CameraConfigurationStore.h"
#include "platform/LumvikLog.h"

#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QLocalSocket>
#include <QStandardPaths>
#include <QThread>
#include <QTimer>

#include <utility>

namespace lumvik {

using namespace std::chrono_literals;

namespace {

// Requests and answers are lines.
constexpr qint64 longestRequest = 4096; // bytes
constexpr auto visitorPatience = 5s;
constexpr unsigned long pollInterval = 20; // ms
const QByteArray done = QByteArrayLiteral("done\n");

int remainingTime(const QDeadlineTimer &deadline) {
    return static_cast<int>(deadline.remainingTime());
}

} // namespace

SingleInstance::SingleInstance(const QString &basePath)
    : m_socketPath(basePath + QStringLiteral(".socket"))
    , m_lock(basePath + QStringLiteral(".lock")) {
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    QObject::connect(&m_server, &QLocalServer::newConnection, &m_server,
                     [this] { greetVisitors(); });
}

QString SingleInstance::standardPath() {
    const QByteArray list =
        QCryptographicHash::hash(CameraConfigurationStore::shared().appSupportDirectory().toUtf8(),
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
                "No lock file can be made; whether Lumvik runs already is not known."));
            return Outcome::first;
        case InstanceLock::Result::heldByAnother:
            break;
        }
        if (handOver(request, deadline))
            return Outcome::handedOver;
        // It is just starting or just ending.
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
    // What lies there belongs to nobody: its owner would hold the lock.
    QLocalServer::removeServer(m_socketPath);
    if (!m_server.listen(m_socketPath)) {
        LumvikLog::lifecycle().error(QStringLiteral("A second start cannot reach this one: %1.")
                                         .arg(m_server.errorString()));
    }
}

void SingleInstance::listen(LaunchRequestHandler handler) {
    m_handler = std::move(handler);
    greetVisitors();
}

void SingleInstance::close() {
    m_server.close();
    m_handler = nullptr;
}

void SingleInstance::greetVisitors() {
    if (!m_handler)
        return;
    while (QLocalSocket *visitor = m_server.nextPendingConnection()) {
        QObject::connect(visitor, &QLocalSocket::disconnected, visitor, &QObject::deleteLater);
        QObject::connect(visitor, &QLocalSocket::readyRead, &m_server,
                         [this, visitor] { answerVisitor(*visitor); });
        QTimer::singleShot(visitorPatience, visitor, &QLocalSocket::abort);
        answerVisitor(*visitor);
    }
}

void SingleInstance::answerVisitor(QLocalSocket &visitor) {
    // Nothing comes behind a request's line.
    if (visitor.bytesAvailable() > longestRequest) {
        visitor.abort();
        return;
    }
    if (!visitor.canReadLine())
        return;
    const auto request = decodeLaunchRequest(visitor.readLine());
    // Without an answer the other one asks again, and starts itself once this one has ended.
    if (request && m_handler && m_handler(*request)) {
        visitor.write(done);
        visitor.flush();
    }
    visitor.disconnectFromServer();
}

} // namespace lumvik
