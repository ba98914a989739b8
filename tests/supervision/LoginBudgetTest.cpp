#include "supervision/LoginBudget.h"

#include <gtest/gtest.h>

#include <ostream>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

constexpr LoginTime start = 400'000h;
const QString thisViewer = QStringLiteral("this viewer");

struct BudgetCase {
    const char *name;
    LoginHistory history;
    std::optional<std::chrono::seconds> wait; ///< From `start`.

    friend std::ostream &operator<<(std::ostream &stream, const BudgetCase &each) {
        return stream << each.name;
    }
};

class LoginBudgetTest : public testing::TestWithParam<BudgetCase> {};

TEST_P(LoginBudgetTest, SaysWhenTheNextLoginMayBe) {
    const auto earliest = earliestLogin(GetParam().history, start, thisViewer);
    const auto wait = GetParam().wait;
    ASSERT_EQ(earliest.has_value(), wait.has_value());
    if (wait) {
        EXPECT_EQ(*earliest - start, *wait);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Histories, LoginBudgetTest,
    testing::Values(
        BudgetCase{"unknown", {}, std::nullopt},
        BudgetCase{"worked", {.isProven = true}, std::nullopt},
        BudgetCase{"refused once", {.refusals = {{start - 1s}}}, 59s},
        BudgetCase{"refused once, a minute ago", {.refusals = {{start - 60s}}}, std::nullopt},
        BudgetCase{"refused twice", {.refusals = {{start - 90s}, {start - 30s}}}, 35min - 90s},
        BudgetCase{"the first of two refusals is 35 minutes old",
                   {.refusals = {{start - 35min}, {start - 34min}}},
                   std::nullopt},
        BudgetCase{"two pairs of refusals",
                   {.refusals = {{start - 36min}, {start - 35min}, {start - 1min}, {start}}},
                   34min},
        BudgetCase{
            "edited after two refusals",
            {.isEdited = true, .refusals = {{start - 2min}, {start - 1min}}, .edits = {start}},
            std::nullopt},
        BudgetCase{
            "refused after the edit",
            {.refusals = {{start - 3min}, {start - 2min}, {start - 1min}}, .edits = {start - 1min}},
            32min},
        BudgetCase{"one refusal, an edit, one refusal",
                   {.refusals = {{start - 2min}, {start - 10s}}, .edits = {start - 10s}},
                   50s},
        BudgetCase{"an old edit grants nothing any more",
                   {.refusals = {{start - 40min}, {start - 3min}, {start - 2min}},
                    .edits = {start - 39min}},
                   32min},
        BudgetCase{"worked, refused once", {.isProven = true, .refusals = {{start}}}, 1min},
        BudgetCase{"worked, refused twice",
                   {.isProven = true, .refusals = {{start - 1min}, {start}}},
                   5min},
        BudgetCase{"worked, refused three times",
                   {.isProven = true, .refusals = {{start - 6min}, {start - 5min}, {start}}},
                   35min},
        BudgetCase{"worked, refused often",
                   {.isProven = true,
                    .refusals = {{start - 99min}, {start - 98min}, {start - 93min}, {start}}},
                   35min},
        BudgetCase{"worked, refused by a camera that starts",
                   {.isProven = true,
                    .refusals = {{start - 120s, false}, {start - 60s, false}, {start, false}}},
                   1min},
        BudgetCase{"worked, refused by a camera that starts, and afterwards",
                   {.isProven = true, .refusals = {{start - 60s, false}, {start - 10s, true}}},
                   50s},
        BudgetCase{"worked, refused four times by a camera that starts again and again",
                   {.isProven = true,
                    .refusals = {{start - 4min, false},
                                 {start - 3min, false},
                                 {start - 2min, false},
                                 {start - 1min, false}}},
                   31min},
        BudgetCase{"another viewer is logging in",
                   {.pending = {{start - 2s, QStringLiteral("another viewer")}}},
                   8s},
        BudgetCase{"another viewer ended while it was logging in",
                   {.pending = {{start - 10s, QStringLiteral("another viewer")}}},
                   std::nullopt},
        BudgetCase{"this viewer is logging in", {.pending = {{start, thisViewer}}}, std::nullopt},
        BudgetCase{"another viewer is logging in with a password that has worked",
                   {.isProven = true, .pending = {{start, QStringLiteral("another viewer")}}},
                   std::nullopt}));

// However the attempts are spread, no camera sees more than two wrong passwords in 35 minutes, and
// one more for each edit.
TEST(LoginBudgetRuleTest, HourHasNoMoreRefusalsThanTheBudget) {
    LoginHistory history = withPassword({}, "first", start);
    std::vector<LoginTime> refusals;
    for (LoginTime time = start; time < start + 180min; time += 1s) {
        if (time == start + 10min || time == start + 70min)
            history = withPassword(history, QByteArray::number(int(refusals.size())), time);
        if (earliestLogin(history, time, thisViewer))
            continue;
        history = withRefusal(history, {time});
        refusals.push_back(time);
    }
    for (std::size_t n = 3; n < refusals.size(); ++n)
        EXPECT_GE(refusals[n] - refusals[n - 3], 35min);
    EXPECT_GE(refusals.size(), 10U) << "The program gives up.";
}

TEST(LoginBudgetRuleTest, EditOfARefusedPasswordPermitsOneLogin) {
    LoginHistory history = withPassword({}, "first", start);
    history = withRefusal(withRefusal(history, {start}), {start});
    EXPECT_EQ(withPassword(history, "first", start), history);

    history = withPassword(history, "second", start + 1s);
    EXPECT_FALSE(earliestLogin(history, start + 1s, thisViewer));
    history = withRefusal(history, {start + 1s});
    EXPECT_TRUE(earliestLogin(history, start + 1s, thisViewer));
}

TEST(LoginBudgetRuleTest, EditsWithoutARefusalPermitNoFurtherLogins) {
    LoginHistory history;
    for (const char *password : {"a", "b", "c", "d"})
        history = withPassword(history, password, start);
    EXPECT_TRUE(history.edits.empty());
    history = withRefusal(history, {start});
    for (const char *password : {"e", "f", "g"})
        history = withPassword(history, password, start);
    EXPECT_EQ(history.edits.size(), 1U);
}

TEST(LoginBudgetRuleTest, EditedPasswordHasNotWorked) {
    const LoginHistory history = withProof(withPassword({}, "first", start));
    EXPECT_TRUE(history.isProven);
    EXPECT_FALSE(withPassword(history, "second", start).isProven);
}

TEST(LoginBudgetRuleTest, LoginThatWorksEndsAllWaits) {
    LoginHistory history = withPassword({}, "first", start);
    history = withRefusal(withRefusal(history, {start}), {start});
    history = withPassword(withRefusal(history, {start}), "second", start);
    history.pending = {{start, QStringLiteral("another viewer")}};
    history = withProof(history);
    EXPECT_EQ(history, (LoginHistory{.password = "second", .isProven = true}));
}

// The edit has not been tried yet.
TEST(LoginBudgetRuleTest, UnansweredLoginGivesTheEditBack) {
    LoginHistory history = withPassword({}, "first", start);
    history = withPassword(withRefusal(history, {start}), "second", start);
    EXPECT_EQ(withoutLastRefusal(withRefusal(history, {start}), true), history);
}

// Otherwise a clock that was wrong by a year would lock the program out for a year.
TEST(LoginBudgetRuleTest, ClockThatWasSetBackProlongsNoWait) {
    LoginHistory history{.refusals = {{start + 8000h}, {start + 8001h}},
                         .edits = {start + 8000h},
                         .pending = {{start + 8001h, QStringLiteral("another viewer")}}};
    history = withoutFuture(history, start);
    EXPECT_EQ(earliestLogin(history, start, thisViewer), start + 1min);
    history = withRefusal(history, {start + 1min});
    history = withoutFuture(history, start + 2min);
    EXPECT_EQ(earliestLogin(history, start + 2min, thisViewer), start + 35min);
}

TEST(LoginBudgetRuleTest, HistoryIsBounded) {
    LoginHistory history;
    for (int n = 0; n < 100; ++n) {
        history = withRefusal(history, {start + n * 1s});
        history = withPassword(history, QByteArray::number(n), start + n * 1s);
    }
    EXPECT_EQ(history.refusals.size(), LoginHistory::mostRemembered);
    EXPECT_EQ(history.refusals.back().time, start + 99s);
    EXPECT_EQ(history.edits.size(), LoginHistory::mostRemembered);
    EXPECT_EQ(history.edits.back(), start + 99s);
}

} // namespace
} // namespace lumvik::test
