#include "engine/link/OwnSocket.h"

#include <dirent.h>
#include <netinet/in.h>
#include <sys/ioctl.h>

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

bool isBoundTo(int descriptor, const SocketAddress &address) {
    SocketAddress local;
    local.size = sizeof local.storage;
    // Fails for descriptors that are no sockets, and for one that was closed meanwhile.
    return ::getsockname(descriptor, reinterpret_cast<sockaddr *>(&local.storage), &local.size) ==
               0 &&
           areEqual(asIPv4(local), asIPv4(address));
}

} // namespace

std::optional<int> ownSocketAt(const SocketAddress &address) {
    const std::unique_ptr<DIR, CloseFolder> descriptors(::opendir("/proc/self/fd"));
    if (!descriptors)
        return std::nullopt;
    while (const dirent *entry = ::readdir(descriptors.get())) {
        const int descriptor = std::atoi(entry->d_name);
        if (entry->d_name[0] != '.' && isBoundTo(descriptor, address))
            return descriptor;
    }
    return std::nullopt;
}

std::optional<qsizetype> unreadBytes(int descriptor, const SocketAddress &address) {
    int count = 0;
    if (!isBoundTo(descriptor, address) || ::ioctl(descriptor, FIONREAD, &count) != 0)
        return std::nullopt;
    return count;
}

} // namespace lumvik
