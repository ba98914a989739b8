#pragma once

#include "platform/network/NetworkState.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <cstring>

// Helpers that parse IP addresses.

namespace lumvik::test {

inline int familyOf(const char *text) {
    return std::strchr(text, ':') ? AF_INET6 : AF_INET;
}

inline AddressBytes bytesOf(const char *text) {
    AddressBytes bytes{};
    EXPECT_EQ(inet_pton(familyOf(text), text, bytes.data()), 1) << text;
    return bytes;
}

inline InterfaceAddress address(const char *text) {
    return {.family = familyOf(text), .bytes = bytesOf(text), .prefixLength = 24};
}

} // namespace lumvik::test
