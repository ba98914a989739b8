#include "supervision/StreamTransports.h"

#include <utility>

namespace lumvik {

StreamTransports::Transport StreamTransports::beginLoad(const QString &url) {
    const auto camera = m_cameras.find(url);
    if (camera == m_cameras.end())
        return Transport::tcp;
    camera->loadsOverUdp = std::exchange(camera->triesUdp, false);
    camera->udpHasFailed = camera->udpHasFailed || camera->loadsOverUdp;
    return camera->loadsOverUdp ? Transport::udp : Transport::tcp;
}

void StreamTransports::frameWasShown(const QString &url) {
    const auto camera = m_cameras.find(url);
    if (camera == m_cameras.end())
        return;
    camera->udpHasFailed = false;
    camera->triesUdp = camera->loadsOverUdp;
}

bool StreamTransports::tcpWasRefused(const QString &url) {
    Camera &camera = m_cameras[url];
    camera.triesUdp = true;
    return !camera.udpHasFailed;
}

} // namespace lumvik
