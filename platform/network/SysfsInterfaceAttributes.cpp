#include "platform/network/SysfsInterfaceAttributes.h"

#include <string_view>
#include <system_error>

namespace lumvik {

namespace {

/// Whether the interface is a device of the machine, or stands on one. `levels` is how far down to
/// look; the kernel stacks no more than eight interfaces.
bool standsOnHardware(const std::filesystem::path &folder, const std::string &name,
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
            standsOnHardware(folder, file.substr(lowerPrefix.size()), levels - 1))
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
    SysfsInterfaceAttributes facts;
    facts.isWireless = has("phy80211") || has("wireless");
    facts.isBridge = has("bridge");
    facts.bridgesHardware = facts.isBridge && standsOnHardware(folder, name);
    return facts;
}

SysfsInterfaceAttributes readSysfsInterfaceAttributes(const std::string &name) {
    return readSysfsInterfaceAttributesIn("/sys/class/net", name);
}

} // namespace lumvik
