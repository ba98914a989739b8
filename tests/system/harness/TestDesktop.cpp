#include "TestDesktop.h"

#include "ChildProcess.h"
#include "Eventually.h"

#include <QDir>
#include <QFile>

#include <csignal>

namespace lumvik::test {

using namespace std::chrono_literals;

namespace {

constexpr auto desktopStartDeadline = 30s;

/// In this configuration, a click focuses and raises a window, and new windows get the keyboard
/// focus. No other keys and buttons are bound, so all input reaches the program under test.
constexpr const char *openboxConfiguration = R"(<?xml version="1.0" encoding="UTF-8"?>
<openbox_config xmlns="http://openbox.org/3.4/rc">
  <focus><focusNew>yes</focusNew><followMouse>no</followMouse><focusLast>yes</focusLast></focus>
  <placement><policy>Smart</policy><center>yes</center></placement>
  <resistance><strength>0</strength><screen_edge_strength>0</screen_edge_strength></resistance>
  <theme><name>Clearlooks</name><animateIconify>no</animateIconify></theme>
  <desktops><number>1</number><popupTime>0</popupTime></desktops>
  <resize><drawContents>yes</drawContents><popupShow>Never</popupShow></resize>
  <keyboard/>
  <mouse>
    <context name="Client">
      <mousebind button="Left" action="Press"><action name="Focus"/><action name="Raise"/></mousebind>
    </context>
  </mouse>
</openbox_config>
)";

QString lastLines(const ChildProcess &process) {
    return process.standardError().mid(qMax(0, process.standardError().size() - 10)).join(u'\n');
}

/// The environment of the test process without variables that belong to a desktop session or
/// configure a toolkit.
QProcessEnvironment neutralEnvironment() {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    static const QStringList sessionPrefixes = {QStringLiteral("QT_"),     QStringLiteral("XDG_"),
                                                QStringLiteral("DBUS_"),   QStringLiteral("LC_"),
                                                QStringLiteral("LUMVIK_"), QStringLiteral("GTK_"),
                                                QStringLiteral("GDK_"),    QStringLiteral("QSG_")};
    static const QStringList sessionVariables = {
        QStringLiteral("DISPLAY"),         QStringLiteral("WAYLAND_DISPLAY"),
        QStringLiteral("XAUTHORITY"),      QStringLiteral("LANG"),
        QStringLiteral("LANGUAGE"),        QStringLiteral("DESKTOP_SESSION"),
        QStringLiteral("SESSION_MANAGER"), QStringLiteral("DESKTOP_STARTUP_ID")};
    for (const QString &variable : environment.keys()) {
        bool belongsToSession = sessionVariables.contains(variable);
        for (const QString &prefix : sessionPrefixes)
            belongsToSession = belongsToSession || variable.startsWith(prefix);
        if (belongsToSession)
            environment.remove(variable);
    }
    return environment;
}

} // namespace

TestDesktop::TestDesktop(WindowManager windowManager, QSize size)
    : m_kind(windowManager)
    , m_size(size) {}

TestDesktop::~TestDesktop() {
    m_windowManager.reset();
    m_bus.reset();
    m_connection.reset();
    m_screen.reset();
}

testing::AssertionResult TestDesktop::resize(QSize size) {
    const QString output = QStringLiteral("screen");
    const QString mode = QStringLiteral("%1x%2").arg(size.width()).arg(size.height());
    // The virtual screen initially supports only the size with which it was started. A new mode
    // needs only a name and plausible timings.
    QStringList newMode = {QStringLiteral("--newmode"), mode, QStringLiteral("40")};
    for (const int extent : {size.width(), size.height()}) {
        for (const int more : {0, 1, 2, 3})
            newMode.append(QString::number(extent + more));
    }
    const auto run = [this](const QStringList &arguments) -> testing::AssertionResult {
        ChildProcess change(QStringLiteral("xrandr"), environment());
        if (const auto started = change.start(QStringLiteral("xrandr"), arguments); !started)
            return started;
        if (const auto ended = change.waitForExit(desktopStartDeadline); !ended)
            return ended;
        if (change.exitStatus() != 0)
            return testing::AssertionFailure() << lastLines(change).toStdString();
        return testing::AssertionSuccess();
    };
    // If the screen has had this size before, the mode already exists.
    if (run(newMode)) {
        if (const auto added = run({QStringLiteral("--addmode"), output, mode}); !added)
            return added;
    }
    const auto resized = run({QStringLiteral("--output"), output, QStringLiteral("--mode"), mode});
    if (resized)
        m_size = size;
    return resized;
}

void TestDesktop::killScreen() {
    m_screen->sendSignal(SIGKILL);
}

QString TestDesktop::display() const {
    return m_display;
}

QSize TestDesktop::size() const {
    return m_size;
}

QRect TestDesktop::area() const {
    return {QPoint(0, 0), m_size};
}

XConnection &TestDesktop::x() const {
    return *m_connection;
}

QProcessEnvironment TestDesktop::environment() const {
    QProcessEnvironment environment = neutralEnvironment();
    environment.insert(QStringLiteral("DISPLAY"), m_display);
    environment.insert(QStringLiteral("LIBGL_ALWAYS_SOFTWARE"), QStringLiteral("1"));
    // Tests of the picture are registered once for each renderer (see CMakeLists.txt).
    if (const QString renderer = qEnvironmentVariable("LUMVIK_TEST_RENDERER"); !renderer.isEmpty())
        environment.insert(QStringLiteral("LUMVIK_RENDERER"), renderer);
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    return environment;
}

