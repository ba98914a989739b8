#pragma once

#include <filesystem>
#include <string>

namespace lumvik {

/// Attributes of an interface that the kernel's rtnetlink messages do not contain.
struct SysfsInterfaceAttributes {
    bool isWireless = false;
    bool isBridge = false;
    /// For a bridge: whether a hardware device is among its ports or underlies one of them. A port
    /// may be a VLAN or a bond.
    bool bridgesHardware = false;
};

/// Reads the attributes of the named interface from `folder`, which is laid out like
/// /sys/class/net. All attributes are false for an unknown interface.
[[nodiscard]] SysfsInterfaceAttributes
readSysfsInterfaceAttributesIn(const std::filesystem::path &folder, const std::string &name);

/// Reads the attributes of the named interface from /sys/class/net.
[[nodiscard]] SysfsInterfaceAttributes readSysfsInterfaceAttributes(const std::string &name);

} // namespace lumvik
