#pragma once

#include "updates/UpdateChecker.h"

#include <vector>

namespace lumvik::test {

/// Records the update checks of the controller under test. The test decides the outcome of each
/// check. A FakeUpdates must outlive the controller and may be used on the main thread only.
class FakeUpdates {
  public:
    /// Creates the update checker that is passed to the controller.
    [[nodiscard]] std::unique_ptr<UpdateChecker> makeChecker() {
        return std::make_unique<Checker>(*this);
    }

    /// Returns how many checks have been started so far.
    [[nodiscard]] int begun() const { return static_cast<int>(m_checks.size()); }
    [[nodiscard]] bool wasCancelled(int check) const { return !at(check)->completion; }
    /// Ends the check with the index `number`. Does nothing if this check was cancelled.
    void answer(int number, LumvikUpdateCheckOutcome outcome) const {
        if (const auto completion = std::exchange(at(number)->completion, nullptr))
            completion(std::move(outcome));
    }
    void answerCurrent(int number) const { answer(number, LumvikUpdateCheckResult()); }
    void answerAvailable(int number, const QString &version) const {
        answer(number, LumvikUpdateCheckResult{LumvikUpdateManifest{
                           .version = version,
                           .build = 9,
                           .downloadPage = QStringLiteral("https://maker.example/lumvik")}});
    }
    void answerFailed(int number, const QString &message) const {
        answer(number, tl::unexpected(LumvikUpdateCheckError{message}));
    }

  private:
    struct Check final : UpdateCheck {
        void cancel() override { completion = nullptr; }
        UpdateChecker::Completion completion;
    };
    struct Checker final : UpdateChecker {
        explicit Checker(FakeUpdates &fake) : updates(fake) {}
        std::shared_ptr<UpdateCheck> check(Completion completion) override {
            auto check = std::make_shared<Check>();
            check->completion = std::move(completion);
            updates.m_checks.push_back(check);
            return check;
        }
        FakeUpdates &updates;
    };

    [[nodiscard]] const std::shared_ptr<Check> &at(int number) const {
        return m_checks.at(static_cast<std::size_t>(number));
    }

    std::vector<std::shared_ptr<Check>> m_checks;
};

} // namespace lumvik::test
