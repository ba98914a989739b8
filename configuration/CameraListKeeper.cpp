#include "configuration/CameraListKeeper.h"

#include "platform/PreferenceKeysAndDefaults.h"

#include <variant>

namespace lumvik {

tl::expected<CameraList, StoreError> CameraListKeeper::load() {
    // The digest is computed first. If the list changes before it is loaded, the next save asks the
    // user, who then decides without need, but no change is lost.
    m_known = m_store.digest();
    auto loaded = m_store.load();
    m_condition = conditionAfter(loaded);
    if (m_condition == CameraListCondition::loaded)
        rememberThatListExists();
    return loaded;
}

CameraListCondition
CameraListKeeper::conditionAfter(const tl::expected<CameraList, StoreError> &loaded) const {
    if (!loaded) {
        // A list without cameras can be read.
        return std::holds_alternative<CameraConfigurationError>(loaded.error())
                   ? CameraListCondition::none
                   : CameraListCondition::unreadable;
    }
    if (!loaded->isEmpty())
        return CameraListCondition::loaded;
    return m_userDefaults.boolean(PreferenceKeys::cameraListExists) && m_store.isBare()
               ? CameraListCondition::missing
               : CameraListCondition::none;
}

tl::expected<void, StoreError> CameraListKeeper::save(const CameraList &cameras,
                                                      ChangedList changed) {
    using ReadableList = CameraConfigurationStore::ReadableList;
    const auto stored = m_store.digest();
    if (changed == ChangedList::refuse && stored && stored != m_known)
        return tl::unexpected(StoreError(CameraConfigurationError::changedElsewhere));
    auto saved = m_store.save(cameras, m_known ? ReadableList::replace : ReadableList::keep);
    // A save can fail after it has written the list. That list is not someone else's.
    const QByteArray own = CameraConfigurationStore::digestOf(cameras);
    if (saved || m_store.digest() == own)
        m_known = own;
    if (saved) {
        m_condition = CameraListCondition::loaded;
        rememberThatListExists();
    }
    return saved;
}

void CameraListKeeper::rememberThatListExists() {
    if (!m_userDefaults.boolean(PreferenceKeys::cameraListExists))
        m_userDefaults.set(PreferenceKeys::cameraListExists, true);
}

} // namespace lumvik
