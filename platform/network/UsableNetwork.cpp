#include "platform/network/UsableNetwork.h"

#include <net/if_arp.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

namespace lumvik {

namespace {

bool canPassTraffic(const NetworkInterface &interface) {
    return interface.isUp && interface.isRunning && !interface.isLoopback;
}

} // namespace

bool reachesCameras(const InterfaceAddress &address) {
    const AddressBytes &bytes = address.bytes;
    if (bytes == AddressBytes{})
        return false;
    if (address.family == AF_INET)
        return bytes[0] != 127;
    constexpr AddressBytes loopback{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
    return bytes != loopback && !(bytes[0] == 0xfe && (bytes[1] & 0xc0) == 0x80);
}

NetworkState usableNetwork(const NetworkState &state) {
    NetworkState usable;
    for (const NetworkInterface &interface : state.interfaces) {
        if (!canPassTraffic(interface))
            continue;
        NetworkInterface used = interface;
        used.name.clear();
        std::erase_if(used.addresses,
                      [](const InterfaceAddress &address) { return !reachesCameras(address); });
        const std::size_t routesBefore = usable.defaultRoutes.size();
        std::ranges::copy_if(
            state.defaultRoutes, std::back_inserter(usable.defaultRoutes),
            [&](const DefaultRoute &route) { return route.interfaceIndex == interface.index; });
        const bool hasRoute = usable.defaultRoutes.size() != routesBefore;
        const bool isVirtualBridge = used.isBridge && !used.bridgesHardware;
        used.isBridge = used.bridgesHardware = false;
        if (hasRoute || (!used.addresses.empty() && !isVirtualBridge))
            usable.interfaces.push_back(std::move(used));
    }
    return usable;
}

NetworkPathSignature networkPathSignature(const NetworkState &state) {
    NetworkPathSignature signature;
    for (const NetworkInterface &interface : usableNetwork(state).interfaces) {
        signature.isSatisfied = true;
        if (interface.isWireless)
            signature.usesWiFi = true;
        else if (interface.hardwareType == ARPHRD_ETHER)
            signature.usesEthernet = true;
        else
            signature.usesOther = true;
    }
    return signature;
}

} // namespace lumvik
