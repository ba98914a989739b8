#include "editor/CameraFieldDelegate.h"

#include "configuration/CameraAddress.h"
#include "configuration/CameraListBounds.h"
#include "discovery/PastedAddress.h"
#include "editor/CameraListModel.h"
#include "editor/MirelFieldEditor.h"
#include "style/FixedPitchFont.h"
#include "style/LumvikPalette.h"
#include "style/Symbols.h"

#include <QKeyEvent>
#include <QPainter>
#include <QPointer>
#include <QValidator>

#include <algorithm>

namespace lumvik {

namespace {

// Lengths are in points.

constexpr QMargins cellSpacing{
    CameraFieldDelegate::columnSpacing / 2, CameraFieldDelegate::rowSpacing / 2,
    CameraFieldDelegate::columnSpacing / 2, CameraFieldDelegate::rowSpacing / 2};
/// The margins between a field and the edges of its cell, in addition to the cell spacing.
constexpr QMargins fieldMargins{8, 4, 8, 6};
constexpr int textMargin = 7;
constexpr qreal fieldRadius = 6;
constexpr int outlineWidth = 1;
/// The width of the outline of a field that is being edited or that has the focus.
constexpr int strongOutlineWidth = 2;
/// The margin that QLineEdit itself leaves at the left and right of its text.
constexpr int lineEditMargin = 2;

constexpr int handleFontSize = 15;
constexpr int nameFontSize = 13;
/// Addresses have a smaller size, because their fixed-width font looks larger than the proportional
/// font of names.
constexpr int addressFontSize = 12;

/// The property of a field editor that holds the text from before the edit.
constexpr const char *textBefore = "lumvikTextBefore";

/// Refuses a text that is too long as a whole. QLineEdit's own limit would silently insert a part
/// of a pasted text.
class LengthValidator final : public QValidator {
  public:
    LengthValidator(int column, QObject *parent) : QValidator(parent), m_column(column) {}

    State validate(QString &text, int &) const override {
        const bool isTooLong =
            m_column == CameraListModel::name ? isTooLongName(text) : isTooLongAddress(text);
        return isTooLong ? Invalid : Acceptable;
    }

