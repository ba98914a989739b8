#include "editor/CameraFinderSheet.h"

#include "style/LumvikPalette.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QPainter>
#include <QProxyStyle>
#include <QStyleOption>
#include <QStyledItemDelegate>
#include <QVBoxLayout>

#include <initializer_list>
#include <utility>

namespace lumvik {

namespace {

using StreamState = CameraFinderController::StreamState;
using SearchState = CameraFinderController::SearchState;

// Lengths are in points.

/// Large enough for about six cameras and four streams, and smaller than the editor.
constexpr QSize sheetSize{720, 540};
constexpr QSize minimumSheetSize{600, 420};
constexpr QMargins sheetMargins{24, 20, 24, 20};
constexpr int rowSpacing = 12;
/// The space between the title of a button and its left and right edges.
constexpr int sheetButtonPadding = 14;

/// What a row of a list is higher than its text.
constexpr int listRowPadding = 10;
constexpr int focusOutlineWidth = 2;
constexpr int modelWidth = 150;
/// Shows an IPv4 address. A longer one is elided.
constexpr int addressWidth = 130;
constexpr int listedWidth = 90;
constexpr int kindWidth = 60;
constexpr int sizeWidth = 110;
constexpr int rateWidth = 110;
constexpr int codecWidth = 70;

/// Longer texts are no user names and passwords. With all characters percent-encoded, an address
/// with both is still within `longestCameraAddress`.
constexpr int longestLoginText = 256;

QPushButton *makeSheetButton(const QString &title) {
    auto *button = new QPushButton(title);
    button->setAutoDefault(false); // The sheet decides which button Return presses.
    // Some styles leave hardly any space beside the title.
    button->setMinimumWidth(button->fontMetrics().horizontalAdvance(title) +
                            2 * sheetButtonPadding);
    return button;
}

/// Returns a label for texts that a device may have a part in.
QLabel *makePlainLabel(const QString &text = {}) {
    auto *label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    return label;
}

/// Makes the rows of a list as easy to hit as those of the editor's table.
class RoomyRows final : public QStyledItemDelegate {
  public:
    using QStyledItemDelegate::QStyledItemDelegate;

    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem &option,
                                 const QModelIndex &index) const override {
        return QStyledItemDelegate::sizeHint(option, index) + QSize(0, listRowPadding);
    }
};

/// Marks the row with the keyboard focus by an outline in the colour of the text, as in the
/// editor's table. The mark of some styles is a veil over the row, which takes contrast from the
/// text.
class FocusOutline final : public QProxyStyle {
  public:
    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                       const QWidget *widget) const override {
        if (element != PE_FrameFocusRect)
            return QProxyStyle::drawPrimitive(element, option, painter, widget);
        painter->save();
        painter->setPen(QPen(option->palette.color(QPalette::Text), focusOutlineWidth));
        painter->drawRect(QRectF(option->rect).adjusted(1, 1, -1, -1));
        painter->restore();
    }
};

/// Gives selected text and rows the editor's colours.
void setEditorColours(QWidget &widget) {
    QPalette colours;
    colours.setColor(QPalette::Highlight, LumvikPalette::mirelBehindText());
    colours.setColor(QPalette::HighlightedText, Qt::white);
    widget.setPalette(colours);
}

/// Returns a list of which only whole rows are selected, with the editor's colours. The first
/// column gets the space that `widths`, those of the other columns, leave.
QTreeView *makeList(QAbstractItemModel &model, const QString &title, const QList<int> &widths) {
    auto *view = new QTreeView;
    auto *style = new FocusOutline;
    style->setParent(view);
    view->setStyle(style);
    view->setModel(&model);
    view->setAccessibleName(title);
    view->setRootIsDecorated(false);
    view->setItemsExpandable(false);
    view->setItemDelegate(new RoomyRows(view));
    view->setUniformRowHeights(true);
    view->setAllColumnsShowFocus(true);
    view->setTabKeyNavigation(false);
    QHeaderView &header = *view->header();
    header.setSectionsMovable(false);
    header.setStretchLastSection(false);
    header.setSectionResizeMode(0, QHeaderView::Stretch);
    for (int column = 1; column <= widths.size(); ++column)
        header.resizeSection(column, widths.at(column - 1));
    setEditorColours(*view);
    return view;
}

