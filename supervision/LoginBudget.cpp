#include "supervision/LoginBudget.h"

#include <algorithm>
#include <utility>

namespace lumvik {

namespace {

/// How many of `times` are within the window that ends at `now`.
template<typename Times, typename Time>
int countIn(const Times &times, LoginTime now, Time timeOf) {
    return static_cast<int>(std::count_if(times.begin(), times.end(), [&](const auto &each) {
        return timeOf(each) > now - loginPolicy.window;
    }));
}

bool isExhausted(const LoginHistory &history, LoginTime now) {
    const int refusals =
        countIn(history.refusals, now, [](const auto &refusal) { return refusal.time; });
    if (history.isProven)
        return refusals >= loginPolicy.mostProven;
    const int edits = countIn(history.edits, now, [](LoginTime edit) { return edit; });
    return refusals >= loginPolicy.mostUnproven + edits;
}

/// The time after which the window contains few enough refusals.
LoginTime endOfExhaustion(const LoginHistory &history, LoginTime now) {
    LoginTime time = now;
    for (auto each = history.refusals.begin();
         each != history.refusals.end() && isExhausted(history, time); ++each)
        time = std::max(now, each->time + loginPolicy.window);
    return time;
}

std::chrono::minutes waitAfterLastRefusal(const LoginHistory &history) {
    if (!history.isProven)
        return loginPolicy.waits[0]; // the window limits everything after that
    const auto counted =
        std::count_if(history.refusals.begin(), history.refusals.end(),
                      [](const LoginHistory::Refusal &refusal) { return refusal.counts; });
    return loginPolicy.waits[std::clamp<std::ptrdiff_t>(counted - 1, 0, 2)];
}

template<typename Times>
void forgetOldest(Times &times) {
    if (times.size() > LoginHistory::mostRemembered)
        times.erase(times.begin());
}

} // namespace

std::optional<LoginTime> earliestLogin(const LoginHistory &history, LoginTime now,
                                       const QString &viewer) {
    LoginTime earliest = now;
    // An edited password gets one attempt, whatever happened to its predecessor.
    if (!history.isEdited && !history.refusals.empty()) {
        earliest = std::max(history.refusals.back().time + waitAfterLastRefusal(history),
                            endOfExhaustion(history, now));
    }
    // Several viewers that start together would otherwise use up the camera's patience at once.
    if (!history.isProven && history.pending && history.pending->viewer != viewer)
        earliest = std::max(earliest, history.pending->since + loginPolicy.longestLogin);
    return earliest > now ? std::optional(earliest) : std::nullopt;
}

LoginHistory withoutFuture(LoginHistory history, LoginTime now) {
    for (LoginHistory::Refusal &refusal : history.refusals)
        refusal.time = std::min(refusal.time, now);
    for (LoginTime &edit : history.edits)
        edit = std::min(edit, now);
    if (history.pending)
        history.pending->since = std::min(history.pending->since, now);
    return history;
}

LoginHistory withPassword(LoginHistory history, const QByteArray &password, LoginTime now) {
    if (std::exchange(history.password, password) == password)
        return history;
    history.isProven = false;
    history.pending.reset();
    // A password that was not refused has used up nothing.
    if (history.refusals.empty() || history.isEdited)
        return history;
    history.isEdited = true;
    if (history.refusals.back().time > now - loginPolicy.window) {
        history.edits.push_back(now);
        forgetOldest(history.edits);
    }
    return history;
}

LoginHistory withRefusal(LoginHistory history, LoginHistory::Refusal refusal) {
    history.refusals.push_back(refusal);
    forgetOldest(history.refusals);
    history.isEdited = false;
    return history;
}

LoginHistory withoutLastRefusal(LoginHistory history, bool isEdited) {
    if (!history.refusals.empty())
        history.refusals.pop_back();
    history.isEdited = isEdited;
    return history;
}

LoginHistory withProof(LoginHistory history) {
    return {.account = std::move(history.account),
            .password = std::move(history.password),
            .isProven = true};
}

} // namespace lumvik
