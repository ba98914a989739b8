#pragma once

#include "configuration/CameraConfigurationStore.h"
#include "platform/UserDefaults.h"

#include <tl/expected.hpp>

namespace lumvik {

/// What became of the stored camera list when it was last loaded or saved.
enum class CameraListCondition {
    none,       ///< There is no list, and there has never been one.
    loaded,     ///< The list or its recovery copy was read, or a list was saved.
    unreadable, ///< There is a list, but neither the list nor its recovery copy could be read.
    missing,    ///< There is no list, although one was stored earlier. Its disk may be missing.
};

/// Loads and saves the camera list for the running program, and ensures that a save never destroys
/// a list that the program has not read.
///
/// The store has no memory. This class remembers what became of the list, and stores in the user's
/// preferences that there is a list, so that a list whose disk is missing is told from a list that
/// was never created. Owned by the controller. Main thread only.
class CameraListKeeper {
  public:
    /// `store` and `userDefaults` must outlive the keeper.
    CameraListKeeper(const CameraConfigurationStore &store, UserDefaults &userDefaults)
        : m_store(store)
        , m_userDefaults(userDefaults) {}

    /// Loads the list as CameraConfigurationStore::load does, and updates the condition.
    [[nodiscard]] tl::expected<CameraList, StoreError> load();

    /// Saves the list as CameraConfigurationStore::save does. A list on the disk that the program
    /// has not read is kept under another name, even if it can be read by now. On failure, neither
    /// the disk nor the condition changes.
    [[nodiscard]] tl::expected<void, StoreError> save(const CameraList &cameras);

    [[nodiscard]] CameraListCondition condition() const { return m_condition; }

  private:
    [[nodiscard]] CameraListCondition
    conditionAfter(const tl::expected<CameraList, StoreError> &loaded) const;
    void rememberThatListExists();

    const CameraConfigurationStore &m_store;
    UserDefaults &m_userDefaults;
    CameraListCondition m_condition = CameraListCondition::none;
};

} // namespace lumvik