void addField(QHBoxLayout &layout, const QString &title, QLineEdit *field) {
    QLabel *label = makePlainLabel(title);
    label->setBuddy(field);
    field->setMaxLength(longestLoginText);
    setEditorColours(*field);
    layout.addWidget(label);
    layout.addWidget(field, 1);
}

} // namespace

CameraFinderSheet::CameraFinderSheet(MainQueue &queue,
                                     const CameraFinderController::MakeSearch &makeSearch,
                                     CameraFinderController::Logins logins, QWidget *parent)
    : QDialog(parent)
    , m_finder(queue, makeSearch, std::move(logins)) {
    setWindowTitle(QStringLiteral("Find Cameras"));
    setWindowModality(Qt::WindowModal);
    setAttribute(Qt::WA_DeleteOnClose);
    setMinimumSize(minimumSheetSize);
    resize(sheetSize);

    cameraView = makeList(m_finder.cameras(), QStringLiteral("Found cameras"),
                          {modelWidth, addressWidth, listedWidth});
    streamView = makeList(m_finder.streams(), QStringLiteral("Streams of the camera"),
                          {kindWidth, sizeWidth, rateWidth, codecWidth});
    streamLabel = makePlainLabel();
    streamLabel->setWordWrap(true);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(sheetMargins);
    layout->setSpacing(rowSpacing);
    layout->addLayout(makeSearchRow());
    layout->addWidget(cameraView, 3);
    layout->addLayout(makeLoginRow());
    layout->addWidget(streamLabel);
    layout->addWidget(streamView, 2);
    layout->addLayout(makeButtonRow());
    QWidget *before = cameraView;
    for (QWidget *each :
         std::initializer_list<QWidget *>{userField, passwordField, showButton, streamView,
                                          closeButton, addButton, searchButton}) {
        setTabOrder(before, each);
        before = each;
    }
    connectControls();
    updateControls();
}

// ---- Widgets ----

QLayout *CameraFinderSheet::makeSearchRow() {
    searchLabel = makePlainLabel();
    searchLabel->setWordWrap(true);
    searchButton = makeSheetButton(QStringLiteral("Search Again"));
    auto *row = new QHBoxLayout;
    row->addWidget(searchLabel, 1);
    row->addWidget(searchButton, 0, Qt::AlignTop);
    return row;
}

QLayout *CameraFinderSheet::makeLoginRow() {
    userField = new QLineEdit;
    passwordField = new QLineEdit;
    passwordField->setEchoMode(QLineEdit::Password);
    showButton = makeSheetButton(QStringLiteral("Show Streams"));
    auto *row = new QHBoxLayout;
    addField(*row, QStringLiteral("&User name:"), userField);
    addField(*row, QStringLiteral("&Password:"), passwordField);
    row->addWidget(showButton);
    return row;
}

QLayout *CameraFinderSheet::makeButtonRow() {
    closeButton = makeSheetButton(QStringLiteral("Close"));
    addButton = makeSheetButton(QStringLiteral("Add"));
    auto *row = new QHBoxLayout;
    row->addStretch();
    row->addWidget(closeButton);
    row->addWidget(addButton);
    return row;
}

void CameraFinderSheet::connectControls() {
    using Self = CameraFinderSheet;
    connect(&m_finder, &CameraFinderController::searchChanged, this, &Self::handleSearchChange);
    connect(&m_finder, &CameraFinderController::streamsChanged, this, &Self::handleStreamsChange);
    connect(cameraView->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &Self::chooseCamera);
    connect(streamView->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        m_addedName.clear();
        updateControls();
    });
    for (QLineEdit *field : {userField, passwordField}) {
        connect(field, &QLineEdit::textEdited, this, [this] {
            m_isLoginEdited = true;
            updateControls();
        });
    }
    connect(searchButton, &QPushButton::clicked, &m_finder, &CameraFinderController::search);
    connect(showButton, &QPushButton::clicked, this, &Self::showStreams);
    connect(addButton, &QPushButton::clicked, this, &Self::addCamera);
    connect(streamView, &QTreeView::doubleClicked, addButton, &QPushButton::click);
    connect(closeButton, &QPushButton::clicked, this, &Self::reject);
}

// ---- Actions ----

