#pragma once

#include <QAccessible>

namespace lumvik {

/// Adds actions to an accessible object of the class `Object`, so that assistive technology can
/// operate it. Derived classes define the actions. Actions have no keyboard shortcuts unless a
/// derived class defines them.
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
