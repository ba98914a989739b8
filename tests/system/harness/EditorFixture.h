#pragma once

#include "Eventually.h"
#include "Pixels.h"
#include "ViewerFixture.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <optional>

namespace lumvik::test {

/// The base of whole-program tests of the editor. The fixture finds the editor's window and its
/// selected row, and reads the stored camera list.
class EditorFixture : public ViewerFixture {
  protected:
    static inline const QColor accentColour{203, 93, 82};

    void openEditor() {
        keyboard.press(QStringLiteral("ctrl+comma"));
        waitForEditor();
    }
    void waitForEditor() {
        ASSERT_TRUE(eventually(std::chrono::seconds(20), [this] {
            findEditor();
            return editor != XCB_NONE && desktop.x().focusedWindow() == editor;
        })) << "the editor does not open";
    }
    void findEditor() {
        editor = XCB_NONE;
        for (const xcb_window_t each : viewer->windowsOnScreen()) {
            if (desktop.x().title(each) == QLatin1String("Cameras"))
                editor = each;
        }
    }
    [[nodiscard]] bool editorIsClosed() {
        findEditor();
        return editor == XCB_NONE;
    }
    void type(const QString &text) {
        xdotool(desktop,
                {QStringLiteral("type"), QStringLiteral("--delay"), QStringLiteral("20"), text});
    }
    /// Waits until a row is drawn as selected, and returns the row's top left corner on the screen.
    [[nodiscard]] QPoint selectedRow() const {
        std::optional<QPoint> found;
        EXPECT_TRUE(eventually(std::chrono::seconds(20), [&] {
            found = accentColouredRow();
            return found.has_value();
        })) << "no row is selected";
        return found.value_or(QPoint());
    }
    /// The top left corner of the region that is filled with the accent colour.
    [[nodiscard]] std::optional<QPoint> accentColouredRow() const {
        const QRect window = desktop.x().geometry(editor).value_or(QRect());
        const QImage picture = screen.area(window);
        const auto isAccentColour = [&](int x, int y) {
            return colourDistance(picture.pixelColor(x, y), accentColour) <= 2;
        };
        // The row has rounded corners, so the left edge of the row is measured at half its height.
        for (int y = 0; y + 20 < picture.height(); ++y) {
            if (!isAccentColour(picture.width() / 2, y))
                continue;
            int x = 0;
            while (x < picture.width() && !isAccentColour(x, y + 20))
                ++x;
            return window.topLeft() + QPoint(x, y);
        }
        return std::nullopt;
    }
    /// The middle of the drag handle of row `row`. `first` is the top left corner of the first row.
    [[nodiscard]] static QPoint handle(QPoint first, int row) {
        constexpr int rowHeight = 44;
        return first + QPoint(13, rowHeight / 2 + row * rowHeight);
    }
    /// Whether a line in the accent colour marks the gap before row `row` as the drop position.
    /// Only the left end of the line is checked, to the left of the dragged row. `first` is the top
    /// left corner of the first row.
    [[nodiscard]] bool gapIsMarked(QPoint first, int row) const {
        const QRect line(first + QPoint(8, row * 44 - 2), QSize(10, 2));
        return colourDistance(meanColour(screen.area(line), QRect(QPoint(), line.size())),
                              accentColour) < 40;
    }
    /// The cameras in the stored camera list.
    [[nodiscard]] QJsonArray stored() const {
        return QJsonDocument::fromJson(home.readDataFile(QStringLiteral("cameras.json")))
            .object()
            .value(QStringLiteral("cameras"))
            .toArray();
    }
    [[nodiscard]] QStringList storedNames() const {
        QStringList names;
        for (const auto &camera : stored())
            names.append(camera.toObject().value(QStringLiteral("name")).toString());
        return names;
    }
    [[nodiscard]] QStringList storedAddresses() const {
        QStringList addresses;
        for (const auto &camera : stored())
            addresses.append(camera.toObject().value(QStringLiteral("url")).toString());
        return addresses;
    }
    /// Waits until a dialog has the keyboard focus, that is, a window of the viewer other than the
    /// editor and the main window. The dialog must have the title `title` unless `title` is empty.
    [[nodiscard]] testing::AssertionResult dialogAppears(const QString &title = {}) {
        const bool found = eventually(std::chrono::seconds(20), [&] {
            const xcb_window_t focused = desktop.x().focusedWindow();
            return viewer->windowsOnScreen().contains(focused) && focused != editor &&
                   focused != viewer->window() &&
                   (title.isEmpty() || desktop.x().title(focused) == title);
        });
        return found ? testing::AssertionSuccess() : testing::AssertionFailure() << "no dialog";
    }
    [[nodiscard]] bool editorHasFocus() const { return desktop.x().focusedWindow() == editor; }
    void press(const QString &key, int times) {
        for (int n = 0; n < times; ++n)
            keyboard.press(key);
    }

    xcb_window_t editor = XCB_NONE;
};

} // namespace lumvik::test
