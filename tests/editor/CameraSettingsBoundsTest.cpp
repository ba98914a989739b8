// Tests of the bounds of a list in the editor: when a text is typed or pasted, when a camera is
// added, when a list is imported, and when it is saved.

#include "CameraSettingsFixture.h"

#include <QClipboard>

namespace lumvik {
namespace {

using namespace test;

class Bounds : public CameraSettings {
  protected:
    static void paste(const QString &text) {
        QGuiApplication::clipboard()->setText(text);
        key(Qt::Key_A, Qt::ControlModifier);
        key(Qt::Key_V, Qt::ControlModifier);
    }
    /// Waits for the report of a refused text, which is shown in a later turn of the event loop.
    void expectReport(const QString &message) {
        ASSERT_TRUE(QTest::qWaitFor([this] { return !alerts.shown().isEmpty(); }, patience));
        QCoreApplication::processEvents();
        expectAlert(u"Text too long"_s, message);
    }
    void import(const CameraList &cameras) {
        panels.chosen = folder.path(u"list.json"_s);
        putBytes(*panels.chosen, CameraConfiguration{cameras}.encoded());
        press(window().importButton);
    }
    [[nodiscard]] static CameraList tooMany() { return manyCameras(10'001); }

    const QString nameMessage =
        u"The name of camera 1, “a”, must not be longer than 1,000 characters."_s;
    const QString addressMessage =
        u"The address of camera 1, “a”, must not be longer than 8,192 bytes."_s;
};

TEST_F(Bounds, PasteOfATooLongNameIsRefusedAsAWholeAndReported) {
    for (const int length : {1001, 5000, 1'000'000}) {
        alerts.clear();
        open({u"a"_s});
        doubleClick(0, nameColumn);
        paste(QString(length, u'n'));
        expectReport(nameMessage);
        EXPECT_EQ(names(), QStringList(u"a"_s)) << length;
        ASSERT_NE(field(), nullptr) << "the edit continues";
        EXPECT_EQ(field()->text(), u"a"_s);
    }
}

TEST_F(Bounds, PasteOfATooLongAddressIsRefusedAsAWholeAndReported) {
    for (const int length : {8193, 100'000}) {
        alerts.clear();
        open({u"a"_s});
        doubleClick(0, addressColumn);
        paste(u"rtsp://"_s.leftJustified(length, u'x'));
        expectReport(addressMessage);
        EXPECT_EQ(draft(), camerasNamed({u"a"_s})) << length;
    }
}

TEST_F(Bounds, PasteOfTheLongestTextsIsAccepted) {
    const QString name = u"😀"_s.repeated(1000);
    const QString address = u"rtsp://ü/"_s.leftJustified(8191, u'x');
    open({u"a"_s});
    doubleClick(0, nameColumn);
    paste(name);
    key(Qt::Key_Return);
    doubleClick(0, addressColumn);
    paste(address);
    key(Qt::Key_Return);
    QCoreApplication::processEvents();
    EXPECT_EQ(draft(), (CameraList{{name, address}}));
    EXPECT_TRUE(alerts.shown().isEmpty());
}

TEST_F(Bounds, CharacterBeyondTheLimitIsRefusedAndReported) {
    open(CameraList{{QString(1000, u'n'), u"rtsp://a/"_s}});
    doubleClick(0, nameColumn);
    key(Qt::Key_End);
    type(u"x"_s);
    expectReport(u"The name of camera 1, “%1…”, must not be longer than 1,000 characters."_s.arg(
        QString(40, u'n')));
    EXPECT_EQ(names(), QStringList(QString(1000, u'n')));
    key(Qt::Key_Backspace);
    type(u"y"_s);
    EXPECT_EQ(names(), QStringList(QString(999, u'n') + u'y'));
}

TEST_F(Bounds, ImportBeyondABoundIsRefusedAndNamesTheCamera) {
    struct Case {
        CameraList cameras;
        QString message;
    };
    const CameraList before = camerasNamed({u"a"_s, u"b"_s});
    open(before);
    for (const auto &[cameras, message] :
         {Case{tooMany(),
               u"Camera 10,001, “Camera 10000”, is one too many: a list can have at most "
               "10,000 cameras."_s},
          Case{{cameraNamed(u"x"_s), {u"Yard"_s, QString(8193, u'a')}},
               u"The address of camera 2, “Yard”, must not be longer than 8,192 bytes."_s},
          Case{{{QString(1001, u'n'), u"rtsp://a/"_s}},
               u"The name of camera 1, “%1…”, must not be longer than 1,000 characters."_s.arg(
                   QString(40, u'n'))}}) {
        alerts.clear();
        import(cameras);
        expectAlert(u"Could not import cameras"_s, message);
        expectNothingChanged(before);
    }
}

TEST_F(Bounds, ImportOfTheLargestListSucceeds) {
    open({u"a"_s});
    import(manyCameras(10'000));
    EXPECT_EQ(draft().size(), 10'000);
    EXPECT_TRUE(alerts.shown().isEmpty());
}

TEST_F(Bounds, NoCameraIsAddedToTheLargestList) {
    open(manyCameras(10'000));
    press(window().addButton);
    expectAlert(u"Too many cameras"_s,
                u"Camera 10,001, “New Camera”, is one too many: a list can have at most 10,000 "
                "cameras."_s);
    EXPECT_EQ(draft().size(), 10'000);
    EXPECT_EQ(field(), nullptr);
}

TEST_F(Bounds, SaveOfTooManyCamerasIsRefusedAndNamesTheFirstOne) {
    open(tooMany());
    press(window().saveButton);
    expectAlert(u"Too many cameras"_s,
                u"Camera 10,001, “Camera 10000”, is one too many: a list can "
                "have at most 10,000 cameras."_s);
    EXPECT_TRUE(saved.isEmpty());
    expectNothingChanged(tooMany());
}

TEST_F(Bounds, SaveOfATooLongTextIsRefusedAndStartsItsEdit) {
    open(CameraList{cameraNamed(u"a"_s), {u"b"_s, u"rtsp://b/"_s.leftJustified(8193, u'x')}});
    press(window().saveButton);
    ASSERT_EQ(alerts.shown().size(), 1);
    EXPECT_EQ(alerts.shown().first().messageText, u"Address too long"_s);
    EXPECT_EQ(alerts.shown().first().informativeText,
              u"The address of camera 2, “b”, must not be longer than 8,192 bytes."_s);
    EXPECT_EQ(table().currentIndex(), cell(1, addressColumn));
    EXPECT_TRUE(saved.isEmpty());
}

} // namespace
} // namespace lumvik
