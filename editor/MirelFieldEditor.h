#pragma once

#include <QColor>
#include <QLineEdit>
#include <QTimer>

namespace lumvik {

/// The colours of selected text.
struct SelectedTextAttributes {
    QColor background;
    QColor foreground;

    friend bool operator==(const SelectedTextAttributes &,
                           const SelectedTextAttributes &) = default;
};

/// The text field in which a camera's name or address is edited. Selected text is white on the
/// accent colour, and the insertion point has the accent colour. The desktop theme and palettes
/// that other code sets do not change these colours. Main thread only.
class MirelFieldEditor final : public QLineEdit {
    Q_OBJECT

  public:
    explicit MirelFieldEditor(QWidget *parent = nullptr);

    /// Returns white on the accent colour.
    [[nodiscard]] static const SelectedTextAttributes &mirelSelection();

    /// Returns the current colours of selected text, which always equal mirelSelection().
    [[nodiscard]] SelectedTextAttributes selectedTextAttributes() const;
    /// Returns the accent colour.
    [[nodiscard]] QColor insertionPointColor() const;

  protected:
    void changeEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

  private:
    void applyAccentColours();
    void showInsertionPoint();

    QTimer m_blinking;
    bool m_insertionPointIsOn = false;
};

} // namespace lumvik
