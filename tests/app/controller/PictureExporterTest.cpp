#include "app/controller/PictureExporter.h"

#include "ControllerFixture.h"

#include <QDir>
#include <QQuickWindow>
#include <QTest>

namespace lumvik::test {
namespace {

class PictureExporterTest : public testing::Test {
  protected:
    PictureExporterTest() {
        picture.fill(Qt::red);
        window.resize(600, 300);
        window.show();
        button = exporter.createNotice(window.contentItem());
        exporter.layOut({600, 300});
    }
    [[nodiscard]] BriefNotice &notice() const {
        for (QQuickItem *item : window.contentItem()->childItems()) {
            if (auto *found = qobject_cast<BriefNotice *>(item))
                return *found;
        }
        qFatal("There is no notice.");
    }
    [[nodiscard]] QStringList files() const { return QDir(folder).entryList(QDir::Files); }

    TemporaryHome home;
    VirtualMainQueue queue;
    QQuickWindow window;
    QImage picture{64, 36, QImage::Format_RGB32};
    QImage clipboard;
    QString folder = home.path(u"Pictures"_s);
    QStringList shownFolders;
    QStringList failures;
    const QDateTime date{{2026, 1, 31}, {12, 0}, Qt::LocalTime};
    PictureExporter exporter{{.mainQueue = queue,
                              .picture = [this] { return picture; },
                              .camera = [] { return u"Front Door"_s; },
                              .currentDate = [this] { return date.toUTC(); },
                              .folder = [this] { return folder; },
                              .copyToClipboard = [this](const QImage &copy) { clipboard = copy; },
                              .showFolder = [this](const QString &f) { shownFolders.append(f); },
                              .savingFailed = [this](const QString &r) { failures.append(r); }}};
    ViewerControl *button = nullptr;
};

TEST_F(PictureExporterTest, SavesThePictureAndOffersToShowIt) {
    exporter.save();
    ASSERT_TRUE(queue.runUntil([&] { return notice().isVisible(); }));
    EXPECT_EQ(files(), QStringList(u"Front Door 2026-01-31 12.00.00.png"_s));
    EXPECT_EQ(QImage(folder + u'/' + files().first()).pixelColor(3, 3), QColor(Qt::red));
    EXPECT_EQ(notice().spokenText(), u"Saved in Pictures"_s);
    ASSERT_TRUE(button->isVisible());
    button->performClick();
    EXPECT_EQ(shownFolders, QStringList(folder));
    queue.advance(5.9);
    EXPECT_TRUE(notice().isVisible());
    queue.advance(0.2);
    EXPECT_FALSE(notice().isVisible());
    EXPECT_FALSE(button->isVisible());
}

TEST_F(PictureExporterTest, SaysWhyAPictureCannotBeSaved) {
    folder = u"/proc/no/such"_s;
    exporter.save();
    ASSERT_TRUE(queue.runUntil([&] { return !failures.isEmpty(); }));
    EXPECT_EQ(failures, QStringList(u"The folder /proc/no/such cannot be created"_s));
    EXPECT_FALSE(notice().isVisible());
}

TEST_F(PictureExporterTest, CopiesThePicture) {
    exporter.copy();
    EXPECT_EQ(clipboard, picture);
    EXPECT_EQ(notice().text(), u"Picture copied"_s);
    EXPECT_FALSE(button->isVisible());
}

TEST_F(PictureExporterTest, WithoutAPictureItSaysSo) {
    picture = {};
    exporter.save();
    EXPECT_EQ(notice().text(), u"There is no picture to save"_s);
    exporter.copy();
    EXPECT_EQ(notice().text(), u"There is no picture to copy"_s);
    EXPECT_TRUE(clipboard.isNull());
    EXPECT_EQ(files(), QStringList());
}

TEST_F(PictureExporterTest, NoticeFitsIntoANarrowWindow) {
    exporter.layOut({160, 160});
    exporter.save();
    ASSERT_TRUE(queue.runUntil([&] { return notice().isVisible(); }));
    EXPECT_GE(notice().x(), 0);
    EXPECT_LE(notice().x() + notice().width(), 160);
    EXPECT_LE(button->x() + button->width(), notice().x() + notice().width());
}

TEST(PictureExporter, FinishesAFileAndForgetsTheResultWhenItIsDestroyed) {
    const TemporaryHome home;
    VirtualMainQueue queue;
    const QString folder = home.path(u"Pictures"_s);
    {
        PictureExporter exporter({.mainQueue = queue,
                                  .picture = [] { return QImage(8, 8, QImage::Format_RGB32); },
                                  .camera = [] { return QString(); },
                                  .currentDate = [] { return QDateTime::currentDateTimeUtc(); },
                                  .folder = [&] { return folder; },
                                  .copyToClipboard = {},
                                  .showFolder = {},
                                  .savingFailed = [](const QString &) { FAIL(); }});
        exporter.save();
    }
    queue.runPending();
    EXPECT_EQ(QDir(folder).entryList(QDir::Files).size(), 1);
}

class ControllersExporterTest : public ControllerFixture {};

TEST_F(ControllersExporterTest, KeysSaveAndCopy) {
    launch(threeCameras());
    ASSERT_TRUE(eventually([&] { return window().isActive(); }));
    const auto text = [] {
        for (QQuickItem *item : window().contentItem()->childItems()) {
            if (auto *found = qobject_cast<BriefNotice *>(item))
                return found->text();
        }
        return QString();
    };
    QTest::keyClick(&window(), Qt::Key_S, Qt::ControlModifier);
    EXPECT_EQ(text(), u"There is no picture to save"_s);
    QTest::keyClick(&window(), Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(text(), u"There is no picture to copy"_s);
}

} // namespace
} // namespace lumvik::test
