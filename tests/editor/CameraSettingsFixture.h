#pragma once

#include "CameraFinderFixture.h"
#include "configuration/CameraConfiguration.h"
#include "configuration/TestFolder.h"
#include "editor/CameraFieldDelegate.h"
#include "editor/CameraListModel.h"
#include "editor/CameraSettingsController.h"
#include "editor/CameraSettingsWindow.h"
#include "editor/CameraTableView.h"
#include "editor/MirelFieldEditor.h"
#include "fakes/FakeAlerts.h"
#include "fakes/FakeFilePanels.h"

#include <QScrollBar>
#include <QTest>

#include <gtest/gtest.h>

namespace lumvik::test {

/// The time limit for expected events, in milliseconds.
inline constexpr int patience = 5000;

/// The columns of the table, as numbers.
inline constexpr int nameColumn = CameraListModel::name;
inline constexpr int addressColumn = CameraListModel::address;

/// The expected accent colour.
inline const QColor accent(203, 93, 82);

inline Camera cameraNamed(const QString &name) {
    return {name, u"rtsp://user:s3cret@%1.example/live"_s.arg(name)};
}

inline CameraList camerasNamed(const QStringList &names) {
    CameraList cameras;
    for (const QString &name : names)
        cameras.append(cameraNamed(name));
    return cameras;
}

/// The camera settings window with a store in a temporary folder. Alerts and file panels are
/// replaced by fakes that return immediately.
class CameraSettings : public testing::Test {
  protected:
    void TearDown() override {
        for (const Alert &alert : alerts.shown()) {
            const QString text = alert.messageText + u'\n' + alert.informativeText;
            for (const QString &secret : {u"s3cret"_s, u"user:"_s, u".example"_s})
                EXPECT_FALSE(text.contains(secret)) << "an address in " << qPrintable(text);
        }
    }

    void open(const CameraList &cameras, int selected = 0, bool staysOnTop = false,
              const QScreen *screen = nullptr) {
        editor = std::make_unique<CameraSettingsController>(
            cameras,
            CameraSettingsEnvironment{
                .store = store,
                .fileManager = FileManager::standard(),
                .alerts = alerts,
                .filePanels = panels,
                .webSite = u"https://maker.example/"_s,
                .openUrl = [this](const QUrl &address) { opened.append(address); },
                .mainQueue = network.queue,
                .makeSearch = network.makeSearch()},
            CameraSettingsHandlers{
                .save =
                    [this](const CameraList &list, ChangedList changed) {
                        saved.append(list);
                        return saving ? saving(list) : keeper.save(list, changed);
                    },
                .reload =
                    [this] {
                        ++reloads;
                        return keeper.load();
                    },
                .close = [this] { ++closings; },
                .keyDown =
                    [this](QKeyEvent &event) {
                        keys.append(event.key());
                        return event.key() == Qt::Key_F5;
                    },
            });
        editor->show(selected, staysOnTop, screen);
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window()));
    }
    void open(const QStringList &names, int selected = 0) { open(camerasNamed(names), selected); }

    // ---- The state of the window ----

    [[nodiscard]] CameraSettingsWindow &window() const { return editor->window(); }
    [[nodiscard]] CameraTableView &table() const { return window().tableView(); }
    [[nodiscard]] const CameraList &draft() const { return editor->draftCameras(); }
    [[nodiscard]] QStringList names() const {
        QStringList names;
        for (const Camera &each : draft())
            names.append(each.name);
        return names;
    }
    [[nodiscard]] QModelIndex cell(int row, int column) const {
        return table().model()->index(row, column);
    }
    [[nodiscard]] bool isInView(int row) const {
        return table().viewport()->rect().contains(table().visualRect(cell(row, 1)));
    }
    /// Returns the field editor that has the focus, or nullptr if no cell is being edited.
    [[nodiscard]] static MirelFieldEditor *field() {
        return qobject_cast<MirelFieldEditor *>(QApplication::focusWidget());
    }

    // ---- User input ----

    static void press(QPushButton *button) { QTest::mouseClick(button, Qt::LeftButton); }
    void click(int row, int column) const {
        QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, middleOf(row, column));
    }
    void doubleClick(int row, int column) const {
        click(row, column);
        QTest::mouseDClick(table().viewport(), Qt::LeftButton, {}, middleOf(row, column));
    }
    /// Presses a key in the widget that has the focus.
    static void key(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        ASSERT_NE(QApplication::focusWidget(), nullptr);
        QTest::keyClick(QApplication::focusWidget(), key, modifiers);
    }
    static void type(const QString &text) {
        for (const QChar each : text) {
            ASSERT_NE(QApplication::focusWidget(), nullptr);
            QTest::keyClicks(QApplication::focusWidget(), QString(each));
        }
    }
    [[nodiscard]] QPoint middleOf(int row, int column) const {
        return table().visualRect(cell(row, column)).center();
    }

    // ---- Expectations ----

    /// Expects that exactly one alert was shown, with these texts.
    void expectAlert(const QString &title, const QString &message) const {
        ASSERT_EQ(alerts.shown().size(), 1);
        const Alert &alert = alerts.shown().first();
        EXPECT_EQ(alert.messageText, title) << qPrintable(alert.messageText);
        EXPECT_EQ(alert.informativeText, message) << qPrintable(alert.informativeText);
        EXPECT_EQ(alert.style, Alert::Style::warning);
        EXPECT_EQ(alert.buttons.size(), 1);
    }
    /// Expects that the window is still open with the draft `cameras` and that nothing was saved.
    void expectNothingChanged(const CameraList &cameras) const {
        EXPECT_EQ(draft(), cameras);
        EXPECT_TRUE(window().isVisible());
        EXPECT_EQ(closings, 0);
        EXPECT_FALSE(QFile::exists(storage));
    }
    /// Expects that the cell is being edited and that its whole text is selected.
    void expectEdited(int row, int column) const {
        ASSERT_NE(field(), nullptr);
        EXPECT_EQ(table().currentIndex(), cell(row, column));
        EXPECT_EQ(table().selectedRow(), row);
        EXPECT_TRUE(table().visualRect(cell(row, column)).contains(field()->geometry()));
        EXPECT_EQ(field()->text(), cell(row, column).data().toString());
        EXPECT_EQ(field()->selectedText(), field()->text());
    }

    const TestFolder folder;
    const QString storage = folder.path(u"lumvik"_s);
    const CameraConfigurationStore store{storage};
    UserDefaults userDefaults{folder.path(u"lumvik.conf"_s)};
    CameraListKeeper keeper{store, userDefaults};
    FakeAlerts alerts;
    FakeFilePanels panels;
    FinderNetwork network;
    /// If set, this function is called instead of the store's `save`.
    std::function<tl::expected<void, StoreError>(const CameraList &)> saving;
    QList<CameraList> saved; ///< Every list that was passed to the save handler.
    int reloads = 0;
    int closings = 0;
    QList<QUrl> opened; ///< The addresses that were passed to openUrl.
    QList<int> keys; ///< The keys that were passed to the keyDown handler, which handles F5 only.
    std::unique_ptr<CameraSettingsController> editor;
};

} // namespace lumvik::test
