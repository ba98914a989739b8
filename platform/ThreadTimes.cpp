#include "platform/ThreadTimes.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace lumvik {

namespace {

constexpr double secondsPerNanosecond = 1e-9;

/// Returns the name of the thread with the given folder in /proc, or an empty text if the thread
/// has ended.
std::string nameOf(const std::filesystem::path &thread) {
    std::ifstream stream(thread / "comm");
    std::string name;
    std::getline(stream, name);
    return name;
}

std::optional<ThreadTimes> timesOf(const std::filesystem::path &thread) {
    std::ifstream stream(thread / "schedstat");
    double running = 0;
    double waiting = 0;
    if (!(stream >> running >> waiting))
        return std::nullopt;
    return ThreadTimes{running * secondsPerNanosecond, waiting * secondsPerNanosecond};
}

} // namespace

std::optional<ThreadTimes> timesOfThreads(std::initializer_list<std::string_view> names) {
    std::optional<ThreadTimes> sum;
    std::error_code error;
    std::filesystem::directory_iterator threads("/proc/self/task", error);
    for (; !error && threads != std::filesystem::directory_iterator(); threads.increment(error)) {
        if (std::find(names.begin(), names.end(), nameOf(threads->path())) == names.end())
            continue;
        if (const auto times = timesOf(threads->path())) {
            sum = sum.value_or(ThreadTimes());
            sum->running += times->running;
            sum->waiting += times->waiting;
        }
    }
    return sum;
}

} // namespace lumvik
