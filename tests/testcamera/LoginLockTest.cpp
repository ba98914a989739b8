#include "testcamera/LoginLock.h"

#include <gtest/gtest.h>

namespace lumvik::test {
namespace {

TEST(LoginLock, WrongPasswordIsRefusedAndRightOneIsAccepted) {
    LoginLock lock({});
    for (int login = 0; login < 100; ++login)
        EXPECT_FALSE(lock.accepts(false, login));
    EXPECT_FALSE(lock.isLocked(100));
    EXPECT_TRUE(lock.accepts(true, 100));
    EXPECT_EQ(lock.refusals(), 100);
}

TEST(LoginLock, LocksAfterWrongPasswordsInARowForAWhile) {
    LoginLock lock({.lockAfter = 3, .lockTime = 600});
    EXPECT_FALSE(lock.accepts(false, 0));
    EXPECT_FALSE(lock.accepts(false, 1));
    EXPECT_TRUE(lock.accepts(true, 2));
    EXPECT_FALSE(lock.accepts(false, 3));
    EXPECT_FALSE(lock.accepts(false, 4));
    EXPECT_FALSE(lock.isLocked(4));
    EXPECT_FALSE(lock.accepts(false, 5));
    EXPECT_TRUE(lock.isLocked(5));
    EXPECT_FALSE(lock.accepts(true, 604));
    EXPECT_EQ(lock.refusals(), 6);
    EXPECT_TRUE(lock.accepts(true, 605));
}

TEST(LoginLock, CameraThatStartsRefusesAndCountsNobody) {
    LoginLock lock({.lockAfter = 1, .lockTime = 600, .refuseFirst = 60});
    EXPECT_FALSE(lock.accepts(true, 0));
    EXPECT_FALSE(lock.accepts(false, 59));
    EXPECT_FALSE(lock.isLocked(59));
    EXPECT_TRUE(lock.accepts(true, 60));
}

} // namespace
} // namespace lumvik::test
