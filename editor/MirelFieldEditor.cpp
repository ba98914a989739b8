#include "editor/MirelFieldEditor.h"

#include "style/LumvikPalette.h"

#include <QEvent>
#include <QGuiApplication>
#include <QPainter>
#include <QProxyStyle>
#include <QStyleHints>

namespace lumvik {

namespace {

constexpr int insertionPointWidth = 2;

/// Leaves the insertion point to the field, since the toolkit draws it in the colour of the text.
class NoInsertionPointStyle final : public QProxyStyle {
  public:
    int pixelMetric(PixelMetric metric, const QStyleOption *option,
                    const QWidget *widget) const override {
        return metric == PM_TextCursorWidth ? 0 : QProxyStyle::pixelMetric(metric, option, widget);
    }
};

} // namespace

const SelectedTextAttributes &MirelFieldEditor::mirelSelection() {
    static const SelectedTextAttributes attributes{.background = LumvikPalette::mirel(),
                                                   .foreground = Qt::white};
    return attributes;
}

MirelFieldEditor::MirelFieldEditor(QWidget *parent) : QLineEdit(parent) {
    auto *style = new NoInsertionPointStyle;
    style->setParent(this);
    setStyle(style);
    applyHouseColours();
    connect(&m_blinking, &QTimer::timeout, this, [this] {
        m_insertionPointIsOn = !m_insertionPointIsOn;
        update();
    });
    connect(this, &QLineEdit::cursorPositionChanged, this, &MirelFieldEditor::showInsertionPoint);
    connect(this, &QLineEdit::textChanged, this, &MirelFieldEditor::showInsertionPoint);
}

SelectedTextAttributes MirelFieldEditor::selectedTextAttributes() const {
    return {.background = palette().color(QPalette::Active, QPalette::Highlight),
            .foreground = palette().color(QPalette::Active, QPalette::HighlightedText)};
}

QColor MirelFieldEditor::insertionPointColor() const {
    return LumvikPalette::mirel();
}

void MirelFieldEditor::applyHouseColours() {
    QPalette colours = palette();
    // In every group: a window behind others keeps them, too.
    colours.setColor(QPalette::Highlight, mirelSelection().background);
    colours.setColor(QPalette::HighlightedText, mirelSelection().foreground);
    if (colours != palette())
        setPalette(colours);
}

void MirelFieldEditor::changeEvent(QEvent *event) {
    QLineEdit::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        applyHouseColours();
}

void MirelFieldEditor::showInsertionPoint() {
    m_insertionPointIsOn = hasFocus();
    const int period = QGuiApplication::styleHints()->cursorFlashTime();
    if (hasFocus() && period > 0)
        m_blinking.start(period / 2);
    else
        m_blinking.stop();
    update();
}

void MirelFieldEditor::focusInEvent(QFocusEvent *event) {
    QLineEdit::focusInEvent(event);
    showInsertionPoint();
}

void MirelFieldEditor::focusOutEvent(QFocusEvent *event) {
    QLineEdit::focusOutEvent(event);
    showInsertionPoint();
}

void MirelFieldEditor::paintEvent(QPaintEvent *event) {
    QLineEdit::paintEvent(event);
    if (!m_insertionPointIsOn || isReadOnly())
        return;
    // The toolkit's rectangle has room around the line itself.
    QRect line = cursorRect();
    line.setLeft(line.center().x());
    line.setWidth(insertionPointWidth);
    QPainter painter(this);
    painter.fillRect(line, insertionPointColor());
}

} // namespace lumvik
