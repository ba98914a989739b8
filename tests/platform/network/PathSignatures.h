#pragma once

#include "platform/network/NetworkPathMonitor.h"

#include <ostream>

namespace lumvik {

/// Prints a signature in failure messages.
inline void PrintTo(const NetworkPathSignature &signature, std::ostream *stream) {
    *stream << "satisfied " << signature.isSatisfied << ", Wi-Fi " << signature.usesWiFi
            << ", Ethernet " << signature.usesEthernet << ", other " << signature.usesOther;
}

namespace test {

/// Signatures that the tests expect.
inline constexpr NetworkPathSignature nothing{};
inline constexpr NetworkPathSignature wiFi{.isSatisfied = true, .usesWiFi = true};
inline constexpr NetworkPathSignature ethernet{.isSatisfied = true, .usesEthernet = true};
inline constexpr NetworkPathSignature other{.isSatisfied = true, .usesOther = true};
/// The signature that is assumed if nothing can be determined.
inline constexpr NetworkPathSignature satisfied{.isSatisfied = true};

} // namespace test
} // namespace lumvik
