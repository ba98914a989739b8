#include "platform/PictureFile.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>

namespace lumvik {
namespace {

using namespace Qt::StringLiterals;

TEST(PictureFileName, ContainsTheCameraAndTheTime) {
    const QDateTime time({2026, 1, 31}, {12, 0, 5});
    const auto name = [&](const QString &camera) { return pictureFileName(camera, time); };
    EXPECT_EQ(name(u"Front Door"_s), u"Front Door 2026-01-31 12.00.05.png"_s);
    EXPECT_EQ(name(u"Gärten/Höfe: \"1\"?"_s), u"Gärten-Höfe- -1-- 2026-01-31 12.00.05.png"_s);
    EXPECT_EQ(name(u"..\\..\\x"_s), u"-..-x 2026-01-31 12.00.05.png"_s);
    EXPECT_EQ(name(u".hidden"_s), u"hidden 2026-01-31 12.00.05.png"_s);
    EXPECT_EQ(name(u"two\nlines\t."_s), u"two lines . 2026-01-31 12.00.05.png"_s);
    EXPECT_EQ(name(u"\u202Egnp.txt"_s), u"-gnp.txt 2026-01-31 12.00.05.png"_s);
    EXPECT_EQ(name({}), u"Camera 2026-01-31 12.00.05.png"_s);
    EXPECT_EQ(name(u" ... "_s), u"Camera 2026-01-31 12.00.05.png"_s);
    const QString longName = name(QString(1000, QChar(0x20AC)));
    EXPECT_LT(longName.toUtf8().size(), 250);
    QString surrogates;
    for (int count = 0; count < 100; ++count)
        surrogates.append(u"\U0001F6AA"_s);
    EXPECT_EQ(name(u"x"_s + surrogates), QString::fromUtf8(name(u"x"_s + surrogates).toUtf8()))
        << "no character is cut in two";
}

class PictureFileTest : public testing::Test {
  protected:
    PictureFileTest() { picture.fill(QColor(20, 40, 60)); }
    [[nodiscard]] QStringList files() const {
        return QDir(folder).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }
    QTemporaryDir home;
    const QString folder = home.filePath(u"Pictures"_s);
    QImage picture{300, 200, QImage::Format_RGB32};
};

TEST_F(PictureFileTest, IsSavedAsItIs) {
    const auto path = savePictureFile(picture, folder, u"a.b 1.png"_s);
    ASSERT_TRUE(path) << qPrintable(path.error());
    EXPECT_EQ(*path, folder + u"/a.b 1.png"_s);
    EXPECT_EQ(QImage(*path).convertToFormat(QImage::Format_RGB32), picture);
    EXPECT_EQ(files(), QStringList(u"a.b 1.png"_s));
}

TEST_F(PictureFileTest, ReplacesNoFile) {
    for (const QString &expected :
         {u"a 12.00.00.png"_s, u"a 12.00.00 (2).png"_s, u"a 12.00.00 (3).png"_s}) {
        const auto path = savePictureFile(picture, folder, u"a 12.00.00.png"_s);
        ASSERT_TRUE(path);
        EXPECT_EQ(*path, folder + u'/' + expected);
    }
}

TEST_F(PictureFileTest, SaysThatTheFolderCannotBeCreated) {
    QFile(folder).open(QIODevice::WriteOnly); // a file with the name of the folder
    const auto path = savePictureFile(picture, folder + u"/x"_s, u"a.png"_s);
    ASSERT_FALSE(path);
    EXPECT_EQ(path.error(), u"The folder %1/x cannot be created"_s.arg(folder));
}

TEST_F(PictureFileTest, LeavesNothingBehindWhenThereIsNoRoom) {
    // A limit for the size of files has the same effect as a full disk.
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    rlimit small = before;
    small.rlim_cur = 100;
    setrlimit(RLIMIT_FSIZE, &small);
    const auto path = savePictureFile(picture, folder, u"a.png"_s);
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, SIG_DFL);
    ASSERT_FALSE(path) << QFileInfo(*path).size();
    EXPECT_EQ(path.error(), u"File too large"_s);
    EXPECT_EQ(files(), QStringList());
}

} // namespace
} // namespace lumvik
