#include "editor/CameraTableView.h"

#include "editor/CameraFieldDelegate.h"
#include "editor/CameraListModel.h"
#include "editor/MirelCameraRowView.h"
#include "style/LumvikPalette.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QProxyStyle>
#include <QStyleOption>

namespace lumvik {

namespace {

constexpr int cellHeight = 38;
constexpr int rowSpacing = 6;
constexpr int handleWidth = 28;
constexpr int nameWidth = 205;
constexpr int minimumNameWidth = 150;
constexpr int minimumAddressWidth = 330;

/// Leaves the ground of rows and cells to the table, and draws the place of a drop as a line over
/// the whole width.
class CameraTableStyle final : public QProxyStyle {
  public:
    void drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                     const QWidget *widget) const override {
        if (element != CE_HeaderSection) // the titles stand on the window's own ground
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
    static void drawDropLine(const QStyleOption &option, QPainter &painter, const QWidget *widget) {
        if (option.rect.isNull() || widget == nullptr)
            return;
        constexpr qreal thickness = 3;
        const QRectF line(4, option.rect.top() - thickness / 2, widget->width() - 8.0, thickness);
        painter.save();
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(LumvikPalette::mirel());
        painter.drawRoundedRect(line, thickness / 2, thickness / 2);
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
    setItemDelegate(new CameraFieldDelegate(this));
    setAccessibleName(QStringLiteral("Cameras"));

    setFrameShape(NoFrame);
    viewport()->setAutoFillBackground(false);
    setShowGrid(false);
    setCornerButtonEnabled(false);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(ScrollPerPixel);
    setSelectionBehavior(SelectRows);
    setSelectionMode(SingleSelection);
    setEditTriggers(DoubleClicked | SelectedClicked | EditKeyPressed | AnyKeyPressed);

    setDragDropMode(InternalMove);
    setDragDropOverwriteMode(false); // or a row that was dragged away would be emptied
    setDefaultDropAction(Qt::MoveAction);

    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(cellHeight + rowSpacing);
    setUpColumns();
}

void CameraTableView::setUpColumns() {
    QHeaderView *header = horizontalHeader();
    header->setStyle(style());
    header->setForegroundRole(QPalette::PlaceholderText);
    header->viewport()->setAutoFillBackground(false);
    header->setHighlightSections(false);
    header->setSectionsClickable(false);
    header->setMinimumSectionSize(handleWidth);
    header->setSectionResizeMode(CameraListModel::order, QHeaderView::Fixed);
    header->resizeSection(CameraListModel::order, handleWidth);
    header->resizeSection(CameraListModel::name, nameWidth);
    header->setStretchLastSection(true);
    // The header knows one minimum for all columns only.
    connect(header, &QHeaderView::sectionResized, this, [this, header](int column, int, int width) {
        const int room = viewport()->width() - handleWidth - minimumAddressWidth;
        const int most = qMax(room, minimumNameWidth);
        if (column == CameraListModel::name && (width < minimumNameWidth || width > most))
            header->resizeSection(column, qBound(minimumNameWidth, width, most));
    });
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
    setAutoScroll(false); // or a cell that becomes the current one is brought into view by itself
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
    if (state() != EditingState)
        return;
    setFocus(); // which commits, and closes the field
}

void CameraTableView::selectionChanged(const QItemSelection &selected,
                                       const QItemSelection &deselected) {
    QTableView::selectionChanged(selected, deselected);
    viewport()->update(); // rows are drawn whole
    Q_EMIT selectedRowChanged();
}

void CameraTableView::keyPressEvent(QKeyEvent *event) {
    const bool isMove = event->modifiers() == Qt::AltModifier;
    if (isMove && event->key() == Qt::Key_Up)
        Q_EMIT moveRequested(-1);
    else if (isMove && event->key() == Qt::Key_Down)
        Q_EMIT moveRequested(1);
    else
        QTableView::keyPressEvent(event);
}

QModelIndex CameraTableView::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) {
    const QModelIndex next = QTableView::moveCursor(action, modifiers);
    if (!next.isValid() || next.column() != CameraListModel::order)
        return next;
    if (action == MoveNext)
        return next.siblingAtColumn(CameraListModel::name);
    if (action == MovePrevious) {
        // From the first field of all to the last one.
        const int row = (next.row() > 0 ? next.row() : m_cameras.rowCount()) - 1;
        return m_cameras.index(row, CameraListModel::address);
    }
    return next;
}

void CameraTableView::paintEvent(QPaintEvent *event) {
    {
        QPainter painter(viewport());
        const int selected = selectedRow();
        const int first = qMax(rowAt(event->rect().top()), 0);
        for (int row = first; row < m_cameras.rowCount(); ++row) {
            const int top = rowViewportPosition(row);
            if (top > event->rect().bottom())
                break;
            const QRectF bounds(0, top, viewport()->width(), rowHeight(row));
            MirelCameraRowView view;
            view.usesAlternateBackground = row % 2 == 1;
            view.isSelected = row == selected;
            view.drawBackground(painter, bounds, palette());
            view.drawSelection(painter, bounds);
        }
    }
    QTableView::paintEvent(event);
}

} // namespace lumvik
