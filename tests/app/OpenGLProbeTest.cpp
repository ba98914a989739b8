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

TEST(OpenGLProbe, StoredDescriptionIsUsedAndADamagedOneIsNot) {
    // The test program understands no option for a probe, so only a stored description can be
    // found.
    QTemporaryDir folder;
    const QString file = folder.filePath(u"opengl.conf"_s);
    EXPECT_EQ(describeOpenGL(file), std::nullopt);
}

} // namespace
} // namespace lumvik