void CameraFinderSheet::openAndSearch() {
    open();
    cameraView->setFocus();
    m_finder.search();
}

void CameraFinderSheet::setListedAddresses(const QStringList &addresses) {
    m_finder.setListedAddresses(addresses);
}

void CameraFinderSheet::chooseCamera() {
    const QModelIndexList rows = cameraView->selectionModel()->selectedRows();
    // Another camera must not receive the password by mistake.
    if (m_finder.choose(rows.isEmpty() ? -1 : rows.first().row()))
        passwordField->clear();
    updateControls();
}

void CameraFinderSheet::showStreams() {
    // A disabled button would pass the focus to its neighbour.
    if (showButton->hasFocus())
        streamView->setFocus();
    m_isLoginEdited = false;
    m_finder.ask({.user = userField->text(), .password = passwordField->text()});
}

void CameraFinderSheet::addCamera() {
    const int row = streamRow();
    const auto camera = m_finder.cameraWithStream(row);
    if (!camera)
        return;
    Q_EMIT addRequested(*camera);
    if (m_finder.isStreamListed(row))
        m_addedName = camera->name;
    updateControls();
}

// ---- The state ----

int CameraFinderSheet::streamRow() const {
    const QModelIndexList rows = streamView->selectionModel()->selectedRows();
    return rows.isEmpty() ? -1 : rows.first().row();
}

void CameraFinderSheet::handleSearchChange() {
    const bool hasEnded = m_finder.searchState() == SearchState::ended;
    if (hasEnded && !m_finder.hasChoice() && m_finder.cameras().rowCount() > 0)
        cameraView->setCurrentIndex(m_finder.cameras().index(0, 0));
    updateControls();
}

void CameraFinderSheet::handleStreamsChange() {
    const StreamState state = m_finder.streamState();
    if (std::exchange(m_shownState, state) != state) {
        if (state == StreamState::shown) {
            streamView->setCurrentIndex(m_finder.streams().index(0, 0));
            streamView->setFocus();
        } else if (state == StreamState::failed) {
            QLineEdit *field =
                m_finder.cause() == OnvifCause::loginNeeded ? userField : passwordField;
            field->setFocus();
            field->selectAll();
        }
    }
    updateControls();
}

/// Returns the button that is most likely the next one.
QPushButton *CameraFinderSheet::buttonForReturn() const {
    if (addButton->isEnabled() && !m_isLoginEdited)
        return addButton;
    const bool hasAdded = m_finder.isStreamListed(streamRow());
    return showButton->isEnabled() && (!hasAdded || m_isLoginEdited) ? showButton : closeButton;
}

void CameraFinderSheet::updateControls() {
    const StreamState state = m_finder.streamState();
    const bool isListed = m_finder.isStreamListed(streamRow());
    const bool canAsk = m_finder.hasChoice() && state != StreamState::asking;
    // A disabled button would pass the focus to its neighbour.
    const bool canAdd = streamRow() >= 0 && !isListed;
    if (!canAdd && addButton->hasFocus())
        closeButton->setFocus();
    const bool isSearching = m_finder.searchState() == SearchState::searching;
    if (isSearching && searchButton->hasFocus())
        cameraView->setFocus();

    searchLabel->setText(m_finder.searchText());
    searchButton->setEnabled(!isSearching);
    for (QLineEdit *field : {userField, passwordField})
        field->setEnabled(m_finder.hasChoice());
    showButton->setEnabled(canAsk);
    addButton->setEnabled(canAdd);
    if (!m_addedName.isEmpty())
        streamLabel->setText(QStringLiteral("“%1” has been added to the list.").arg(m_addedName));
    else if (isListed)
        streamLabel->setText(QStringLiteral("This stream is in the list."));
    else
        streamLabel->setText(m_finder.streamText());
    buttonForReturn()->setDefault(true);
}

// ---- Events ----

void CameraFinderSheet::keyPressEvent(QKeyEvent *event) {
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    // A key that is held down must not send a refused password again.
    if (isReturn && event->isAutoRepeat())
        return;
    if (event->matches(QKeySequence::Close))
        return reject();
    QDialog::keyPressEvent(event);
}

void CameraFinderSheet::done(int result) {
    m_finder.cancel();
    QDialog::done(result);
}

} // namespace lumvik
