#include "editor/CameraFieldDelegate.h"

#include "editor/CameraListModel.h"
#include "editor/MirelFieldEditor.h"
#include "style/LumvikPalette.h"
#include "style/Symbols.h"

#include <QFontDatabase>
#include <QKeyEvent>
#include <QPainter>

namespace lumvik {

namespace {

// A cell has half of the spacing between cells (8 across, 6 down) at each of its sides, and the
// field lies within what is left.
constexpr QMargins cellSpacing{4, 3, 4, 3};
constexpr QMargins fieldMargins{8, 4, 8, 6};
constexpr int textMargin = 7;
constexpr qreal fieldRadius = 6;

/// More than anybody types, and enough to leave imported texts whole (UTF-16 units).
constexpr int longestText = 1 << 20;

/// What was in the field when its editing began.
constexpr const char *textBefore = "lumvikTextBefore";

QFont fieldFont(int column) {
    if (column == CameraListModel::name)
        return systemFont(13, QFont::Medium);
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPixelSize(12);
    return font;
}

QString placeholder(int column) {
    return column == CameraListModel::name ? QStringLiteral("Camera name")
                                           : QStringLiteral("rtsp://");
}

void paintHandle(QPainter &painter, const QStyleOptionViewItem &option, const QString &text) {
    const bool isSelected = option.state.testFlag(QStyle::State_Selected);
    painter.setFont(systemFont(15, QFont::Medium));
    painter.setPen(isSelected ? QColor(Qt::white)
                              : option.palette.color(QPalette::PlaceholderText));
    painter.drawText(option.rect, Qt::AlignCenter, text);
}

void paintField(QPainter &painter, const QStyleOptionViewItem &option, const QModelIndex &index) {
    const bool isEdited = option.state.testFlag(QStyle::State_Editing);
    const bool hasKeys = option.state.testFlag(QStyle::State_HasFocus);
    const QRect field = CameraFieldDelegate::fieldRect(option.rect);
    painter.setRenderHint(QPainter::Antialiasing);
    // The field that F2 or typing would edit is marked in the colour of the text, which is seen on
    // the house colour of the selected row.
    const QColor edge = option.palette.color(hasKeys && !isEdited ? QPalette::Text : QPalette::Mid);
    painter.setPen(QPen(isEdited ? LumvikPalette::mirel() : edge, isEdited || hasKeys ? 2 : 1));
    painter.setBrush(option.palette.color(QPalette::Base));
    painter.drawRoundedRect(QRectF(field).adjusted(0.5, 0.5, -0.5, -0.5), fieldRadius, fieldRadius);
    if (isEdited)
        return; // the field editor shows the text
    const QString text = index.data(Qt::DisplayRole).toString();
    painter.setFont(fieldFont(index.column()));
    painter.setPen(
        option.palette.color(text.isEmpty() ? QPalette::PlaceholderText : QPalette::Text));
    const QRect line = field.adjusted(textMargin, 0, -textMargin, 0);
    const QString shown = text.isEmpty() ? placeholder(index.column()) : text;
    painter.drawText(line, Qt::AlignVCenter | Qt::TextSingleLine,
                     painter.fontMetrics().elidedText(shown, Qt::ElideRight, line.width()));
}

} // namespace

QRect CameraFieldDelegate::fieldRect(const QRect &cell) {
    return cell.marginsRemoved(cellSpacing).marginsRemoved(fieldMargins);
}

int CameraFieldDelegate::textIndent() {
    return cellSpacing.left() + fieldMargins.left() + textMargin;
}

void CameraFieldDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                                const QModelIndex &index) const {
    painter->save();
    if (index.column() == CameraListModel::order)
        paintHandle(*painter, option, index.data(Qt::DisplayRole).toString());
    else
        paintField(*painter, option, index);
    painter->restore();
}

QWidget *CameraFieldDelegate::createEditor(QWidget *parent, const QStyleOptionViewItem &,
                                           const QModelIndex &index) const {
    auto *editor = new MirelFieldEditor(parent);
    editor->setFrame(false);
    editor->setFont(fieldFont(index.column()));
    editor->setPlaceholderText(placeholder(index.column()));
    editor->setMaxLength(longestText);
    editor->setAccessibleName(
        QStringLiteral("%1 %2")
            .arg(index.model()->headerData(index.column(), Qt::Horizontal).toString())
            .arg(index.row() + 1));
    const QPersistentModelIndex cell(index);
    connect(editor, &QLineEdit::textEdited, this, [cell](const QString &text) {
        if (cell.isValid())
            const_cast<QAbstractItemModel *>(cell.model())->setData(cell, text, Qt::EditRole);
    });
    return editor;
}

void CameraFieldDelegate::setEditorData(QWidget *editor, const QModelIndex &index) const {
    auto *field = static_cast<MirelFieldEditor *>(editor);
    const QString text = index.data(Qt::EditRole).toString();
    // The model's news of what is being typed must not move the insertion point.
    if (field->text() != text)
        field->setText(text);
    if (!field->property(textBefore).isValid())
        field->setProperty(textBefore, text);
}

void CameraFieldDelegate::setModelData(QWidget *editor, QAbstractItemModel *model,
                                       const QModelIndex &index) const {
    // A field that was only looked at leaves the text as it is.
    if (static_cast<MirelFieldEditor *>(editor)->isModified())
        QStyledItemDelegate::setModelData(editor, model, index);
}

void CameraFieldDelegate::updateEditorGeometry(QWidget *editor, const QStyleOptionViewItem &option,
                                               const QModelIndex &) const {
    editor->setGeometry(fieldRect(option.rect).adjusted(textMargin - 2, 2, 2 - textMargin, -2));
}

bool CameraFieldDelegate::eventFilter(QObject *watched, QEvent *event) {
    auto *field = qobject_cast<MirelFieldEditor *>(watched);
    const int key = field != nullptr && event->type() == QEvent::KeyPress
                        ? static_cast<QKeyEvent *>(event)->key()
                        : 0;
    if (key == Qt::Key_Escape) {
        const QString before = field->property(textBefore).toString();
        field->setText(before);
        field->setModified(true);
        Q_EMIT commitData(field);
    }
    // The toolkit would end the edit in a later turn: a second Return, which is to save, could come
    // before that, and be lost in a field that is already left.
    if (key == Qt::Key_Return || key == Qt::Key_Enter) {
        Q_EMIT commitData(field);
        Q_EMIT closeEditor(field, SubmitModelCache);
        return true;
    }
    // While another program has the keyboard, the edit waits: an address to be pasted is copied
    // there.
    if (field != nullptr && event->type() == QEvent::FocusOut &&
        static_cast<QFocusEvent *>(event)->reason() == Qt::ActiveWindowFocusReason)
        return false;
    return QStyledItemDelegate::eventFilter(watched, event);
}

} // namespace lumvik
