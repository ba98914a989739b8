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
            &KeyboardNavigation::keyboardFocusChanged);
    connect(qGuiApp, &QGuiApplication::focusWindowChanged, this,
            &KeyboardNavigation::focusWindowChanged);
    for (ViewerControl *control : std::as_const(m_controls))
        control->setKeyboardAsked([self = QPointer(this), control] {
            if (self)
                self->focusControl(*control);
        });
}

bool KeyboardNavigation::isOnControls() const {
    return m_isFocusing || current() != nullptr;
}

ViewerControl *KeyboardNavigation::current() const {
    // The scope's focus item is queried instead of the window's active focus item, because an open
    // menu temporarily holds the keyboard focus.
    auto *control = qobject_cast<ViewerControl *>(m_window.contentItem()->scopedFocusItem());
    return m_controls.contains(control) ? control : nullptr;
}

bool KeyboardNavigation::moveFocus(Direction direction) {
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
    return showAndFocus(next, goesForwards ? Qt::TabFocusReason : Qt::BacktabFocusReason);
}

void KeyboardNavigation::focusControl(ViewerControl &control) {
    if (QGuiApplication::focusWindow() != &m_window) {
        m_awaitedControl = &control;
        m_window.requestActivate();
        return;
    }
    m_awaitedControl = nullptr;
    (void)showAndFocus([&] { return usableControls().contains(&control) ? &control : nullptr; },
                       Qt::OtherFocusReason);
}

bool KeyboardNavigation::showAndFocus(const std::function<ViewerControl *()> &choose,
                                      Qt::FocusReason reason) {
    m_isFocusing = true;
    reportChange(); // hidden controls appear and become usable
    ViewerControl *control = choose();
    if (control != nullptr)
        control->forceActiveFocus(reason);
    m_isFocusing = false;
    reportChange();
    return control != nullptr;
}

bool KeyboardNavigation::clearFocus() {
    m_awaitedControl =
        nullptr; // a focus change that was requested long ago would surprise the user
    ViewerControl *control = current();
    if (control == nullptr)
        return false;
    control->setFocus(false);
    reportChange(); // an inactive window does not report the change
    return true;
}

void KeyboardNavigation::keyboardFocusChanged() {
    if (m_wasOnControls && !isOnControls())
        notifyThatWindowHasFocus();
    reportChange();
}

void KeyboardNavigation::focusWindowChanged(const QWindow *focusWindow) {
    if (focusWindow == nullptr || focusWindow->type() == Qt::Popup)
        return; // a menu has the focus, or no window has it yet
    if (focusWindow != &m_window)
        clearFocus();
    else if (m_awaitedControl != nullptr)
        focusControl(*m_awaitedControl);
    else if (current() == nullptr)
        notifyThatWindowHasFocus();
}

void KeyboardNavigation::notifyThatWindowHasFocus() {
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
