#pragma once

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

/// How long a test waits for what the window is to do.
constexpr int patience = 5000;

inline Camera cameraNamed(const QString &name) {
    return {name, u"rtsp://user:s3cret@%1.example/live"_s.arg(name)};
}

inline CameraList camerasNamed(const QStringList &names) {
    CameraList cameras;
    for (const QString &name : names)
        cameras.append(cameraNamed(name));
    return cameras;
}

/// The camera settings window as a user has it before them, with alerts and file panels that answer
/// at once and a store in a folder of the test's own.
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
                .openUrl = [this](const QUrl &address) { opened.append(address); }},
            CameraSettingsHandlers{
                .save =
                    [this](const CameraList &list) {
                        saved.append(list);
                        return saving ? saving(list) : store.save(list);
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

    // What there is.

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
    /// The field in which something is typed at the moment; nullptr without one.
    [[nodiscard]] static MirelFieldEditor *field() {
        return qobject_cast<MirelFieldEditor *>(QApplication::focusWidget());
    }

    // What the user does.

    static void press(QPushButton *button) { QTest::mouseClick(button, Qt::LeftButton); }
    void click(int row, int column) const {
        QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, middleOf(row, column));
    }
    void doubleClick(int row, int column) const {
        click(row, column);
        QTest::mouseDClick(table().viewport(), Qt::LeftButton, {}, middleOf(row, column));
    }
    /// Presses a key wherever keys go at the moment.
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

    // What is expected.

    /// There has been one alert, with these texts.
    void expectAlert(const QString &title, const QString &message) const {
        ASSERT_EQ(alerts.shown().size(), 1);
        const Alert &alert = alerts.shown().first();
        EXPECT_EQ(alert.messageText, title) << qPrintable(alert.messageText);
        EXPECT_EQ(alert.informativeText, message) << qPrintable(alert.informativeText);
        EXPECT_EQ(alert.style, Alert::Style::warning);
        EXPECT_EQ(alert.buttons.size(), 1);
    }
    /// A failure left the window open with this draft in it, and nothing was saved.
    void expectNothingChanged(const CameraList &cameras) const {
        EXPECT_EQ(draft(), cameras);
        EXPECT_TRUE(window().isVisible());
        EXPECT_EQ(closings, 0);
        EXPECT_FALSE(QFile::exists(storage));
    }
    /// The cell is being edited and all of its text is selected.
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
    FakeAlerts alerts;
    FakeFilePanels panels;
    /// In the place of the store's own saving.
    std::function<tl::expected<void, StoreError>(const CameraList &)> saving;
    QList<CameraList> saved; ///< Every list that was handed over.
    int closings = 0;
    QList<QUrl> opened; ///< With the user's browser.
    QList<int> keys;    ///< That nothing in the window used; F5 is one of the program's own.
    std::unique_ptr<CameraSettingsController> editor;
};

} // namespace lumvik::test
