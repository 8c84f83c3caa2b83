#include "base/mutex_lock.hpp"

#include <cerrno>
#include <gtest/gtest.h>

namespace {

class MutexLockTest : public testing::Test {
protected:
    ~MutexLockTest() override { pthread_mutex_destroy(&mutex_); }

    bool is_held() {
        const int result = pthread_mutex_trylock(&mutex_);
        if (result == 0)
            pthread_mutex_unlock(&mutex_);
        return result == EBUSY;
    }

    pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
};

TEST_F(MutexLockTest, HoldsTheMutexForItsScope) {
    ASSERT_FALSE(is_held());
    {
        const kmr::mutex_lock lock(mutex_);
        EXPECT_TRUE(is_held());
    }
    EXPECT_FALSE(is_held());
}

TEST_F(MutexLockTest, LetsGoOnAnEarlyReturn) {
    const auto leave_at_once = [this] {
        const kmr::mutex_lock lock(mutex_);
        return is_held();
    };
    EXPECT_TRUE(leave_at_once());
    EXPECT_FALSE(is_held());
}

} // namespace
