#pragma once

#include <QStyledItemDelegate>

namespace lumvik {

/// Draws the cells of the camera table, the handle and the two fields, and lets the fields be
/// edited. What is typed goes into the model with each key; Escape brings back what was there.
class CameraFieldDelegate final : public QStyledItemDelegate {
    Q_OBJECT

  public:
    using QStyledItemDelegate::QStyledItemDelegate;

    /// Where the field lies in the cell `cell` (points).
    [[nodiscard]] static QRect fieldRect(const QRect &cell);
    /// How far within its cell, at either side, the text of a field lies (points).
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
};

} // namespace lumvik
