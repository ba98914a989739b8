#include "app/OpenGLProbe.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace lumvik {
namespace {

using namespace Qt::StringLiterals;

/// A folder that stands for the root of a file system with device files.
class DeviceFolder {
  public:
    /// Creates the device `path` with the permissions `mode`.
    void add(const QString &path, mode_t mode) {
        const QString full = m_folder.filePath(path);
        QDir().mkpath(QFileInfo(full).path());
        // A named pipe is a system file as well, and needs no privileges.
        ASSERT_EQ(::mkfifo(QFile::encodeName(full).constData(), mode), 0);
    }
    [[nodiscard]] QString root() const { return m_folder.path(); }

  private:
    QTemporaryDir m_folder;
};

TEST(GraphicsDevice, IsARenderNodeOrADeviceOfADriverWithoutOne) {
    for (const QString &path : {u"dev/dri/renderD128"_s, u"dev/dri/renderD129"_s,
                                u"dev/nvidiactl"_s, u"dev/mali0"_s, u"dev/kgsl-3d0"_s}) {
        DeviceFolder folder;
        ASSERT_FALSE(hasGraphicsDevice(folder.root())) << qPrintable(path);
        folder.add(path, 0600);
        EXPECT_TRUE(hasGraphicsDevice(folder.root())) << qPrintable(path);
    }
}

TEST(GraphicsDevice, IsNeitherAScreenWithoutAGraphicsCardNorAnotherDevice) {
    DeviceFolder folder;
    folder.add(u"dev/dri/card0"_s, 0600);
    folder.add(u"dev/video0"_s, 0600);
    EXPECT_FALSE(hasGraphicsDevice(folder.root()));
}

TEST(OpenGLProbe, DescriptionSurvivesTheWayThroughText) {
    for (const OpenGLDescription &openGL :
         {OpenGLDescription{u"Mesa Intel(R) UHD Graphics 620 (KBL GT2)"_s, 4, 6, false},
          OpenGLDescription{u"Mali-G52"_s, 3, 2, true}})
        EXPECT_EQ(parseOpenGLDescription(openGLDescriptionText(openGL)), openGL);
}

TEST(OpenGLProbe, IncompleteOrForeignOutputIsNoDescription) {
    for (const QString &output :
         {u""_s, u"\n"_s, u"desktop"_s, u"desktop 4.6"_s, u"desktop 4.6 "_s,
          u"desktop 4 llvmpipe"_s, u"vulkan 1.3 llvmpipe"_s, u"desktop 4.6 llvmpipe\nsecond line"_s,
          u"desktop 99999999999.0 llvmpipe"_s})
        EXPECT_EQ(parseOpenGLDescription(output), std::nullopt) << qPrintable(output);
}

/// A program that takes the place of the probe. It counts its runs.
class ProbeProgram {
  public:
    /// The program runs `commands`, which are written for sh.
    explicit ProbeProgram(const QByteArray &commands) {
        QFile file(path());
        EXPECT_TRUE(file.open(QFile::WriteOnly));
        file.write("#!/bin/sh\necho >>\"$0.runs\"\n" + commands + '\n');
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    [[nodiscard]] QString path() const { return m_folder.filePath(u"probe"_s); }
    [[nodiscard]] QString cacheFile() const { return m_folder.filePath(u"opengl.conf"_s); }
    [[nodiscard]] qint64 runs() const { return QFileInfo(path() + u".runs"_s).size(); }

  private:
    QTemporaryDir m_folder;
};

TEST(OpenGLProbe, DescriptionIsStoredForTheNextStart) {
    const ProbeProgram program("echo desktop 4.6 Graphics card");
    const OpenGLDescription expected{u"Graphics card"_s, 4, 6, false};
    EXPECT_EQ(describeOpenGL(program.cacheFile(), program.path()), expected);
    EXPECT_EQ(describeOpenGL(program.cacheFile(), program.path()), expected);
    EXPECT_EQ(program.runs(), 1);
}

TEST(OpenGLProbe, AnotherDisplayIsProbedAnew) {
    const ProbeProgram program("echo desktop 4.6 Graphics card on $DISPLAY");
    const QByteArray before = qgetenv("DISPLAY");
    for (const char *display : {":1", ":2"}) {
        qputenv("DISPLAY", display);
        const auto openGL = describeOpenGL(program.cacheFile(), program.path());
        EXPECT_TRUE(openGL && openGL->renderer.endsWith(QLatin1String(display)));
    }
    if (before.isNull())
        qunsetenv("DISPLAY");
    else
        qputenv("DISPLAY", before);
}

TEST(OpenGLProbe, FailuresAreNotStored) {
    for (const char *commands :
         {"echo nonsense", "exit 0", "echo desktop 4.6 Graphics card; exit 1",
          "echo desktop 4.6 Graphics card; kill -SEGV $$"}) {
        const ProbeProgram program(commands);
        EXPECT_EQ(describeOpenGL(program.cacheFile(), program.path()), std::nullopt) << commands;
        EXPECT_EQ(describeOpenGL(program.cacheFile(), program.path()), std::nullopt) << commands;
        EXPECT_EQ(program.runs(), 2) << commands;
    }
    EXPECT_EQ(describeOpenGL(u"/nonexistent/opengl.conf"_s, u"/nonexistent/probe"_s), std::nullopt);
}

TEST(OpenGLProbe, ProbeStartsNoFurtherProbe) {
    const ProbeProgram program("test -n \"$LUMVIK_IS_OPENGL_PROBE\" && echo desktop 4.6 Card");
    EXPECT_TRUE(describeOpenGL(program.cacheFile(), program.path()));
    const ProbeProgram another("echo desktop 4.6 Card");
    qputenv("LUMVIK_IS_OPENGL_PROBE", "1");
    EXPECT_EQ(describeOpenGL(another.cacheFile(), another.path()), std::nullopt);
    qunsetenv("LUMVIK_IS_OPENGL_PROBE");
    EXPECT_EQ(another.runs(), 0);
}

} // namespace
} // namespace lumvik
