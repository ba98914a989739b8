#include "app/OpenGLProbe.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QSettings>
#include <QStandardPaths>
#include <QSurfaceFormat>

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <memory>

namespace lumvik {

namespace {

/// How long the probe may take. A driver that takes longer does not work.
constexpr std::chrono::milliseconds probeTimeLimit{5000};

const QString renderNodes = QStringLiteral("dev/dri");

QStringList deviceFiles(const QDir &folder, const QStringList &patterns) {
    QStringList usable;
    for (const QString &name : folder.entryList(patterns, QDir::System, QDir::Name)) {
        const QString path = folder.filePath(name);
        if (::access(QFile::encodeName(path).constData(), R_OK | W_OK) == 0)
            usable.append(path);
    }
    return usable;
}

/// Returns the device files of graphics cards that this process may use.
QStringList graphicsDevices(const QString &root) {
    const QDir base(root);
    // The second list contains the devices of drivers without a render node: NVIDIA's, Mali's,
    // Adreno's, PowerVR's, and that of Windows' subsystem for Linux.
    return deviceFiles(QDir(base.filePath(renderNodes)), {QStringLiteral("renderD*")}) +
           deviceFiles(QDir(base.filePath(QStringLiteral("dev"))),
                       {QStringLiteral("nvidiactl"), QStringLiteral("mali*"),
                        QStringLiteral("kgsl-3d*"), QStringLiteral("pvr*"), QStringLiteral("dxg")});
}

QByteArray contentOf(const QString &path) {
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll().trimmed() : QByteArray();
}

/// Returns a key for everything that decides what OpenGL reports: the display, the graphics devices
/// with their drivers, and the system start, because drivers are usually updated with a restart.
QString cacheKey() {
    QByteArray facts = contentOf(QStringLiteral("/proc/sys/kernel/random/boot_id"));
    for (const char *variable : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY",
                                 "QT_XCB_GL_INTEGRATION", "LIBGL_ALWAYS_SOFTWARE"})
        facts += '\n' + qgetenv(variable);
    for (const QString &device : graphicsDevices(QStringLiteral("/"))) {
        const QString inSystem =
            QStringLiteral("/sys/class/drm/%1/device/").arg(QFileInfo(device).fileName());
        facts += '\n' + device.toUtf8() + ' ' + contentOf(inSystem + QStringLiteral("vendor")) +
                 ' ' + contentOf(inSystem + QStringLiteral("device")) + ' ' +
                 QFileInfo(inSystem + QStringLiteral("driver")).canonicalFilePath().toUtf8();
    }
    return QString::fromLatin1(
        QCryptographicHash::hash(facts, QCryptographicHash::Sha256).toHex().first(16));
}

/// Set in the environment of a probe. A probe must never start another one, whatever goes wrong.
constexpr const char *probeVariable = "LUMVIK_IS_OPENGL_PROBE";

std::optional<OpenGLDescription> probe(const QString &program) {
    if (qEnvironmentVariableIsSet(probeVariable))
        return std::nullopt;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QString::fromLatin1(probeVariable), QStringLiteral("1"));
    auto owned = std::make_unique<QProcess>();
    QProcess &child = *owned;
    child.setStandardInputFile(QProcess::nullDevice());
    child.setStandardErrorFile(QProcess::nullDevice());
    child.setProcessEnvironment(environment);
    child.start(program, {QString::fromLatin1(describeOpenGLOption)});
    if (!child.waitForFinished(static_cast<int>(probeTimeLimit.count()))) {
        if (child.state() == QProcess::NotRunning)
            return std::nullopt; // it could not be started
        child.kill();
        // A driver that hangs in the kernel cannot even be killed. Then the object is leaked,
        // because its destructor would wait.
        if (!child.waitForFinished(static_cast<int>(probeTimeLimit.count()) / 10))
            (void)owned.release();
        return std::nullopt;
    }
    if (child.exitStatus() != QProcess::NormalExit || child.exitCode() != 0)
        return std::nullopt;
    return parseOpenGLDescription(QString::fromUtf8(child.readAllStandardOutput()));
}

} // namespace

bool hasGraphicsDevice(const QString &root) {
    return !graphicsDevices(root).isEmpty();
}

QString openGLCacheFile() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
           QStringLiteral("/lumvik/opengl.conf");
}

QString ownProgram() {
    return QStringLiteral("/proc/%1/exe").arg(::getpid());
}

std::optional<OpenGLDescription> describeOpenGL(const QString &cacheFile, const QString &program) {
    QSettings cache(cacheFile, QSettings::IniFormat);
    const QString key = cacheKey();
    if (auto known = parseOpenGLDescription(cache.value(key).toString()))
        return known;
    auto openGL = probe(program);
    // Only the latest result is kept, so that the file does not grow. Failures are not stored: they
    // may be over at the next start.
    cache.clear();
    if (openGL)
        cache.setValue(key, openGLDescriptionText(*openGL));
    return openGL;
}

int runOpenGLProbe(int argc, char **argv) {
    const QGuiApplication application(argc, argv);
    QSurfaceFormat preferred;
    preferred.setVersion(preferredOpenGLMajor, preferredOpenGLMinor);
    preferred.setProfile(QSurfaceFormat::CoreProfile);
    for (const QSurfaceFormat &format : {preferred, QSurfaceFormat()}) {
        QOpenGLContext context;
        context.setFormat(format);
        QOffscreenSurface surface;
        surface.setFormat(format);
        surface.create();
        if (!context.create() || !context.makeCurrent(&surface))
            continue;
        const auto *renderer =
            reinterpret_cast<const char *>(context.functions()->glGetString(GL_RENDERER));
        const QSurfaceFormat actual = context.format();
        const OpenGLDescription openGL{.renderer = QString::fromUtf8(renderer),
                                       .majorVersion = actual.majorVersion(),
                                       .minorVersion = actual.minorVersion(),
                                       .isES = context.isOpenGLES()};
        std::fputs(openGLDescriptionText(openGL).toUtf8().constData(), stdout);
        std::fflush(stdout);
        return 0;
    }
    return 1;
}

QString openGLDescriptionText(const OpenGLDescription &openGL) {
    return QStringLiteral("%1 %2.%3 %4\n")
        .arg(openGL.isES ? QStringLiteral("es") : QStringLiteral("desktop"))
        .arg(openGL.majorVersion)
        .arg(openGL.minorVersion)
        .arg(openGL.renderer.simplified());
}

std::optional<OpenGLDescription> parseOpenGLDescription(const QString &output) {
    static const QRegularExpression pattern(
        QStringLiteral("^(es|desktop) (\\d{1,3})\\.(\\d{1,3}) (\\S[^\\n]*)\\n?$"));
    const QRegularExpressionMatch match = pattern.match(output);
    if (!match.hasMatch())
        return std::nullopt;
    return OpenGLDescription{.renderer = match.captured(4),
                             .majorVersion = match.captured(2).toInt(),
                             .minorVersion = match.captured(3).toInt(),
                             .isES = match.captured(1) == QLatin1String("es")};
}

} // namespace lumvik
