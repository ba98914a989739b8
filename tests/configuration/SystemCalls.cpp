#include "SystemCalls.h"

#include <sys/statfs.h>
#include <sys/types.h>

#include <algorithm>
#include <cerrno>

namespace lumvik::test {

SystemCalls &systemCalls() {
    static SystemCalls calls;
    return calls;
}

namespace {

/// The descriptor that is reported for calls with a path.
constexpr int noDescriptor = -1;

/// Returns whether the call is to be executed. Sets errno if the call is to fail.
bool allowed(const char *call, int descriptor) {
    const int error = systemCalls().before ? systemCalls().before(call, descriptor) : 0;
    if (error != 0)
        errno = error;
    return error == 0;
}

} // namespace
} // namespace lumvik::test

using lumvik::test::allowed;
using lumvik::test::noDescriptor;

// The linker's --wrap option requires these names.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {

int __real_fchmod(int descriptor, mode_t mode);
int __wrap_fchmod(int descriptor, mode_t mode);
int __real_flock(int descriptor, int operation);
int __wrap_flock(int descriptor, int operation);
int __real_fstatfs(int descriptor, struct statfs *status);
int __wrap_fstatfs(int descriptor, struct statfs *status);
ssize_t __real_write(int descriptor, const void *bytes, std::size_t count);
ssize_t __wrap_write(int descriptor, const void *bytes, std::size_t count);
int __real_fsync(int descriptor);
int __wrap_fsync(int descriptor);
int __real_link(const char *from, const char *to);
int __wrap_link(const char *from, const char *to);
int __real_rename(const char *from, const char *to);
int __wrap_rename(const char *from, const char *to);
int __real_unlink(const char *path);
int __wrap_unlink(const char *path);
int __real_chmod(const char *path, mode_t mode);
int __wrap_chmod(const char *path, mode_t mode);
int __real_mkdir(const char *path, mode_t mode);
int __wrap_mkdir(const char *path, mode_t mode);

int __wrap_fchmod(int descriptor, mode_t mode) {
    return allowed("fchmod", descriptor) ? __real_fchmod(descriptor, mode) : -1;
}

int __wrap_flock(int descriptor, int operation) {
    return allowed("flock", descriptor) ? __real_flock(descriptor, operation) : -1;
}

int __wrap_fstatfs(int descriptor, struct statfs *status) {
    const int result = __real_fstatfs(descriptor, status);
    status->f_type = lumvik::test::systemCalls().fileSystem.value_or(status->f_type);
    return result;
}

ssize_t __wrap_write(int descriptor, const void *bytes, std::size_t count) {
    if (!allowed("write", descriptor))
        return -1;
    return __real_write(descriptor, bytes,
                        std::min(count, lumvik::test::systemCalls().largestWrite));
}

int __wrap_fsync(int descriptor) {
    return allowed("fsync", descriptor) ? __real_fsync(descriptor) : -1;
}

int __wrap_link(const char *from, const char *to) {
    return allowed("link", noDescriptor) ? __real_link(from, to) : -1;
}

int __wrap_rename(const char *from, const char *to) {
    return allowed("rename", noDescriptor) ? __real_rename(from, to) : -1;
}

int __wrap_unlink(const char *path) {
    return allowed("unlink", noDescriptor) ? __real_unlink(path) : -1;
}

int __wrap_chmod(const char *path, mode_t mode) {
    return allowed("chmod", noDescriptor) ? __real_chmod(path, mode) : -1;
}

int __wrap_mkdir(const char *path, mode_t mode) {
    return allowed("mkdir", noDescriptor) ? __real_mkdir(path, mode) : -1;
}

} // extern "C"
// NOLINTEND(bugprone-reserved-identifier)
