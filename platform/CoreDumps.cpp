#include "platform/CoreDumps.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <string_view>
#include <utility>

namespace lumvik {

namespace {

/// Which kinds of memory go into a dump, a hexadecimal set; missing in kernels built without dumps.
constexpr const char *filterFile = "/proc/self/coredump_filter";

std::string readFilter() {
    std::string filter;
    const int file = ::open(filterFile, O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return filter;
    std::array<char, 32> text{};
    const ssize_t length = ::read(file, text.data(), text.size());
    ::close(file);
    if (length > 0)
        filter.assign("0x").append(text.data(), static_cast<std::size_t>(length));
    return filter;
}

void writeFilter(std::string_view filter) noexcept {
    const int file = ::open(filterFile, O_WRONLY | O_CLOEXEC);
    if (file < 0)
        return;
    // There is nobody to tell, and nothing else to try.
    [[maybe_unused]] const ssize_t written = ::write(file, filter.data(), filter.size());
    ::close(file);
}

} // namespace

UsersCoreDumps::UsersCoreDumps(std::optional<rlimit> limit, std::string filter)
    : m_limit(limit)
    , m_filter(std::move(filter)) {}

void UsersCoreDumps::restoreInChild() const noexcept {
    if (m_limit)
        ::setrlimit(RLIMIT_CORE, &*m_limit);
    if (!m_filter.empty())
        writeFilter(m_filter);
}

UsersCoreDumps forbidCoreDumps() {
    rlimit limit{};
    std::optional<rlimit> users;
    if (::getrlimit(RLIMIT_CORE, &limit) == 0) {
        users = limit;
        limit.rlim_cur = 0;
        ::setrlimit(RLIMIT_CORE, &limit);
    }
    UsersCoreDumps before(users, readFilter());
    writeFilter("0");
    return before;
}

} // namespace lumvik