  private:
    const int m_column;
};

/// Returns a limit for QLineEdit, in UTF-16 code units. What QLineEdit leaves of a longer text is
/// still too long for the validator. A character has at most two code units, and a code unit at
/// least one byte.
int longestInput(int column) {
    return static_cast<int>(column == CameraListModel::name ? 2 * longestCameraName + 1
                                                            : longestCameraAddress + 1);
}

QFont fieldFont(int column) {
    if (column == CameraListModel::name)
        return systemFont(nameFontSize, QFont::Medium);
    return fixedPitchFont(addressFontSize, nameFontSize);
}

QString placeholder(int column) {
    return column == CameraListModel::name ? QStringLiteral("Camera name")
                                           : QStringLiteral("rtsp://");
}

/// Takes the first line that is understood as an address out of `text`, and returns it. Returns an
/// empty text if there is only one line, or none that is understood.
QString takeFirstAddress(QString &text) {
    QStringList lines = text.split(QLatin1Char('\n'));
    lines.removeIf([](const QString &line) { return line.trimmed().isEmpty(); });
    const auto first = std::find_if(lines.begin(), lines.end(), [](const QString &line) {
        return pastedAddress(line).has_value();
    });
    if (lines.size() < 2 || first == lines.end())
        return {};
    QString address = *pastedAddress(*first);
    lines.erase(first);
    text = lines.join(QLatin1Char('\n'));
    return address;
}

/// Returns the RTSP address that `text` means, for example without the quotes that were copied with
/// it, or `text` itself if it is an address already or cannot be understood.
QString understoodAddress(const QString &text) {
    if (isCameraAddress(text))
        return text;
    return pastedAddress(text).value_or(text);
}

void paintHandle(QPainter &painter, const QStyleOptionViewItem &option, const QString &text) {
    const bool isSelected = option.state.testFlag(QStyle::State_Selected);
    painter.setFont(systemFont(handleFontSize, QFont::Medium));
    painter.setPen(isSelected ? QColor(Qt::white)
                              : option.palette.color(QPalette::PlaceholderText));
    painter.drawText(option.rect, Qt::AlignCenter, text);
}

void paintField(QPainter &painter, const QStyleOptionViewItem &option, const QModelIndex &index) {
    const bool isEdited = option.state.testFlag(QStyle::State_Editing);
    const bool hasFocus = option.state.testFlag(QStyle::State_HasFocus);
    const QRect field = CameraFieldDelegate::fieldRect(option.rect);
    painter.setRenderHint(QPainter::Antialiasing);
    // The outline of the field that F2 or typing would edit has the colour of the text, which is
    // visible against the accent colour of the selected row.
    const QColor edge =
        option.palette.color(hasFocus && !isEdited ? QPalette::Text : QPalette::Mid);
    painter.setPen(QPen(isEdited ? LumvikPalette::mirel() : edge,
                        isEdited || hasFocus ? strongOutlineWidth : outlineWidth));
    painter.setBrush(option.palette.color(QPalette::Base));
    painter.drawRoundedRect(QRectF(field).adjusted(0.5, 0.5, -0.5, -0.5), fieldRadius, fieldRadius);
    if (isEdited)
        return; // The field editor shows the text.
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
    editor->setMaxLength(longestInput(index.column()));
    editor->setValidator(new LengthValidator(index.column(), editor));
    editor->setAccessibleName(
        QStringLiteral("%1 %2")
            .arg(index.model()->headerData(index.column(), Qt::Horizontal).toString())
            .arg(index.row() + 1));
    const QPersistentModelIndex cell(index);
    connect(editor, &QLineEdit::textEdited, this, [cell](const QString &text) {
        if (cell.isValid())
            const_cast<QAbstractItemModel *>(cell.model())->setData(cell, text, Qt::EditRole);
    });
    if (index.column() == CameraListModel::address)
        connect(editor, &QLineEdit::textEdited, this, &CameraFieldDelegate::endEditOfLines);
    connect(editor, &QLineEdit::inputRejected, this, [this, cell] {
        if (cell.isValid())
            Q_EMIT tooLongTextRefused(cell.row(), cell.column());
    });
    return editor;
}

void CameraFieldDelegate::endEditOfLines(const QString &text) {
    if (!text.trimmed().contains(QLatin1Char('\n')))
        return;
    // The field is still handling the input.
    QMetaObject::invokeMethod(
        this,
        [this, field = QPointer(qobject_cast<QWidget *>(sender()))] {
            if (!field)
                return;
            Q_EMIT commitData(field);
            Q_EMIT closeEditor(field, SubmitModelCache);
        },
        Qt::QueuedConnection);
}

void CameraFieldDelegate::setEditorData(QWidget *editor, const QModelIndex &index) const {
    auto *field = static_cast<MirelFieldEditor *>(editor);
    const QString text = index.data(Qt::EditRole).toString();
    // The model reports each typed character back. Setting the same text again would move the
    // insertion point.
    if (field->text() != text)
        field->setText(text);
    if (!field->property(textBefore).isValid())
        field->setProperty(textBefore, text);
}

void CameraFieldDelegate::setModelData(QWidget *editor, QAbstractItemModel *model,
                                       const QModelIndex &index) const {
    // A field that was opened and not changed must not alter the text in the model.
    auto *field = static_cast<MirelFieldEditor *>(editor);
    if (!field->isModified())
        return;
    // Escape restores the text from before the edit as it was.
    QString furtherLines;
    if (index.column() == CameraListModel::address &&
        field->text() != field->property(textBefore).toString()) {
        furtherLines = field->text();
        const QString first = takeFirstAddress(furtherLines);
        if (first.isEmpty())
            furtherLines.clear();
        field->setText(first.isEmpty() ? understoodAddress(field->text()) : first);
        field->setModified(true);
    }
    QStyledItemDelegate::setModelData(editor, model, index);
    if (!furtherLines.isEmpty())
        Q_EMIT furtherLinesPasted(furtherLines);
}

void CameraFieldDelegate::updateEditorGeometry(QWidget *editor, const QStyleOptionViewItem &option,
                                               const QModelIndex &) const {
    // The editor draws its text exactly where the cell draws it, and leaves the outline of the
    // field visible.
    constexpr int indent = textMargin - lineEditMargin;
    editor->setGeometry(
        fieldRect(option.rect).adjusted(indent, strongOutlineWidth, -indent, -strongOutlineWidth));
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
    // By default, Qt closes a field editor in a later iteration of the event loop. A second Return,
    // which is meant for the Save button, would then be lost if it arrived in the closing editor.
    if (key == Qt::Key_Return || key == Qt::Key_Enter) {
        Q_EMIT commitData(field);
        Q_EMIT closeEditor(field, SubmitModelCache);
        return true;
    }
    // An edit stays open while another window has the focus, so that the user can copy an address
    // from that window and paste it into the field.
    if (field != nullptr && event->type() == QEvent::FocusOut &&
        static_cast<QFocusEvent *>(event)->reason() == Qt::ActiveWindowFocusReason)
        return false;
    return QStyledItemDelegate::eventFilter(watched, event);
}

} // namespace lumvik
