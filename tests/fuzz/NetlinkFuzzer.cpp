// Messages of the kernel about the network. Each is one byte for its type, one for its length and
// then its bytes.
#include "fuzz/Fuzzing.h"
#include "platform/network/NetworkInterfaceTable.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>

#include <cstring>
#include <vector>

using namespace lumvik;

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    constexpr std::uint16_t types[] = {RTM_NEWLINK, RTM_DELLINK,  RTM_NEWADDR,
                                       RTM_DELADDR, RTM_NEWROUTE, RTM_DELROUTE};
    NetworkInterfaceTable table([](const std::string &) { return SysfsInterfaceAttributes(); });
    QByteArrayView input = test::bytesOf(data, size);
    while (!input.isEmpty()) {
        nlmsghdr header = {};
        header.nlmsg_type = types[test::takeByte(input) % std::size(types)];
        const qsizetype length = std::min<qsizetype>(test::takeByte(input), input.size());
        header.nlmsg_len = static_cast<std::uint32_t>(NLMSG_LENGTH(length));
        // A message of its own, so that reading beyond its end is noticed.
        std::vector<std::uint32_t> message((header.nlmsg_len + 3) / 4);
        std::memcpy(message.data(), &header, sizeof header);
        std::memcpy(message.data() + NLMSG_HDRLEN / 4, input.data(),
                    static_cast<std::size_t>(length));
        input = input.sliced(length);
        table.apply(*reinterpret_cast<const nlmsghdr *>(message.data()));
    }
    return 0;
}
