#include "editor/CameraTableView.h"

#include "editor/CameraFieldDelegate.h"
#include "editor/CameraListModel.h"
#include "editor/DragImageMask.h"
#include "editor/MirelCameraRowView.h"
#include "style/LumvikPalette.h"
#include "style/RoundedMask.h"

#include <QApplication>
#include <QClipboard>
#include <QDrag>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QProxyStyle>
#include <QStyleOption>

namespace lumvik {

namespace {

// Lengths are in points.

/// The height of a row without CameraFieldDelegate::rowSpacing.
constexpr int rowHeightWithoutSpacing = 38;
/// The width of the drag handle, which is easy to hit with the pointer.
constexpr int handleWidth = 28;
/// The initial width of the name column. The address column gets the rest of the window.
constexpr int nameWidth = 205;
/// The minimum width of the name column shows a name of two short words.
constexpr int minimumNameWidth = 150;
/// The minimum width of the address column shows an address with a numeric host, a port and a short
/// path.
constexpr int minimumAddressWidth = 330;
constexpr qreal dropLineThickness = 3;
/// The space between the line that marks the drop position and the edges of the table.
constexpr qreal dropLineInset = 4;

/// A style that leaves the backgrounds of rows and cells to CameraTableView::paintRow(), and draws
/// the drop position as a line across the whole table.
class CameraTableStyle final : public QProxyStyle {
  public:
    void drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                     const QWidget *widget) const override {
        // Column titles have no background of their own.
        const auto *header = qstyleoption_cast<const QStyleOptionHeader *>(option);
        if (element == CE_Header && header != nullptr)
            drawTitle(*header, *painter);
        else
            QProxyStyle::drawControl(element, option, painter, widget);
    }

    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                       const QWidget *widget) const override {
        switch (static_cast<int>(element)) {
        case PE_PanelItemViewRow:
        case PE_PanelItemViewItem:
        case PE_FrameFocusRect:
            break;
        case PE_IndicatorItemViewItemDrop:
            drawDropLine(*option, *painter, widget);
            break;
        default:
            QProxyStyle::drawPrimitive(element, option, painter, widget);
            break;
        }
    }

  private:
    /// Draws a column title exactly above the texts in the fields. The margins of styles differ.
    static void drawTitle(const QStyleOptionHeader &header, QPainter &painter) {
        const int indent = CameraFieldDelegate::textIndent();
        const QRect line = header.rect.adjusted(indent, 0, -indent, 0);
        painter.save();
        painter.setPen(header.palette.color(QPalette::WindowText));
        painter.drawText(
            line, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
            painter.fontMetrics().elidedText(header.text, Qt::ElideRight, line.width()));
        painter.restore();
    }

    static void drawDropLine(const QStyleOption &option, QPainter &painter, const QWidget *widget) {
        if (option.rect.isNull() || widget == nullptr)
            return;
        const QRectF line(dropLineInset, option.rect.top() - dropLineThickness / 2,
                          widget->width() - 2 * dropLineInset, dropLineThickness);
        painter.save();
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(LumvikPalette::mirel());
        painter.drawRoundedRect(line, dropLineThickness / 2, dropLineThickness / 2);
        painter.restore();
    }
};

} // namespace

CameraTableView::CameraTableView(CameraListModel &model, QWidget *parent)
    : QTableView(parent)
    , m_cameras(model) {
    auto *style = new CameraTableStyle;
    style->setParent(this);
    setStyle(style);
    setModel(&model);
    auto *fields = new CameraFieldDelegate(this);
    connect(fields, &CameraFieldDelegate::tooLongTextRefused, this,
            &CameraTableView::tooLongTextRefused);
    connect(fields, &CameraFieldDelegate::furtherLinesPasted, this, &CameraTableView::linesPasted);
    setItemDelegate(fields);
    setAccessibleName(QStringLiteral("Cameras"));
    setAccessibleDescription(
        QStringLiteral("F2 edits a field, Alt+Up and Alt+Down move the camera, Delete removes it"));

    setFrameShape(NoFrame);
    viewport()->setAutoFillBackground(false);
    setShowGrid(false);
    setCornerButtonEnabled(false);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(ScrollPerPixel);
    setSelectionBehavior(SelectRows);
    setSelectionMode(SingleSelection);
    // Tab moves the focus to the buttons. During an edit it moves to the next field, which
    // moveCursor() implements.
    setTabKeyNavigation(false);
    setEditTriggers(DoubleClicked | SelectedClicked | EditKeyPressed | AnyKeyPressed);

    setDragDropMode(InternalMove);
    setDragDropOverwriteMode(false); // Otherwise Qt clears the original row after a drag.
    setDefaultDropAction(Qt::MoveAction);

    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(rowHeightWithoutSpacing +
                                            CameraFieldDelegate::rowSpacing);
    setUpColumns();
}

