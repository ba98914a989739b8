#pragma once

#include "AccessibilityBus.h"
#include "EditorFixture.h"

#include <QJsonObject>

#include <memory>

namespace lumvik::test {

/// Whole-program tests that inspect the viewer through AT-SPI, as a screen reader does. Its list
/// contains three cameras. The first two run, and the first one has a password.
class AccessibilityFixture : public EditorFixture {
  protected:
    static inline const QString password = QStringLiteral("s3cret-word");

    void SetUp() override;

    /// Starts the viewer and the reader and waits for the first camera's picture.
    void startViewerAndReader();

    /// Starts a second reader, which keeps a cache.
    void startRememberingReader();

    /// The properties of an object as AT-SPI reports them, or an object with the key "error" when
    /// there is no such object.
    [[nodiscard]] QJsonObject find(const QString &role, const QString &name) const;
    [[nodiscard]] QStringList states(const QString &role, const QString &name) const;
    [[nodiscard]] bool has(const QString &role, const QString &name, const QString &state) const;
    /// Waits until the object has the state, or no longer has it when `expected` is false.
    [[nodiscard]] testing::AssertionResult comesToHave(const QString &role, const QString &name,
                                                       const QString &state,
                                                       bool expected = true) const;
    /// Performs an action, and fails the test when the object refuses it.
    void act(const QString &role, const QString &name, const QString &action);
    /// Waits until the object has emitted an event with this kind and detail. Earlier events are
    /// discarded.
    [[nodiscard]] testing::AssertionResult isAnnounced(const QString &kind, const QString &role,
                                                       const QString &name, int detail = 1);
    /// Discards the events received so far.
    void discardEvents();
    /// Everything that AT-SPI reports about the program, as text. `memory` selects the reader with
    /// the cache or the one without.
    [[nodiscard]] QString wholeTree(ReaderMemory memory = ReaderMemory::none) const;
    /// Waits until the cache of the second reader agrees with the program.
    [[nodiscard]] testing::AssertionResult cacheIsUpToDate() const;

    std::unique_ptr<AccessibilityBus> bus;
    std::unique_ptr<AccessibilityReader> reader;
    std::unique_ptr<AccessibilityReader> rememberingReader;
};

} // namespace lumvik::test
