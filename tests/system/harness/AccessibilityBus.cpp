#include "AccessibilityBus.h"

#include "Eventually.h"
#include "TestDesktop.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QJsonDocument>

namespace lumvik::test {

using namespace std::chrono_literals;

namespace {

constexpr auto busStartDeadline = 30s;
constexpr auto busAnswerDeadline = 30s;

/// Whether the accessibility service reports the address of its bus.
bool serviceHasBus(const QString &sessionBus) {
    const QString name = QStringLiteral("accessibility-bus-test");
    bool hasBus = false;
    {
        auto bus = QDBusConnection::connectToBus(sessionBus, name);
        const QDBusMessage answer = bus.call(QDBusMessage::createMethodCall(
            QStringLiteral("org.a11y.Bus"), QStringLiteral("/org/a11y/bus"),
            QStringLiteral("org.a11y.Bus"), QStringLiteral("GetAddress")));
        hasBus = answer.type() == QDBusMessage::ReplyMessage &&
                 !answer.arguments().value(0).toString().isEmpty();
    }
    QDBusConnection::disconnectFromBus(name);
    return hasBus;
}

} // namespace

AccessibilityBus::AccessibilityBus(const TestDesktop &desktop) : m_desktop(desktop) {}

QProcessEnvironment AccessibilityBus::environment() const {
    QProcessEnvironment environment = m_desktop.environment();
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), m_bus.address());
    // The accessibility service creates the socket of its bus in this folder.
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_runtimeFolder.path());
    environment.insert(QStringLiteral("GSETTINGS_BACKEND"), QStringLiteral("memory"));
    return environment;
}

testing::AssertionResult AccessibilityBus::start() {
    m_service =
        std::make_unique<ChildProcess>(QStringLiteral("the accessibility bus"), environment());
    if (const auto started = m_service->start(QStringLiteral("/usr/libexec/at-spi-bus-launcher"),
                                              {QStringLiteral("--launch-immediately")});
        !started)
        return started;
    if (eventually(busStartDeadline, [this] { return serviceHasBus(m_bus.address()); }))
        return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << "the accessibility bus " << m_service->stateDescription().toStdString() << "\n"
           << m_service->standardError().join(u'\n').toStdString();
}

ViewerProcess::Variables AccessibilityBus::viewerVariables() const {
    // The test desktop does not report that assistive technology is in use. The second variable
    // makes Qt expose the viewer on the accessibility bus anyway.
    return {{QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), m_bus.address()},
            {QStringLiteral("QT_LINUX_ACCESSIBILITY_ALWAYS_ON"), QStringLiteral("1")}};
}

// ---- Inspecting a program ----

AccessibilityReader::AccessibilityReader(const QProcessEnvironment &environment)
    : m_process(QStringLiteral("the reader"), environment) {}

testing::AssertionResult AccessibilityReader::lookAt(qint64 processId, ReaderMemory memory) {
    QStringList arguments{QStringLiteral(LUMVIK_ACCESSIBILITY_READER), QString::number(processId)};
    if (memory == ReaderMemory::remembers)
        arguments.append(QStringLiteral("--remember"));
    // The distribution's packages, such as pyatspi, are available only to the system's own Python.
    if (const auto started = m_process.start(QStringLiteral("/usr/bin/python3"), arguments);
        !started)
        return started;
    if (eventually(busStartDeadline, [this] { return !m_process.standardOutput().isEmpty(); })) {
        m_answers = 1;
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << "the reader " << m_process.stateDescription().toStdString() << "\n"
           << m_process.standardError().join(u'\n').toStdString();
}

QJsonObject AccessibilityReader::ask(const QJsonArray &command) {
    const QByteArray line = QJsonDocument(command).toJson(QJsonDocument::Compact);
    m_process.writeLine(line);
    const bool hasAnswered = eventually(
        busAnswerDeadline, [this] { return m_process.standardOutput().size() > m_answers; });
    EXPECT_TRUE(hasAnswered) << "no answer to " << line.toStdString() << "\n"
                             << m_process.standardError().join(u'\n').toStdString();
    if (!hasAnswered)
        return {};
    return QJsonDocument::fromJson(m_process.standardOutput().at(m_answers++).toUtf8()).object();
}

} // namespace lumvik::test
