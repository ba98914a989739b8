#pragma once

#include <QAccessible>

namespace lumvik {

/// An accessible object, `Object`, on which assistive technology can act. What the actions are and
/// do is said by the class derived from it; no action has a key of its own unless that says so.
template<class Object>
class AccessibleWithActions : public Object, public QAccessibleActionInterface {
  public:
    using Object::Object;

    void *interface_cast(QAccessible::InterfaceType type) override {
        return type == QAccessible::ActionInterface
                   ? static_cast<QAccessibleActionInterface *>(this)
                   : nullptr;
    }
    QStringList keyBindingsForAction(const QString &) const override { return {}; }
};

} // namespace lumvik
