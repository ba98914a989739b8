#pragma once

#include <ostream>
#include <string>

namespace lumvik::test {

/// A test parameter together with its name. The parameter is printed as that name. This matters
/// because ctest makes the printed text a part of the test's name, which must not change from run
/// to run, as an address or the bytes of an object would.
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
