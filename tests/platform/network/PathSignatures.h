#pragma once

#include "platform/network/NetworkPathMonitor.h"

#include <ostream>

namespace lumvik {

/// For failure messages.
inline void PrintTo(const NetworkPathSignature &signature, std::ostream *stream) {
    *stream << "satisfied " << signature.isSatisfied << ", Wi-Fi " << signature.usesWiFi
            << ", Ethernet " << signature.usesEthernet << ", other " << signature.usesOther;
}

namespace test {

/// The signatures that the tests expect, by name.
inline constexpr NetworkPathSignature nothing{};
inline constexpr NetworkPathSignature wiFi{.isSatisfied = true, .usesWiFi = true};
inline constexpr NetworkPathSignature ethernet{.isSatisfied = true, .usesEthernet = true};
inline constexpr NetworkPathSignature other{.isSatisfied = true, .usesOther = true};
/// What is assumed where nothing can be known.
inline constexpr NetworkPathSignature satisfied{.isSatisfied = true};

} // namespace test
} // namespace lumvik