void CameraTableView::setUpColumns() {
    QHeaderView *header = horizontalHeader();
    header->setStyle(style());
    header->viewport()->setAutoFillBackground(false);
    header->setHighlightSections(false);
    header->setSectionsClickable(false);
    header->setMinimumSectionSize(handleWidth);
    header->setSectionResizeMode(CameraListModel::order, QHeaderView::Fixed);
    header->resizeSection(CameraListModel::order, handleWidth);
    header->resizeSection(CameraListModel::name, nameWidth);
    header->setStretchLastSection(true);
    connect(header, &QHeaderView::sectionResized, this,
            &CameraTableView::enforceMinimumColumnWidths);
}

void CameraTableView::enforceMinimumColumnWidths() {
    // QHeaderView supports only one minimum width for all columns.
    const int room = viewport()->width() - handleWidth - minimumAddressWidth;
    const int width = columnWidth(CameraListModel::name);
    const int wanted = qBound(minimumNameWidth, width, qMax(room, minimumNameWidth));
    if (width != wanted)
        horizontalHeader()->resizeSection(CameraListModel::name, wanted);
}

void CameraTableView::resizeEvent(QResizeEvent *event) {
    QTableView::resizeEvent(event);
    enforceMinimumColumnWidths();
}

int CameraTableView::selectedRow() const {
    const QModelIndexList rows = selectionModel()->selectedRows();
    return rows.isEmpty() ? -1 : rows.first().row();
}

void CameraTableView::selectCamera(int row, Scrolling scrolling) {
    const QModelIndex cell = m_cameras.index(row, CameraListModel::name);
    if (!cell.isValid())
        return;
    const bool scrolled = hasAutoScroll();
    setAutoScroll(false); // Otherwise the table always scrolls to the new current cell.
    setCurrentIndex(cell);
    setAutoScroll(scrolled);
    if (scrolling == Scrolling::intoView)
        scrollTo(cell);
}

void CameraTableView::editCell(int row, int column) {
    const QModelIndex cell = m_cameras.index(row, column);
    selectCamera(row, Scrolling::intoView);
    setCurrentIndex(cell);
    edit(cell);
    if (auto *field = qobject_cast<QLineEdit *>(indexWidget(cell)))
        field->selectAll();
}

void CameraTableView::endEditing() {
    if (QWidget *field = indexWidget(currentIndex())) {
        commitData(field);
        closeEditor(field, QAbstractItemDelegate::NoHint);
    }
}

bool CameraTableView::edit(const QModelIndex &index, EditTrigger trigger, QEvent *event) {
    // A second click on a selected cell starts an edit after a delay. An alert or a file panel may
    // have opened in the meantime.
    const QWidget *modal = QApplication::activeModalWidget();
    if (modal != nullptr && modal != window())
        return false;
    // A drag handle cannot be edited, so keys edit the name in the same row.
    const bool isKey = trigger == EditKeyPressed || trigger == AnyKeyPressed;
    if (isKey && index.isValid() && index.column() == CameraListModel::order) {
        setCurrentIndex(index.siblingAtColumn(CameraListModel::name));
        return QTableView::edit(currentIndex(), trigger, event);
    }
    return QTableView::edit(index, trigger, event);
}

void CameraTableView::rowsAboutToBeRemoved(const QModelIndex &parent, int first, int last) {
    // Removing the current row makes another row current, and the table must not scroll to that
    // row.
    const bool scrolled = hasAutoScroll();
    setAutoScroll(false);
    QTableView::rowsAboutToBeRemoved(parent, first, last);
    setAutoScroll(scrolled);
}

void CameraTableView::selectionChanged(const QItemSelection &selected,
                                       const QItemSelection &deselected) {
    QTableView::selectionChanged(selected, deselected);
    viewport()->update(); // The highlight covers the whole row, not only the cells.
    Q_EMIT selectedRowChanged();
}

