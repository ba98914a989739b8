#include "supervision/LoginBudget.h"

#include <gtest/gtest.h>

#include <ostream>

namespace lumvik::test {
namespace {

using namespace std::chrono_literals;

constexpr LoginTime start = 400'000h;
const QString thisViewer = QStringLiteral("this viewer");

/// A refusal of `password`, `age` before `start`.
LoginHistory::Refusal refusal(const char *password, LoginTime age) {
    return {.time = start - age, .password = password};
}

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
        BudgetCase{"edited after two refusals",
                   {.password = "b", .refusals = {refusal("a", 2min), refusal("a", 1min)}},
                   std::nullopt},
        BudgetCase{"refused after the edit",
                   {.password = "b",
                    .refusals = {refusal("a", 3min), refusal("a", 2min), refusal("b", 1min)}},
                   32min},
        BudgetCase{"one refusal, an edit, one refusal",
                   {.password = "b", .refusals = {refusal("a", 2min), refusal("b", 10s)}},
                   50s},
        BudgetCase{"an old edit grants nothing any more",
                   {.password = "b",
                    .refusals = {refusal("a", 40min), refusal("b", 3min), refusal("b", 2min)}},
                   32min},
        BudgetCase{"edited back to a refused password",
                   {.password = "a", .refusals = {refusal("a", 2min), refusal("b", 10s)}},
                   50s},
        BudgetCase{"edited back to a password that was refused long ago",
                   {.password = "a", .refusals = {refusal("a", 40min), refusal("b", 10s)}},
                   std::nullopt},
        BudgetCase{"refused once, without an answer",
                   {.refusals = {{.time = start - 1s, .isAnswered = false}}},
                   59s},
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

/// Returns `history` after its password was refused at `time`.
LoginHistory refused(const LoginHistory &history, LoginTime time) {
    return withRefusal(history, {.time = time, .password = history.password});
}

// However the attempts are spread, no camera sees more than two wrong passwords in 35 minutes, and
// one more for each edit.
TEST(LoginBudgetRuleTest, HourHasNoMoreRefusalsThanTheBudget) {
    LoginHistory history = withPassword({}, "first");
    std::vector<LoginTime> refusals;
    for (LoginTime time = start; time < start + 180min; time += 1s) {
        if (time == start + 10min || time == start + 70min)
            history = withPassword(history, QByteArray::number(int(refusals.size())));
        if (earliestLogin(history, time, thisViewer))
            continue;
        history = refused(history, time);
        refusals.push_back(time);
    }
    for (std::size_t n = 3; n < refusals.size(); ++n)
        EXPECT_GE(refusals[n] - refusals[n - 3], 35min);
    EXPECT_GE(refusals.size(), 10U) << "The program gives up.";
}

// Two cameras of the list may have the same account and different wrong passwords.
TEST(LoginBudgetRuleTest, AlternatingPasswordsAreNotEdits) {
    LoginHistory history;
    std::vector<LoginTime> refusals;
    for (LoginTime time = start; time < start + 180min; time += 1s) {
        history = withPassword(history, time.count() / 1000 % 2 == 0 ? "first" : "second");
        if (earliestLogin(history, time, thisViewer))
            continue;
        history = refused(history, time);
        refusals.push_back(time);
    }
    for (std::size_t n = 3; n < refusals.size(); ++n)
        EXPECT_GE(refusals[n] - refusals[n - 3], 35min);
    EXPECT_GE(refusals.size(), 10U) << "The program gives up.";
}

TEST(LoginBudgetRuleTest, EditOfARefusedPasswordPermitsOneLogin) {
    LoginHistory history = withPassword({}, "first");
    history = refused(refused(history, start), start);
    EXPECT_EQ(withPassword(history, "first"), history);

    history = withPassword(history, "second");
    EXPECT_FALSE(earliestLogin(history, start + 1s, thisViewer));
    history = refused(history, start + 1s);
    EXPECT_TRUE(earliestLogin(history, start + 1s, thisViewer));
}

TEST(LoginBudgetRuleTest, EditsThatWereNotTriedPermitNoFurtherLogins) {
    LoginHistory history = refused(withPassword({}, "a"), start);
    for (const char *password : {"b", "c", "d", "e"})
        history = withPassword(history, password);
    history = refused(refused(history, start), start);
    EXPECT_EQ(earliestLogin(history, start, thisViewer), start + 35min);
}

TEST(LoginBudgetRuleTest, EditedPasswordHasNotWorked) {
    const LoginHistory history = withProof(withPassword({}, "first"));
    EXPECT_TRUE(history.isProven);
    EXPECT_TRUE(withPassword(history, "first").isProven);
    EXPECT_FALSE(withPassword(history, "second").isProven);
}

TEST(LoginBudgetRuleTest, LoginThatWorksEndsAllWaits) {
    LoginHistory history = withPassword({}, "first");
    history = refused(refused(history, start), start);
    history = withPassword(refused(history, start), "second");
    history.pending = {{start, QStringLiteral("another viewer")}};
    history = withProof(history);
    EXPECT_EQ(history, (LoginHistory{.password = "second", .isProven = true}));
}

TEST(LoginBudgetRuleTest, AnswerBelongsToTheLastLoginWithThePassword) {
    const LoginHistory::Refusal early{.time = start, .isAnswered = false, .password = "a"};
    const LoginHistory::Refusal late{.time = start + 1s, .isAnswered = false, .password = "a"};
    const LoginHistory::Refusal other{.time = start + 2s, .isAnswered = false, .password = "b"};
    const LoginHistory history{.password = "b", .refusals = {early, late, other}};

    LoginHistory::Refusal answered = late;
    answered.isAnswered = true;
    EXPECT_EQ(withAnswer(history, "a").refusals, (std::vector{early, answered, other}));
    EXPECT_EQ(withoutUnanswered(history, "a").refusals, (std::vector{early, other}));
    EXPECT_EQ(withoutUnanswered(history, "b").refusals, (std::vector{early, late}));
    EXPECT_EQ(withoutUnanswered(withAnswer(history, "b"), "b").refusals.size(), 3U);
    EXPECT_EQ(withAnswer(history, "c"), history);
    EXPECT_EQ(withoutUnanswered(history, "c"), history);
}

// Otherwise a clock that was wrong by a year would lock the program out for a year.
TEST(LoginBudgetRuleTest, ClockThatWasSetBackProlongsNoWait) {
    LoginHistory history{.password = "b",
                         .refusals = {refusal("a", -8000h), refusal("b", -8001h)},
                         .pending = {{start + 8001h, QStringLiteral("another viewer")}}};
    history = withoutFuture(history, start);
    EXPECT_EQ(earliestLogin(history, start, thisViewer), start + 1min);
    history = refused(history, start + 1min);
    history = withoutFuture(history, start + 2min);
    EXPECT_EQ(earliestLogin(history, start + 2min, thisViewer), start + 35min);
}

TEST(LoginBudgetRuleTest, HistoryIsBounded) {
    LoginHistory history;
    for (int n = 0; n < 100; ++n)
        history = refused(withPassword(history, QByteArray::number(n)), start + n * 1s);
    EXPECT_EQ(history.refusals.size(), LoginHistory::mostRemembered);
    EXPECT_EQ(history.refusals.back().time, start + 99s);
}

} // namespace
} // namespace lumvik::test
