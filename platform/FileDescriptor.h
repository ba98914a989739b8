#pragma once

#include <unistd.h>

#include <utility>

namespace lumvik {

/// Owns an open file descriptor and closes it on destruction. A negative number stands for "no
/// descriptor", so the result of a system call can be passed to the constructor unchecked.
class FileDescriptor {
  public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : m_descriptor(descriptor) {}
    FileDescriptor(FileDescriptor &&other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    FileDescriptor &operator=(FileDescriptor &&other) noexcept {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~FileDescriptor() { reset(); }

    [[nodiscard]] bool isOpen() const { return m_descriptor >= 0; }
    [[nodiscard]] int get() const { return m_descriptor; }

    /// Gives the descriptor up without closing it. The caller owns it from then on.
    [[nodiscard]] int release() { return std::exchange(m_descriptor, -1); }

    /// Closes the descriptor now. Does nothing if no descriptor is open.
    void reset() {
        if (m_descriptor >= 0)
            ::close(std::exchange(m_descriptor, -1));
    }

  private:
    int m_descriptor = -1;
};

} // namespace lumvik
