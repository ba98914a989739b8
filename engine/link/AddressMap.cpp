#include "engine/link/AddressMap.h"

#include <utility>

namespace lumvik {

namespace {

/// A stream has one base address and one address for each track.
constexpr std::size_t mostAddresses = 128;

bool isRtspAddress(const QByteArray &text) {
    return text.size() > 7 && text.first(7).toLower() == "rtsp://";
}

QByteArray slashAtEndOf(const QByteArray &address) {
    return address.endsWith('/') ? QByteArray("/") : QByteArray();
}

} // namespace

AddressMap::AddressMap(QByteArray engineBase, const QByteArray &cameraBase)
    : m_engineBase(std::move(engineBase))
    , m_pairs{{cameraBase, m_engineBase + slashAtEndOf(cameraBase)}} {}

QByteArray AddressMap::toEngine(const QByteArray &address) {
    if (!isRtspAddress(address))
        return address;
    const Pair *longest = nullptr;
    for (const Pair &pair : m_pairs) {
        if (address.startsWith(pair.camera) &&
            (longest == nullptr || pair.camera.size() > longest->camera.size()))
            longest = &pair;
    }
    if (longest != nullptr)
        return longest->engine + address.sliced(longest->camera.size());
    if (m_pairs.size() >= mostAddresses)
        return address;
    const QByteArray number =
        QByteArray::number(static_cast<int>(m_pairs.size())).rightJustified(3, '0');
    m_pairs.push_back({address, m_engineBase + '-' + number + slashAtEndOf(address)});
    return m_pairs.back().engine;
}

QByteArray AddressMap::toCamera(const QByteArray &address) const {
    const Pair *longest = nullptr;
    for (const Pair &pair : m_pairs) {
        if (address.startsWith(pair.engine) &&
            (longest == nullptr || pair.engine.size() > longest->engine.size()))
            longest = &pair;
    }
    return longest == nullptr ? address : longest->camera + address.sliced(longest->engine.size());
}

void AddressMap::replaceBase(const QByteArray &cameraBase) {
    m_pairs.front().camera = cameraBase;
}

} // namespace lumvik
