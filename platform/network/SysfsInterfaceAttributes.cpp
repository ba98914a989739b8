#include "platform/network/SysfsInterfaceAttributes.h"

#include <string_view>
#include <system_error>

namespace lumvik {

namespace {

/// Returns whether the interface is a hardware device or is stacked on top of one. `levels` limits
/// the search depth; the kernel stacks at most eight interfaces.
bool isBackedByHardware(const std::filesystem::path &folder, const std::string &name,
                        int levels = 8) {
    static constexpr std::string_view lowerPrefix = "lower_";
    std::error_code error;
    if (std::filesystem::exists(folder / name / "device", error))
        return true;
    if (levels == 0)
        return false;
    std::filesystem::directory_iterator entry(folder / name, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const std::string file = entry->path().filename();
        if (file.starts_with(lowerPrefix) &&
            isBackedByHardware(folder, file.substr(lowerPrefix.size()), levels - 1))
            return true;
    }
    return false;
}

} // namespace

SysfsInterfaceAttributes readSysfsInterfaceAttributesIn(const std::filesystem::path &folder,
                                                        const std::string &name) {
    const auto has = [&](const char *entry) {
        std::error_code error;
        return std::filesystem::exists(folder / name / entry, error);
    };
    SysfsInterfaceAttributes attributes;
    attributes.isWireless = has("phy80211") || has("wireless");
    attributes.isBridge = has("bridge");
    attributes.bridgesHardware = attributes.isBridge && isBackedByHardware(folder, name);
    return attributes;
}

SysfsInterfaceAttributes readSysfsInterfaceAttributes(const std::string &name) {
    return readSysfsInterfaceAttributesIn("/sys/class/net", name);
}

} // namespace lumvik
