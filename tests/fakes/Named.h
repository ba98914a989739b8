#pragma once

#include <ostream>
#include <string>

namespace lumvik::test {

/// A parameter of a test, and what the test is called with it. It is printed by that name: ctest
/// takes what is printed into the names that it lists, and these must not differ from run to run,
/// as the address of a name would.
///
///     constexpr Named<Moment> moments[] = {{Moment::asleep, "WhileAsleep"}};
///     INSTANTIATE_TEST_SUITE_P(All, QuitInSleepTest, testing::ValuesIn(moments), nameOfParameter);
template<typename Value>
struct Named {
    Value value;
    const char *name;

    friend void PrintTo(const Named &named, std::ostream *stream) { *stream << named.name; }
};

inline constexpr auto nameOfParameter = [](const auto &info) {
    return std::string(info.param.name);
};

} // namespace lumvik::test
