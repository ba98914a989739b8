#pragma once

#include <filesystem>
#include <string>

namespace lumvik {

/// What the kernel's messages do not tell of an interface.
struct SysfsInterfaceAttributes {
    bool isWireless = false;
    bool isBridge = false;
    /// Of a bridge: whether a device of the machine is among its ports, or below one of them (a
    /// port may be a VLAN or a bond).
    bool bridgesHardware = false;
};

/// The facts that `folder`, laid out like /sys/class/net, holds about the interface of this name;
/// none where it does not know the name.
[[nodiscard]] SysfsInterfaceAttributes
readSysfsInterfaceAttributesIn(const std::filesystem::path &folder, const std::string &name);

/// The facts that /sys/class/net holds.
[[nodiscard]] SysfsInterfaceAttributes readSysfsInterfaceAttributes(const std::string &name);

} // namespace lumvik
