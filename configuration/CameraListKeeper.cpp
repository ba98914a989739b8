#include "configuration/CameraListKeeper.h"

#include "platform/PreferenceKeysAndDefaults.h"

#include <variant>

namespace lumvik {

tl::expected<CameraList, StoreError> CameraListKeeper::load() {
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

tl::expected<void, StoreError> CameraListKeeper::save(const CameraList &cameras) {
    using ReadableList = CameraConfigurationStore::ReadableList;
    const bool hasBeenRead = m_condition == CameraListCondition::loaded;
    auto saved = m_store.save(cameras, hasBeenRead ? ReadableList::replace : ReadableList::keep);
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