void CameraTableView::keyPressEvent(QKeyEvent *event) {
    const bool isMove = event->modifiers() == Qt::AltModifier;
    if (isMove && event->key() == Qt::Key_Up)
        Q_EMIT moveRequested(-1);
    else if (isMove && event->key() == Qt::Key_Down)
        Q_EMIT moveRequested(1);
    else if (event->key() == Qt::Key_Delete && event->modifiers() == Qt::NoModifier)
        Q_EMIT removalRequested();
    else if (event->matches(QKeySequence::Paste))
        Q_EMIT linesPasted(QGuiApplication::clipboard()->text());
    else if (event->key() == Qt::Key_Space && currentIndex().isValid())
        edit(currentIndex(), EditKeyPressed, event); // Unlike typing, Space keeps the text.
    else
        QTableView::keyPressEvent(event);
}

QModelIndex CameraTableView::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) {
    const QModelIndex next = QTableView::moveCursor(action, modifiers);
    if (!next.isValid() || next.column() != CameraListModel::order)
        return next;
    if (action == MoveNext || action == MoveLeft || action == MoveHome)
        return next.siblingAtColumn(CameraListModel::name);
    if (action == MovePrevious) {
        // Shift+Tab moves from a name to the address in the row above, and from the first field of
        // the table to the last field.
        const int row = (next.row() > 0 ? next.row() : m_cameras.rowCount()) - 1;
        return m_cameras.index(row, CameraListModel::address);
    }
    return next;
}

void CameraTableView::paintEvent(QPaintEvent *event) {
    {
        QPainter painter(viewport());
        const int first = qMax(rowAt(event->rect().top()), 0);
        for (int row = first; row < m_cameras.rowCount(); ++row) {
            if (rowViewportPosition(row) > event->rect().bottom())
                break;
            paintRow(painter, row);
        }
    }
    QTableView::paintEvent(event);
}

void CameraTableView::paintRow(QPainter &painter, int row) const {
    MirelCameraRowView view;
    view.usesAlternateBackground = row % 2 == 1;
    view.isSelected = row == selectedRow();
    const QRectF bounds = rowRect(row);
    view.drawBackground(painter, bounds, palette());
    view.drawSelection(painter, bounds);
}

QRect CameraTableView::rowRect(int row) const {
    return {0, rowViewportPosition(row), viewport()->width(), rowHeight(row)};
}

// ---- Dragging ----

void CameraTableView::mousePressEvent(QMouseEvent *event) {
    m_pressPosition = event->pos();
    QTableView::mousePressEvent(event);
}

void CameraTableView::startDrag(Qt::DropActions supportedActions) {
    const int row = selectedRow();
    if (row < 0)
        return;
    auto *drag = new QDrag(this); // QDrag deletes itself.
    drag->setMimeData(m_cameras.mimeData({m_cameras.index(row, CameraListModel::order)}));
    drag->setPixmap(dragImageOfRow(row));
    drag->setHotSpot(m_pressPosition - rowRect(row).topLeft());
    const QRectF shape = MirelCameraRowView::shape({QPointF(), QSizeF(rowRect(row).size())});
    const DragImageMask mask(roundedMask(shape.toAlignedRect(), MirelCameraRowView::cornerRadius));
    drag->exec(supportedActions, Qt::MoveAction); // The model moves the row during the drop.
}

QPixmap CameraTableView::dragImageOfRow(int row) const {
    // The drag image is translucent, so that the drop position beneath it stays visible.
    constexpr qreal opacity = 0.8;
    const QRect bounds = rowRect(row);
    QPixmap image(bounds.size() * devicePixelRatio());
    image.setDevicePixelRatio(devicePixelRatio());
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setOpacity(opacity);
    painter.translate(-bounds.topLeft());
    paintRow(painter, row);
    for (int column = 0; column < m_cameras.columnCount(); ++column) {
        const QModelIndex cell = m_cameras.index(row, column);
        QStyleOptionViewItem option;
        initViewItemOption(&option);
        option.rect = visualRect(cell);
        option.state.setFlag(QStyle::State_Selected);
        itemDelegateForIndex(cell)->paint(&painter, option, cell);
    }
    return image;
}

} // namespace lumvik
