#include "editor/MirelFieldEditor.h"

#include "style/LumvikPalette.h"

#include <QEvent>
#include <QGuiApplication>
#include <QPainter>
#include <QProxyStyle>
#include <QStyleHints>

namespace lumvik {

namespace {

/// The width of the insertion point, in points.
constexpr int insertionPointWidth = 2;

/// Hides Qt's insertion point, which has the colour of the text. MirelFieldEditor draws its own.
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
    applyAccentColours();
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

void MirelFieldEditor::applyAccentColours() {
    QPalette colours = palette();
    // The colours are set for all colour groups, so that they also apply in an inactive window.
    colours.setColor(QPalette::Highlight, mirelSelection().background);
    colours.setColor(QPalette::HighlightedText, mirelSelection().foreground);
    if (colours != palette())
        setPalette(colours);
}

void MirelFieldEditor::changeEvent(QEvent *event) {
    QLineEdit::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        applyAccentColours();
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
    // cursorRect() is wider than the insertion point.
    QRect line = cursorRect();
    line.setLeft(line.center().x());
    line.setWidth(insertionPointWidth);
    QPainter painter(this);
    painter.fillRect(line, insertionPointColor());
}

} // namespace lumvik
