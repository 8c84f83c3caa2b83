// Several threads take the 16 directory handles of module 0, ask for one too many, give them back and take them again.
#include "tests/libvfs/threads_fixture.hpp"

#include <barrier>
#include <cstring>
#include <set>

namespace {

using restless_module::operation;
using restless_module::refuse;

class ThreadsFillTheDirectoriesTest : public ThreadsAtTheLimitTest {
protected:
    void TearDown() override {
        for (const vfs_directory& entry : g_vDir) {
            EXPECT_EQ(entry.iUsed, 0u);
            EXPECT_EQ(entry.iDirNo, -1);
            EXPECT_EQ(entry.pRecords, nullptr);
        }
        ThreadsAtTheLimitTest::TearDown();
    }

    static void* open_directory(int number) {
        return vfs_OpenDir(("/dev/sda1/" + std::to_string(number)).c_str());
    }

    // Whether this is a handle of that directory from which nothing has been read: it gives number % 3 + 1 records of
    // it, and then nothing, again and again.
    static bool is_of(void* handle, int number) {
        for (int record = 0; record <= number % 3; ++record) {
            const void* const found = vfs_ReadDir(handle);
            if (found == nullptr || std::memcmp(found, &number, sizeof number) != 0)
                return false;
        }
        return static_cast<vfs_directory*>(handle)->iDirNo == number && vfs_ReadDir(handle) == nullptr &&
               vfs_ReadDir(handle) == nullptr;
    }

    static void open_all() {
        for (int number = 0; number < VFS_MAX_DIRECTORIES; ++number)
            ASSERT_EQ(open_directory(number), &g_vDir[number]);
    }
    static void close_all_directories() {
        for (vfs_directory& entry : g_vDir)
            _vfs_CloseDir(&entry);
    }
};

TEST_F(ThreadsFillTheDirectoriesTest, EveryHandleIsGivenOnceAndOneTooManyIsRefused) {
    for (int round = 0; round < crowd::rounds(20); ++round) {
        std::vector<std::vector<void*>> held(thread_count);
        crowd::tally mistakes;
        std::barrier full(thread_count);
        crowd::run(thread_count, [&](int thread) {
            std::vector<void*>& mine = held[static_cast<size_t>(thread)];
            const auto number = [&](size_t nth) { return thread * 1000 + static_cast<int>(nth); };
            while (void* const handle = open_directory(number(mine.size())))
                mine.push_back(handle);
            full.arrive_and_wait();
            mistakes.add(open_directory(number(mine.size())) != nullptr);
            full.arrive_and_wait();
            for (size_t nth = 0; nth < mine.size(); ++nth)
                mistakes.add(!is_of(mine[nth], number(nth)) || vfs_CloseDir(mine[nth]) != 0);
        });
        EXPECT_EQ(mistakes.get(), 0);
        std::set<void*> all;
        size_t count = 0;
        for (const auto& each : held) {
            all.insert(each.begin(), each.end());
            count += each.size();
        }
        EXPECT_EQ(count, 16u);
        EXPECT_EQ(all.size(), 16u);
        EXPECT_EQ(*all.begin(), &g_vDir[0]);
        EXPECT_EQ(*all.rbegin(), &g_vDir[15]);
    }
}

TEST_F(ThreadsFillTheDirectoriesTest, OneOfTwoGetsTheLastHandle) {
    open_all();
    for (int round = 0; round < crowd::rounds(40); ++round) {
        vfs_directory* const place = &g_vDir[round * 7 % VFS_MAX_DIRECTORIES];
        ASSERT_EQ(vfs_CloseDir(place), 0);
        void* given[2] = {};
        crowd::run(2, [&](int thread) { given[thread] = open_directory(100 + thread); });
        const int winner = given[0] != nullptr ? 0 : 1;
        ASSERT_EQ(given[winner], place);
        EXPECT_EQ(given[1 - winner], nullptr);
        EXPECT_TRUE(is_of(place, 100 + winner));
    }
    close_all_directories();
}

// A listing that the module does not give takes no handle, and the loser of a fight for one keeps no records: what is
// kept is found by the leak check.
TEST_F(ThreadsFillTheDirectoriesTest, HandlesAreUsedAgainBesideListingsThatFail) {
    refuse(operation::file_count, 5);
    refuse(operation::directory, 3);
    crowd::tally mistakes, successes;
    const int rounds = crowd::rounds(100);
    crowd::run(3 * thread_count, [&](int thread) { // more than there are handles
        for (int round = 0; round < rounds; ++round) {
            const int number = thread * 1000 + round;
            void* const handle = open_directory(number);
            if (handle == nullptr)
                continue;
            successes.add();
            mistakes.add(!is_of(handle, number) || vfs_CloseDir(handle) != 0);
        }
    });
    EXPECT_EQ(mistakes.get(), 0);
    EXPECT_GT(successes.get(), 0);
    refuse(operation::file_count, 0);
    refuse(operation::directory, 0);
    open_all();
    close_all_directories();
}

// Handles of module 1 are the module's own and take no place of these.
TEST_F(ThreadsFillTheDirectoriesTest, HandlesOfModule1TakeNoPlace) {
    open_all();
    crowd::tally mistakes;
    crowd::run(thread_count, [&](int) {
        void* const handle = vfs_OpenDir("/mnt/7");
        mistakes.add(handle == nullptr || vfs_CloseDir(handle) != 0);
        mistakes.add(open_directory(7) != nullptr);
    });
    EXPECT_EQ(mistakes.get(), 0);
    close_all_directories();
}

} // namespace
