#pragma once

#include "configuration/CameraConfigurationStore.h"
#include "platform/UserDefaults.h"

#include <QByteArray>

#include <optional>
#include <tl/expected.hpp>

namespace lumvik {

/// What became of the stored camera list when it was last loaded or saved.
enum class CameraListCondition {
    none,       ///< There is no list, and there has never been one.
    loaded,     ///< The list or its recovery copy was read, or a list was saved.
    unreadable, ///< There is a list, but neither the list nor its recovery copy could be read.
    missing,    ///< There is no list, although one was stored earlier. Its disk may be missing.
};

/// What a save does with a list that another program or machine has stored in the meantime.
enum class ChangedList {
    refuse,  ///< The save fails with changedElsewhere.
    replace, ///< The other list is replaced, because the user has decided so.
};

/// Loads and saves the camera list for the running program, and ensures that a save never destroys
/// a list that the program has not read, and replaces a list that was changed elsewhere only if the
/// user wants it. The list may be in a folder that several machines share.
///
/// The store has no memory. This class remembers a digest of the list that was loaded or saved
/// last, and stores in the user's preferences that there is a list, so that a list whose disk is
/// missing is told from a list that was never created. Owned by the controller. Main thread only.
class CameraListKeeper {
  public:
    /// `store` and `userDefaults` must outlive the keeper.
    CameraListKeeper(const CameraConfigurationStore &store, UserDefaults &userDefaults)
        : m_store(store)
        , m_userDefaults(userDefaults) {}

    /// Loads the list as CameraConfigurationStore::load does, and updates the condition.
    [[nodiscard]] tl::expected<CameraList, StoreError> load();

    /// Saves the list as CameraConfigurationStore::save does. Fails with changedElsewhere if the
    /// list on the disk is neither the one that was loaded nor the one that was saved last, unless
    /// `changed` permits the save. If the program has never read a list, the one on the disk is
    /// kept under another name in any case. On failure, neither the disk nor the condition changes.
    [[nodiscard]] tl::expected<void, StoreError> save(const CameraList &cameras,
                                                      ChangedList changed = ChangedList::refuse);

    [[nodiscard]] CameraListCondition condition() const { return m_condition; }

  private:
    [[nodiscard]] CameraListCondition
    conditionAfter(const tl::expected<CameraList, StoreError> &loaded) const;
    void rememberThatListExists();

    const CameraConfigurationStore &m_store;
    UserDefaults &m_userDefaults;
    CameraListCondition m_condition = CameraListCondition::none;
    std::optional<QByteArray> m_known; // the digest of the stored list that the program knows
};

} // namespace lumvik
