#pragma once

#include <QStyledItemDelegate>

namespace lumvik {

/// Draws the cells of the camera table (the drag handle and the two text fields) and creates the
/// editors of the fields. Each keystroke updates the model. Escape restores the text that the field
/// had before the edit.
class CameraFieldDelegate final : public QStyledItemDelegate {
    Q_OBJECT

  public:
    using QStyledItemDelegate::QStyledItemDelegate;

    /// The space between two columns and between two rows, in points. Each of the two neighbouring
    /// cells contains half of the space.
    static constexpr int columnSpacing = 8;
    static constexpr int rowSpacing = 6;

    /// Returns the rectangle of the text field in the cell rectangle `cell` (points).
    [[nodiscard]] static QRect fieldRect(const QRect &cell);
    /// Returns the distance between the text of a field and the left and right edges of its cell
    /// (points).
    [[nodiscard]] static int textIndent();

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option,
                          const QModelIndex &index) const override;
    void setEditorData(QWidget *editor, const QModelIndex &index) const override;
    void setModelData(QWidget *editor, QAbstractItemModel *model,
                      const QModelIndex &index) const override;
    void updateEditorGeometry(QWidget *editor, const QStyleOptionViewItem &option,
                              const QModelIndex &index) const override;
    bool eventFilter(QObject *watched, QEvent *event) override;

  private:
    /// Ends the edit in which `text` was pasted if it consists of several lines, which a field
    /// cannot show.
    void endEditOfLines(const QString &text);

  Q_SIGNALS:
    /// Emitted when the field in this cell has refused a text that was typed or pasted, because the
    /// field would have exceeded its length limit (see CameraListBounds.h).
    void tooLongTextRefused(int row, int column) const;
    /// Emitted when several lines were pasted as an address. The field has taken the first of them
    /// that is understood; `lines` are the others.
    void furtherLinesPasted(const QString &lines) const;
};

} // namespace lumvik
