#include "viewer/KeyboardNavigation.h"

#include "viewer/ViewerControl.h"

#include <QAccessible>
#include <QGuiApplication>
#include <QPointer>
#include <QQuickWindow>

#include <algorithm>
#include <utility>

namespace lumvik {

KeyboardNavigation::KeyboardNavigation(QQuickWindow &window, QList<ViewerControl *> controls)
    : m_window(window)
    , m_controls(std::move(controls)) {
    connect(&window, &QQuickWindow::activeFocusItemChanged, this,
            &KeyboardNavigation::keyboardCameOrWent);
    connect(qGuiApp, &QGuiApplication::focusWindowChanged, this,
            &KeyboardNavigation::focusWindowChanged);
    for (ViewerControl *control : std::as_const(m_controls))
        control->setKeyboardAsked([self = QPointer(this), control] {
            if (self)
                self->reach(*control);
        });
}

bool KeyboardNavigation::isOnControls() const {
    return m_isReaching || current() != nullptr;
}

ViewerControl *KeyboardNavigation::current() const {
    // Not the active one: a menu takes the keyboard for a while, and gives it back.
    auto *control = qobject_cast<ViewerControl *>(m_window.contentItem()->scopedFocusItem());
    return m_controls.contains(control) ? control : nullptr;
}

bool KeyboardNavigation::walk(Direction direction) {
    const bool goesForwards = direction == Direction::forwards;
    const auto next = [this, goesForwards]() -> ViewerControl * {
        const QList<ViewerControl *> controls = usableControls();
        if (controls.isEmpty())
            return nullptr;
        const auto count = controls.size();
        const auto now = controls.indexOf(current());
        if (now < 0)
            return goesForwards ? controls.first() : controls.last();
        return controls.at((now + (goesForwards ? 1 : count - 1)) % count);
    };
    return setOut(next, goesForwards ? Qt::TabFocusReason : Qt::BacktabFocusReason);
}

void KeyboardNavigation::reach(ViewerControl &control) {
    if (QGuiApplication::focusWindow() != &m_window) {
        m_awaited = &control;
        m_window.requestActivate();
        return;
    }
    m_awaited = nullptr;
    (void)setOut([&] { return usableControls().contains(&control) ? &control : nullptr; },
                 Qt::OtherFocusReason);
}

bool KeyboardNavigation::setOut(const std::function<ViewerControl *()> &choose,
                                Qt::FocusReason reason) {
    m_isReaching = true;
    reportChange(); // what is hidden appears, and can be used
    ViewerControl *control = choose();
    if (control != nullptr)
        control->forceActiveFocus(reason);
    m_isReaching = false;
    reportChange();
    return control != nullptr;
}

bool KeyboardNavigation::leave() {
    m_awaited = nullptr; // what was asked for long ago would come as a surprise
    ViewerControl *control = current();
    if (control == nullptr)
        return false;
    control->setFocus(false);
    reportChange(); // the window does not tell while it has not got the keyboard
    return true;
}

void KeyboardNavigation::keyboardCameOrWent() {
    if (m_wasOnControls && !isOnControls())
        tellThatWindowHasKeyboard();
    reportChange();
}

void KeyboardNavigation::focusWindowChanged(const QWindow *focusWindow) {
    if (focusWindow == nullptr || focusWindow->type() == Qt::Popup)
        return; // a menu, or nobody knows yet
    if (focusWindow != &m_window)
        leave();
    else if (m_awaited != nullptr)
        reach(*m_awaited);
    else if (current() == nullptr)
        tellThatWindowHasKeyboard();
}

void KeyboardNavigation::tellThatWindowHasKeyboard() {
    if (QGuiApplication::focusWindow() != &m_window)
        return;
    QAccessibleEvent focused(&m_window, QAccessible::Focus);
    QAccessible::updateAccessibility(&focused);
}

void KeyboardNavigation::reportChange() {
    const bool isOn = isOnControls();
    if (std::exchange(m_wasOnControls, isOn) == isOn)
        return;
    QAccessible::State what;
    what.focused = true;
    QAccessibleStateChangeEvent changed(&m_window, what);
    QAccessible::updateAccessibility(&changed);
    if (m_changed)
        m_changed();
}

QList<ViewerControl *> KeyboardNavigation::usableControls() const {
    QList<ViewerControl *> controls;
    std::copy_if(m_controls.begin(), m_controls.end(), std::back_inserter(controls),
                 [](const ViewerControl *each) { return each->isVisible() && each->isEnabled(); });
    std::stable_sort(controls.begin(), controls.end(),
                     [](const ViewerControl *one, const ViewerControl *other) {
                         const QPointF first = one->mapToScene(QPointF());
                         const QPointF second = other->mapToScene(QPointF());
                         return std::pair(first.y(), first.x()) < std::pair(second.y(), second.x());
                     });
    return controls;
}

} // namespace lumvik