testing::AssertionResult TestDesktop::start() {
    if (!m_folder.isValid())
        return testing::AssertionFailure() << "cannot create a temporary folder";
    if (const auto result = startScreen(); !result)
        return result;
    return startWindowManager();
}

testing::AssertionResult TestDesktop::restartWindowManager() {
    m_windowManager.reset();
    return startWindowManager();
}

testing::AssertionResult TestDesktop::startScreen() {
    m_screen =
        std::make_unique<ChildProcess>(QStringLiteral("the virtual screen"), neutralEnvironment());
    // The X server writes its display number to standard output once it is ready. Without -noreset,
    // the server would reset and lose all properties when its last client disconnects.
    const QString geometry = QStringLiteral("%1x%2x24").arg(m_size.width()).arg(m_size.height());
    const auto started = m_screen->start(
        QStringLiteral("Xvfb"),
        {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
         QStringLiteral("0"), geometry, QStringLiteral("-dpi"), QStringLiteral("96"),
         QStringLiteral("-nolisten"), QStringLiteral("tcp"), QStringLiteral("-noreset")});
    if (!started)
        return started;
    const bool serves = eventually(desktopStartDeadline, [this] {
        return !m_screen->standardOutput().isEmpty() || !m_screen->isRunning();
    });
    if (!serves || m_screen->standardOutput().isEmpty()) {
        return testing::AssertionFailure()
               << "the virtual screen " << m_screen->stateDescription().toStdString()
               << " and reported no display: " << lastLines(*m_screen).toStdString();
    }
    m_display = u':' + m_screen->standardOutput().first().trimmed();
    m_connection = XConnection::open(m_display);
    if (!m_connection)
        return testing::AssertionFailure() << "no connection to " << m_display.toStdString();
    return testing::AssertionSuccess();
}

testing::AssertionResult TestDesktop::startWindowManager() {
    if (m_kind == WindowManager::none)
        return testing::AssertionSuccess();
    const auto started = m_kind == WindowManager::openbox ? startOpenbox() : startXfwm4();
    if (!started)
        return started;
    const bool settled = eventually(desktopStartDeadline, [this] {
        return windowManagerIsReady() || !m_windowManager->isRunning();
    });
    if (settled && m_windowManager->isRunning())
        return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << "the window manager " << m_windowManager->stateDescription().toStdString()
           << " and is not ready: " << lastLines(*m_windowManager).toStdString();
}

QProcessEnvironment TestDesktop::windowManagerEnvironment() const {
    QProcessEnvironment environment = TestDesktop::environment();
    const QString home = m_folder.filePath(QStringLiteral("home"));
    QDir().mkpath(home);
    environment.insert(QStringLiteral("HOME"), home);
    if (!m_busAddress.isEmpty())
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), m_busAddress);
    return environment;
}

testing::AssertionResult TestDesktop::startOpenbox() {
    const QString path = m_folder.filePath(QStringLiteral("openbox.xml"));
    QFile file(path);
    if (!file.open(QFile::WriteOnly) || file.write(openboxConfiguration) < 0)
        return testing::AssertionFailure() << "cannot write " << path.toStdString();
    file.close();
    m_windowManager =
        std::make_unique<ChildProcess>(QStringLiteral("openbox"), windowManagerEnvironment());
    return m_windowManager->start(
        QStringLiteral("openbox"),
        {QStringLiteral("--sm-disable"), QStringLiteral("--config-file"), path});
}

testing::AssertionResult TestDesktop::startXfwm4() {
    if (const auto result = startSessionBus(); !result)
        return result;
    m_windowManager =
        std::make_unique<ChildProcess>(QStringLiteral("xfwm4"), windowManagerEnvironment());
    return m_windowManager->start(QStringLiteral("xfwm4"), {QStringLiteral("--compositor=off")});
}

testing::AssertionResult TestDesktop::startSessionBus() {
    if (m_bus)
        return testing::AssertionSuccess();
    m_bus = std::make_unique<ChildProcess>(QStringLiteral("the session bus"),
                                           windowManagerEnvironment());
    const QString address = QStringLiteral("unix:path=") + m_folder.filePath(QStringLiteral("bus"));
    const auto started = m_bus->start(
        QStringLiteral("dbus-daemon"),
        {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--nopidfile"),
         QStringLiteral("--print-address"), QStringLiteral("--address=") + address});
    if (!started)
        return started;
    if (!eventually(desktopStartDeadline, [this] { return !m_bus->standardOutput().isEmpty(); }))
        return testing::AssertionFailure() << "the session bus reports no address";
    m_busAddress = m_bus->standardOutput().first();
    return testing::AssertionSuccess();
}

bool TestDesktop::windowManagerIsReady() const {
    // The root window's property names a window, and the same property of that window must name the
    // window itself. A property that an earlier window manager left behind does not meet this
    // condition.
    const QList<quint32> named =
        m_connection->numbers(m_connection->root(), "_NET_SUPPORTING_WM_CHECK");
    return !named.isEmpty() &&
           m_connection->numbers(named.first(), "_NET_SUPPORTING_WM_CHECK") == named;
}

} // namespace lumvik::test
