#include "platform/InstanceLock.h"

#include <QFile>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace lumvik {

InstanceLock::InstanceLock(QString path) : m_path(std::move(path)) {}

InstanceLock::~InstanceLock() {
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

InstanceLock::Result InstanceLock::tryLock() {
    if (m_descriptor >= 0)
        return Result::acquired;
    const int descriptor = ::open(QFile::encodeName(m_path).constData(),
                                  O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR);
    if (descriptor < 0)
        return Result::unavailable;
    if (::flock(descriptor, LOCK_EX | LOCK_NB) == 0) {
        m_descriptor = descriptor;
        return Result::acquired;
    }
    const bool isHeld = errno == EWOULDBLOCK;
    ::close(descriptor);
    return isHeld ? Result::heldByAnother : Result::unavailable;
}

} // namespace lumvik
