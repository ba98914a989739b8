#include "supervision/LoginBudget.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

namespace lumvik {

namespace {

bool isInWindow(const LoginHistory::Refusal &refusal, LoginTime now) {
    return refusal.time > now - loginPolicy.window;
}

/// Whether the password was refused within the window.
bool isRefused(const LoginHistory &history, LoginTime now) {
    return std::any_of(history.refusals.begin(), history.refusals.end(), [&](const auto &refusal) {
        return isInWindow(refusal, now) && refusal.password == history.password;
    });
}

bool isExhausted(const LoginHistory &history, LoginTime now) {
    int refusals = 0;
    std::set<QByteArray> passwords{history.password};
    for (const LoginHistory::Refusal &refusal : history.refusals) {
        if (!isInWindow(refusal, now))
            continue;
        ++refusals;
        passwords.insert(refusal.password);
    }
    if (history.isProven)
        return refusals >= loginPolicy.mostProven;
    const int edits = static_cast<int>(passwords.size()) - 1;
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

/// The last login with `password` whose answer is not known, or the end.
auto lastUnanswered(LoginHistory &history, const QByteArray &password) {
    const auto found = std::find_if(history.refusals.rbegin(), history.refusals.rend(),
                                    [&password](const LoginHistory::Refusal &refusal) {
                                        return !refusal.isAnswered && refusal.password == password;
                                    });
    return found == history.refusals.rend() ? history.refusals.end() : std::prev(found.base());
}

} // namespace

std::optional<LoginTime> earliestLogin(const LoginHistory &history, LoginTime now,
                                       const QString &viewer) {
    LoginTime earliest = now;
    // An edited password gets one attempt, whatever happened to its predecessor.
    if (isRefused(history, now)) {
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
    if (history.pending)
        history.pending->since = std::min(history.pending->since, now);
    return history;
}

LoginHistory withPassword(LoginHistory history, const QByteArray &password) {
    if (std::exchange(history.password, password) != password) {
        history.isProven = false;
        history.pending.reset();
    }
    return history;
}

LoginHistory withRefusal(LoginHistory history, LoginHistory::Refusal refusal) {
    history.refusals.push_back(std::move(refusal));
    if (history.refusals.size() > LoginHistory::mostRemembered)
        history.refusals.erase(history.refusals.begin());
    return history;
}

LoginHistory withAnswer(LoginHistory history, const QByteArray &password) {
    const auto login = lastUnanswered(history, password);
    if (login != history.refusals.end())
        login->isAnswered = true;
    return history;
}

LoginHistory withoutUnanswered(LoginHistory history, const QByteArray &password) {
    const auto login = lastUnanswered(history, password);
    if (login != history.refusals.end())
        history.refusals.erase(login);
    return history;
}

LoginHistory withoutRefusals(LoginHistory history, const QByteArray &password) {
    std::erase_if(history.refusals, [&](const LoginHistory::Refusal &refusal) {
        return history.password == password || refusal.password == password;
    });
    return history;
}

LoginHistory withProof(LoginHistory history) {
    return {.account = std::move(history.account),
            .password = std::move(history.password),
            .isProven = true};
}

} // namespace lumvik
