#pragma once

#include "AccessibilityBus.h"
#include "EditorFixture.h"

#include <QJsonObject>

#include <memory>

namespace lumvik::test {

/// The base of whole-program tests that inspect the viewer through AT-SPI, as a screen reader does.
/// The viewer's list contains three cameras. The first two cameras are running, and the first
/// camera requires a password.
class AccessibilityFixture : public EditorFixture {
  protected:
    static inline const QString password = QStringLiteral("s3cret-word");

    void SetUp() override;

    /// Starts the viewer and the reader and waits for the first camera's picture.
    void startViewerAndReader();

    /// Starts a second reader, which keeps a cache.
    void startRememberingReader();

    /// Returns the properties of an accessible object as AT-SPI reports them. When the program has
    /// no such object, the result contains the key "error".
    [[nodiscard]] QJsonObject find(const QString &role, const QString &name) const;
    [[nodiscard]] QStringList states(const QString &role, const QString &name) const;
    [[nodiscard]] bool has(const QString &role, const QString &name, const QString &state) const;
    /// Waits until an object has the given state, or until the object no longer has that state when
    /// `expected` is false.
    [[nodiscard]] testing::AssertionResult comesToHave(const QString &role, const QString &name,
                                                       const QString &state,
                                                       bool expected = true) const;
    /// Performs an action of an object, and fails the test when the object refuses the action.
    void act(const QString &role, const QString &name, const QString &action);
    /// Waits until an object has emitted an event of this kind with this detail. All events
    /// received up to then are discarded.
    [[nodiscard]] testing::AssertionResult isAnnounced(const QString &kind, const QString &role,
                                                       const QString &name, int detail = 1);
    /// Discards the events received so far.
    void discardEvents();
    /// Returns everything that AT-SPI reports about the program, as text. `memory` selects the
    /// reader with a cache or the reader without a cache.
    [[nodiscard]] QString wholeTree(ReaderMemory memory = ReaderMemory::none) const;
    /// Waits until the cache of the second reader agrees with the program.
    [[nodiscard]] testing::AssertionResult cacheIsUpToDate() const;

    std::unique_ptr<AccessibilityBus> bus;
    std::unique_ptr<AccessibilityReader> reader;
    std::unique_ptr<AccessibilityReader> rememberingReader;
};

} // namespace lumvik::test
