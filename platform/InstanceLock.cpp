#include "platform/InstanceLock.h"

#include <QFile>

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <utility>

namespace lumvik {

InstanceLock::InstanceLock(QString path) : m_path(std::move(path)) {}

InstanceLock::Result InstanceLock::tryLock() {
    if (m_file.isOpen())
        return Result::acquired;
    FileDescriptor file(::open(QFile::encodeName(m_path).constData(),
                               O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR));
    if (!file.isOpen())
        return Result::unavailable;
    if (::flock(file.get(), LOCK_EX | LOCK_NB) == 0) {
        m_file = std::move(file);
        return Result::acquired;
    }
    return errno == EWOULDBLOCK ? Result::heldByAnother : Result::unavailable;
}

} // namespace lumvik
