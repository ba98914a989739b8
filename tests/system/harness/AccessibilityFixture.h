#pragma once

#include "AccessibilityBus.h"
#include "EditorFixture.h"

#include <QJsonObject>

#include <memory>

namespace lumvik::test {

/// Whole-program tests that look at the viewer through AT-SPI, as a screen reader does, with three
/// cameras in its list, of which the first two run and the first has a password.
class AccessibilityFixture : public EditorFixture {
  protected:
    static inline const QString password = QStringLiteral("s3cret-word");

    void SetUp() override;

    /// Starts the viewer and the reader and waits for the first camera's picture.
    void startViewerAndReader();

    /// Starts a second reader, which remembers what it is told.
    void startRememberingReader();

    /// What AT-SPI says of an object; with "error" when there is none.
    [[nodiscard]] QJsonObject find(const QString &role, const QString &name) const;
    [[nodiscard]] QStringList states(const QString &role, const QString &name) const;
    [[nodiscard]] bool has(const QString &role, const QString &name, const QString &state) const;
    /// Waits until the object has the state, or not any more.
    [[nodiscard]] testing::AssertionResult comesToHave(const QString &role, const QString &name,
                                                       const QString &state,
                                                       bool expected = true) const;
    /// Performs an action, and fails the test unless it is taken.
    void act(const QString &role, const QString &name, const QString &action);
    /// Waits until an event of this kind has come from the object; with this detail, if one is
    /// given. What came before it is forgotten.
    [[nodiscard]] testing::AssertionResult tells(const QString &kind, const QString &role,
                                                 const QString &name, int detail = 1);
    /// Forgets what has been told until now.
    void forgetEvents();
    /// Everything that AT-SPI tells of the program, as text; by the reader that remembers, or by
    /// the one that does not.
    [[nodiscard]] QString wholeTree(ReaderMemory memory = ReaderMemory::none) const;
    /// Waits until a reader that remembers knows everything as it is.
    [[nodiscard]] testing::AssertionResult newsIsComplete() const;

    std::unique_ptr<AccessibilityBus> bus;
    std::unique_ptr<AccessibilityReader> reader;
    std::unique_ptr<AccessibilityReader> rememberingReader;
};

} // namespace lumvik::test
