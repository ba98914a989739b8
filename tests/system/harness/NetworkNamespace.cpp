#include "NetworkNamespace.h"

#include "Eventually.h"
#include "platform/FileDescriptor.h"

#include <QFileInfo>
#include <QStandardPaths>

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <thread>

namespace lumvik::test {

using namespace std::chrono_literals;

const QString CameraNetwork::viewerAddress = QStringLiteral("192.0.2.1");
const QString CameraNetwork::cameraAddress = QStringLiteral("192.0.2.2");

namespace {

constexpr int commandDeadline = 20'000; // ms

/// Whether the tests run as the superuser. Other users must create a user namespace in order to
/// create a network namespace.
bool isSuperuser() {
    return ::geteuid() == 0;
}

QStringList unsharing() {
    QStringList command = {QStringLiteral("unshare"), QStringLiteral("--net"),
                           QStringLiteral("--mount")};
    if (!isSuperuser())
        command << QStringLiteral("--user") << QStringLiteral("--map-root-user");
    return command;
}

testing::AssertionResult runToTheEnd(const QStringList &command, QByteArray *output = nullptr) {
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(command.first(), command.mid(1));
    const bool ended = process.waitForFinished(commandDeadline);
    const QByteArray written = process.readAll();
    if (output != nullptr)
        *output = written;
    if (ended && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
        return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << "\"" << command.join(u' ').toStdString()
           << "\" failed: " << process.errorString().toStdString() << "; " << written.toStdString();
}

} // namespace

QString NetworkNamespace::obstacle() {
    for (const QString &tool :
         {QStringLiteral("unshare"), QStringLiteral("nsenter"), QStringLiteral("ip")}) {
        if (QStandardPaths::findExecutable(tool).isEmpty() &&
            QStandardPaths::findExecutable(tool,
                                           {QStringLiteral("/usr/sbin"), QStringLiteral("/sbin")})
                .isEmpty())
            return QStringLiteral("there is no program \"%1\"").arg(tool);
    }
    const auto permitted = runToTheEnd(unsharing() << QStringLiteral("true"));
    if (permitted)
        return {};
    return QStringLiteral("this system does not permit network namespaces: %1")
        .arg(QString::fromUtf8(permitted.message()));
}

testing::AssertionResult NetworkNamespace::start(const NetworkNamespace *owner) {
    QStringList command;
    if (owner != nullptr && !isSuperuser()) {
        command << QStringLiteral("nsenter") << QStringLiteral("--target") << owner->processId()
                << QStringLiteral("--user") << QStringLiteral("--preserve-credentials")
                << QStringLiteral("unshare") << QStringLiteral("--net")
                << QStringLiteral("--mount");
    } else {
        command = unsharing();
    }
    // The process `cat` keeps the namespace alive. It exits when its standard input is closed,
    // which also happens when the test is killed.
    command << QStringLiteral("cat");
    m_holder = std::make_unique<ChildProcess>(QStringLiteral("the namespace's holder"),
                                              QProcessEnvironment::systemEnvironment());
    if (const auto started = m_holder->start(command.first(), command.mid(1)); !started)
        return started;
    m_holder->writeLine("here");
    const bool settled = eventually(
        20s, [this] { return !m_holder->standardOutput().isEmpty() || !m_holder->isRunning(); });
    if (!settled || m_holder->standardOutput().isEmpty()) {
        return testing::AssertionFailure() << "cannot create a namespace: "
                                           << m_holder->standardError().join(u'\n').toStdString();
    }
    return run(QStringLiteral("ip link set lo up"));
}

QString NetworkNamespace::processId() const {
    return QString::number(m_holder->processId());
}

QStringList NetworkNamespace::launcher() const {
    QStringList command = {QStringLiteral("nsenter"), QStringLiteral("--target"), processId(),
                           QStringLiteral("--net"), QStringLiteral("--mount")};
    if (!isSuperuser())
        command << QStringLiteral("--user") << QStringLiteral("--preserve-credentials");
    return command;
}

testing::AssertionResult NetworkNamespace::run(const QString &command, QByteArray *output) const {
    return runToTheEnd(launcher() + command.split(u' '), output);
}

testing::AssertionResult NetworkNamespace::replaceFile(const QString &path,
                                                       const QByteArray &content) {
    const QString own = m_folder.filePath(QFileInfo(path).fileName());
    QFile file(own);
    if (!file.open(QFile::WriteOnly) || file.write(content) != content.size())
        return testing::AssertionFailure() << "cannot write " << own.toStdString();
    file.close();
    // Every user must be able to read the file, because the program in the namespace may run as
    // another user.
    file.setPermissions(file.permissions() | QFile::ReadGroup | QFile::ReadOther);
    // The target of a symbolic link is replaced, because a link cannot be a mount point.
    return runToTheEnd(launcher() << QStringLiteral("mount") << QStringLiteral("--bind") << own
                                  << QFileInfo(path).canonicalFilePath());
}

testing::AssertionResult
NetworkNamespace::call(const std::function<testing::AssertionResult()> &action) const {
    testing::AssertionResult result = testing::AssertionFailure() << "nothing was called";
    // Only a separate thread enters the namespace. The thread ends after `action`, so no other code
    // runs in the namespace.
    std::thread([&] {
        const QByteArray path =
            QStringLiteral("/proc/%1/ns/net").arg(m_holder->processId()).toLatin1();
        const FileDescriptor descriptor(::open(path.constData(), O_RDONLY | O_CLOEXEC));
        if (!descriptor.isOpen() || ::setns(descriptor.get(), CLONE_NEWNET) != 0)
            result = testing::AssertionFailure() << "cannot enter: " << std::strerror(errno);
        else
            result = action();
    }).join();
    return result;
}

testing::AssertionResult CameraNetwork::start(Cable cable) {
    if (const auto started = m_viewer.start(); !started)
        return started;
    if (const auto started = m_camera.start(&m_viewer); !started)
        return started;
    if (cable == Cable::unplugged)
        return testing::AssertionSuccess();
    if (const auto done = plugIn(); !done)
        return done;
    QByteArray state;
    const bool isUp = eventually(20s, [&] {
        return m_viewer.run(QStringLiteral("ip -oneline link show viewer0"), &state) &&
               state.contains(" state UP ");
    });
    if (isUp)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "the link does not come up: " << state.toStdString();
}

testing::AssertionResult CameraNetwork::plugIn() const {
    const auto inViewer = [this](const QString &command) { return m_viewer.run(command); };
    const auto inCamera = [this](const QString &command) { return m_camera.run(command); };
    if (const auto done = inViewer(QStringLiteral("ip link add viewer0 type veth peer name camera0 "
                                                  "netns %1")
                                       .arg(m_camera.processId()));
        !done)
        return done;
    for (const QString &command :
         {QStringLiteral("ip address add %1/24 dev camera0").arg(cameraAddress),
          QStringLiteral("ip link set camera0 up")}) {
        if (const auto done = inCamera(command); !done)
            return done;
    }
    for (const QString &command :
         {QStringLiteral("ip address add %1/24 dev viewer0").arg(viewerAddress),
          QStringLiteral("ip link set viewer0 up")}) {
        if (const auto done = inViewer(command); !done)
            return done;
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult CameraNetwork::useNameServers(const QByteArray &resolvConf,
                                                       const QByteArray &hosts) {
    if (const auto done = m_viewer.replaceFile(QStringLiteral("/etc/resolv.conf"), resolvConf);
        !done)
        return done;
    if (const auto done = m_viewer.replaceFile(QStringLiteral("/etc/hosts"), hosts); !done)
        return done;
    // The viewer must use only these files and name servers, and none of the machine's other name
    // services.
    return m_viewer.replaceFile(QStringLiteral("/etc/nsswitch.conf"),
                                resolvConf.isEmpty() ? "hosts: files\n" : "hosts: files dns\n");
}

testing::AssertionResult CameraNetwork::addBlackHoleAddress(const QString &address) {
    // Packets are sent to a hardware address that does not exist.
    return m_viewer.run(QStringLiteral("ip neighbour replace %1 lladdr 02:00:00:00:00:01 dev "
                                       "viewer0 nud permanent")
                            .arg(address));
}

} // namespace lumvik::test
