// Pasting several addresses at once.

#include "CameraSettingsFixture.h"

#include <QClipboard>

namespace lumvik {
namespace {

using namespace test;

class PastingCameras : public CameraSettings {
  protected:
    static void paste(const QString &text) {
        QGuiApplication::clipboard()->setText(text);
        QTest::keySequence(QApplication::focusWidget(), QKeySequence::Paste);
        QCoreApplication::processEvents(); // ends the edit
        QCoreApplication::processEvents(); // adds the rows
    }
    [[nodiscard]] QStringList addresses() const {
        QStringList all;
        for (const Camera &camera : draft())
            all.append(camera.url);
        return all;
    }
};

TEST_F(PastingCameras, LinesInAFieldBecomeRows) {
    open({u"a"_s, u"b"_s});
    const QString second = addresses().at(1);
    doubleClick(0, addressColumn);
    ASSERT_NE(field(), nullptr);
    field()->selectAll();
    paste(u"\n\"192.168.1.20/a\"\nrtsp://yard.example/b\nrtsp://gate.example/c\n"_s);
    EXPECT_EQ(addresses(), (QStringList{u"rtsp://192.168.1.20/a"_s, second,
                                        u"rtsp://yard.example/b"_s, u"rtsp://gate.example/c"_s}));
    EXPECT_EQ(names(), (QStringList{u"a"_s, u"b"_s, u"yard.example"_s, u"gate.example"_s}));
    EXPECT_EQ(field(), nullptr) << "The edit has ended.";
    EXPECT_TRUE(alerts.texts().isEmpty());
    EXPECT_EQ(table().selectedRow(), 3);
}

TEST_F(PastingCameras, OneLineWithALineBreakStaysInItsField) {
    open({u"a"_s, u"b"_s});
    doubleClick(0, addressColumn);
    field()->selectAll();
    paste(u"rtsp://yard.example/b\n"_s);
    EXPECT_NE(field(), nullptr);
    EXPECT_EQ(draft().size(), 2);
    key(Qt::Key_Return);
    EXPECT_EQ(addresses().first(), u"rtsp://yard.example/b"_s);
}

TEST_F(PastingCameras, LinesOnTheTableBecomeRowsAndChangeNoOther) {
    open({u"a"_s, u"b"_s});
    const QStringList before = addresses();
    click(1, nameColumn);
    paste(u"yard.example/b\ngate.example/c"_s);
    EXPECT_EQ(addresses(),
              before + (QStringList{u"rtsp://yard.example/b"_s, u"rtsp://gate.example/c"_s}));
}

TEST_F(PastingCameras, LinesThatAreNotAddedAreTold) {
    open({u"a"_s, u"b"_s});
    const QStringList before = addresses();
    click(1, nameColumn);
    paste(u"http://yard.example/b\n"_s + before.first() + u"\nrtsp://gate.example/c"_s);
    EXPECT_EQ(addresses(), before + QStringList(u"rtsp://gate.example/c"_s));
    ASSERT_EQ(alerts.shown().size(), 1);
    EXPECT_EQ(alerts.shown().first().messageText, u"Not every line was added"_s);
    EXPECT_TRUE(alerts.shown().first().informativeText.startsWith(u"Address 1: "_s));
    EXPECT_TRUE(
        alerts.shown().first().informativeText.endsWith(u"1 address is in the list already."_s));
}

TEST_F(PastingCameras, NothingToAddIsTold) {
    open({u"a"_s, u"b"_s});
    click(1, nameColumn);
    paste(u" "_s);
    EXPECT_EQ(draft().size(), 2);
    EXPECT_EQ(alerts.shown().size(), 1);
}

} // namespace
} // namespace lumvik
