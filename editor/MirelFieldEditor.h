#pragma once

#include <QColor>
#include <QLineEdit>
#include <QTimer>

namespace lumvik {

/// How selected text looks.
struct SelectedTextAttributes {
    QColor background;
    QColor foreground;

    friend bool operator==(const SelectedTextAttributes &,
                           const SelectedTextAttributes &) = default;
};

/// The field in which a camera's name or address is typed: selected text stands white on the house
/// colour, and the insertion point has the house colour, whatever palette the desktop's theme or
/// any other code gives it. Main thread only.
class MirelFieldEditor final : public QLineEdit {
    Q_OBJECT

  public:
    explicit MirelFieldEditor(QWidget *parent = nullptr);

    /// White on the house colour.
    [[nodiscard]] static const SelectedTextAttributes &mirelSelection();

    /// Always mirelSelection.
    [[nodiscard]] SelectedTextAttributes selectedTextAttributes() const;
    /// Always the house colour.
    [[nodiscard]] QColor insertionPointColor() const;

  protected:
    void changeEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

  private:
    void applyHouseColours();
    void showInsertionPoint();

    QTimer m_blinking;
    bool m_insertionPointIsOn = false;
};

} // namespace lumvik
