#include "testcamera/OnvifOptions.h"

#include <algorithm>
#include <array>
#include <utility>

namespace lumvik::test {

namespace {

constexpr std::array<std::pair<QLatin1String, OnvifFault>, 7> names = {{
    {QLatin1String("clock-hour-off"), OnvifFault::ClockHourOff},
    {QLatin1String("local-time"), OnvifFault::LocalTime},
    {QLatin1String("clock-wants-login"), OnvifFault::ClockWantsLogin},
    {QLatin1String("wrong-host"), OnvifFault::WrongHost},
    {QLatin1String("three-profiles"), OnvifFault::ThreeProfiles},
    {QLatin1String("other-prefixes"), OnvifFault::OtherPrefixes},
    {QLatin1String("http-digest"), OnvifFault::HttpDigest},
}};

} // namespace

std::optional<OnvifFault> onvifFaultNamed(const QString &name) {
    const auto *const found = std::find_if(
        names.begin(), names.end(), [&name](const auto &each) { return each.first == name; });
    return found == names.end() ? std::nullopt : std::optional(found->second);
}

QStringList onvifFaultNames() {
    QStringList result;
    for (const auto &[name, fault] : names)
        result.append(name);
    return result;
}

} // namespace lumvik::test
