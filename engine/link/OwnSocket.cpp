#include "engine/link/OwnSocket.h"

#include <dirent.h>
#include <netinet/in.h>

#include <cstdlib>
#include <cstring>
#include <memory>

namespace lumvik {

namespace {

struct CloseFolder {
    void operator()(DIR *folder) const { ::closedir(folder); }
};

bool areEqual(const sockaddr_in &a, const sockaddr_in &b) {
    return a.sin_family == AF_INET && b.sin_family == AF_INET && a.sin_port == b.sin_port &&
           a.sin_addr.s_addr == b.sin_addr.s_addr;
}

sockaddr_in asIPv4(const SocketAddress &address) {
    sockaddr_in copy = {};
    if (address.family() == AF_INET && address.size >= sizeof copy)
        std::memcpy(&copy, &address.storage, sizeof copy);
    return copy;
}

} // namespace

bool isOwnSocketAddress(const SocketAddress &address) {
    const sockaddr_in wanted = asIPv4(address);
    const std::unique_ptr<DIR, CloseFolder> descriptors(::opendir("/proc/self/fd"));
    if (!descriptors)
        return false;
    while (const dirent *entry = ::readdir(descriptors.get())) {
        const int descriptor = std::atoi(entry->d_name);
        SocketAddress local;
        local.size = sizeof local.storage;
        // Fails for descriptors that are no sockets, and for one that was closed meanwhile.
        if (entry->d_name[0] != '.' &&
            ::getsockname(descriptor, reinterpret_cast<sockaddr *>(&local.storage), &local.size) ==
                0 &&
            areEqual(asIPv4(local), wanted))
            return true;
    }
    return false;
}

} // namespace lumvik
