#include "platform/FileDescriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <utility>

namespace lumvik {
namespace {

FileDescriptor opened() {
    return FileDescriptor(::open("/dev/null", O_RDONLY | O_CLOEXEC));
}

bool isOpen(int descriptor) {
    return ::fcntl(descriptor, F_GETFD) >= 0;
}

TEST(FileDescriptorTest, HoldsNothingByDefault) {
    const FileDescriptor none;
    EXPECT_FALSE(none.isOpen());
    EXPECT_LT(none.get(), 0);
}

TEST(FileDescriptorTest, AcceptsTheResultOfAFailedCall) {
    FileDescriptor missing(::open("/nonexistent/file", O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(missing.isOpen());
    missing.reset();
    EXPECT_FALSE(missing.isOpen());
}

TEST(FileDescriptorTest, ClosesOnDestruction) {
    int descriptor = -1;
    {
        const FileDescriptor file = opened();
        descriptor = file.get();
        EXPECT_TRUE(file.isOpen());
        EXPECT_TRUE(isOpen(descriptor));
    }
    EXPECT_FALSE(isOpen(descriptor));
}

TEST(FileDescriptorTest, ResetClosesAtOnceAndOnlyOnce) {
    FileDescriptor file = opened();
    const int descriptor = file.get();
    file.reset();
    EXPECT_FALSE(file.isOpen());
    EXPECT_FALSE(isOpen(descriptor));
    // The kernel reuses the lowest free number, so a second close would close this new file.
    const FileDescriptor next = opened();
    ASSERT_EQ(next.get(), descriptor);
    file.reset();
    EXPECT_TRUE(isOpen(descriptor));
}

TEST(FileDescriptorTest, MovingHandsTheDescriptorOver) {
    FileDescriptor source = opened();
    const int descriptor = source.get();
    FileDescriptor target(std::move(source));
    EXPECT_FALSE(source.isOpen()); // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(target.get(), descriptor);
    EXPECT_TRUE(isOpen(descriptor));
}

TEST(FileDescriptorTest, AssigningATemporaryClosesThePreviousDescriptor) {
    FileDescriptor file = opened();
    const int previous = file.get();
    file = opened();
    EXPECT_TRUE(isOpen(file.get()));
    EXPECT_FALSE(isOpen(previous));
    file = FileDescriptor();
    EXPECT_FALSE(file.isOpen());
}

} // namespace
} // namespace lumvik
