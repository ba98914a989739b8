#pragma once

#include <ostream>
#include <string>

namespace lumvik::test {

/// A test parameter together with a name, which is printed for the parameter. ctest makes the
/// printed text a part of the test's name. Printed addresses or bytes of an object would change
/// that name from run to run.
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
