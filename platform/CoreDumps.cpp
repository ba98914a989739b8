#include "platform/CoreDumps.h"

#include "platform/FileDescriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <string_view>
#include <utility>

namespace lumvik {

namespace {

/// The hexadecimal bit set in this file selects the kinds of memory that a dump contains. The file
/// is missing in kernels built without core dumps.
constexpr const char *filterFile = "/proc/self/coredump_filter";

std::string readFilter() {
    std::string filter;
    const FileDescriptor file(::open(filterFile, O_RDONLY | O_CLOEXEC));
    if (!file.isOpen())
        return filter;
    std::array<char, 32> text{};
    const ssize_t length = ::read(file.get(), text.data(), text.size());
    if (length > 0)
        filter.assign("0x").append(text.data(), static_cast<std::size_t>(length));
    return filter;
}

void writeFilter(std::string_view filter) noexcept {
    const FileDescriptor file(::open(filterFile, O_WRONLY | O_CLOEXEC));
    if (!file.isOpen())
        return;
    // A failure cannot be reported here, and there is nothing else to try.
    [[maybe_unused]] const ssize_t written = ::write(file.get(), filter.data(), filter.size());
}

} // namespace

CoreDumpSettings::CoreDumpSettings(std::optional<rlimit> limit, std::string filter)
    : m_limit(limit)
    , m_filter(std::move(filter)) {}

void CoreDumpSettings::restoreInChild() const noexcept {
    if (m_limit)
        ::setrlimit(RLIMIT_CORE, &*m_limit);
    if (!m_filter.empty())
        writeFilter(m_filter);
}

CoreDumpSettings forbidCoreDumps() {
    rlimit limit{};
    std::optional<rlimit> users;
    if (::getrlimit(RLIMIT_CORE, &limit) == 0) {
        users = limit;
        limit.rlim_cur = 0;
        ::setrlimit(RLIMIT_CORE, &limit);
    }
    CoreDumpSettings before(users, readFilter());
    writeFilter("0");
    return before;
}

} // namespace lumvik
