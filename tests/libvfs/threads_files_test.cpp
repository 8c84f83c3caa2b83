// Several threads fill the table of open files to its 1024 places, ask for one too many, close and open again.
#include "tests/libvfs/threads_fixture.hpp"

#include <barrier>
#include <numeric>

namespace {

using restless_module::operation;
using restless_module::refuse;

struct held_file {
    int32_t fd;
    uint32_t number;
};
using held_files = std::vector<held_file>;

class ThreadsFillTheFilesTest : public ThreadsAtTheLimitTest {
protected:
    // A number for the nth file of a thread.
    static uint32_t number_for(int thread, size_t nth) {
        return static_cast<uint32_t>(thread) * 100'000 + static_cast<uint32_t>(nth);
    }

    // Opens files until the layer has no place: a failure that no module has caused.
    static held_files open_until_full(int thread) {
        held_files held;
        for (size_t attempt = 0;; ++attempt) {
            const int before = restless_module::refused_to_me();
            const uint32_t number = number_for(thread, attempt);
            const int32_t fd = open(number);
            if (fd > 0)
                held.push_back({fd, number});
            else if (restless_module::refused_to_me() == before)
                return held;
        }
    }

    // Closes what may be refused until it is closed. The number of mistakes: a descriptor stays what it was until then.
    static int close_at_last(const held_file& held) {
        int mistakes = 0;
        for (;;) {
            const int before = restless_module::refused_to_me();
            const int32_t result = vfs_Close(held.fd);
            if (restless_module::refused_to_me() == before)
                return mistakes + (result != 0);
            mistakes += result != -1 || iIsValidFd(held.fd) != 0 || !is_of(held.fd, held.number);
        }
    }

    static std::vector<int32_t> sorted(const std::vector<held_files>& all) {
        std::vector<int32_t> descriptors;
        for (const held_files& each : all)
            for (const held_file& held : each)
                descriptors.push_back(held.fd);
        std::sort(descriptors.begin(), descriptors.end());
        return descriptors;
    }
};

std::vector<int32_t> all_descriptors() {
    std::vector<int32_t> all(VFS_MAX_FILES);
    std::iota(all.begin(), all.end(), 1);
    return all;
}

TEST_F(ThreadsFillTheFilesTest, EveryPlaceIsGivenOnceAndOneTooManyIsRefused) {
    for (int round = 0; round < crowd::rounds(2); ++round) {
        std::vector<held_files> held(thread_count);
        crowd::tally mistakes;
        std::barrier full(thread_count);
        crowd::run(thread_count, [&](int thread) {
            held_files& mine = held[static_cast<size_t>(thread)];
            mine = open_until_full(thread);
            full.arrive_and_wait();
            const std::string one_more = file(number_for(thread, mine.size()));
            mistakes.add(vfs_Open(0, one_more.c_str(), 0) != -1);
            mistakes.add(vfs_fopen(0, one_more.c_str(), "rb") != nullptr);
            mistakes.add(restless_module::open_files() != VFS_MAX_FILES); // so no module was asked
            full.arrive_and_wait();
            for (const held_file& each : mine)
                mistakes.add(!is_of(each.fd, each.number) || vfs_Close(each.fd) != 0);
        });
        EXPECT_EQ(mistakes.get(), 0);
        EXPECT_EQ(sorted(held), all_descriptors());
        EXPECT_EQ(open_descriptors(), 0);
    }
}

TEST_F(ThreadsFillTheFilesTest, OpensThatTheModuleRefusesKeepNoPlace) {
    for (int round = 0; round < crowd::rounds(2); ++round) {
        refuse(operation::open, 3);
        std::vector<held_files> held(thread_count);
        crowd::run(thread_count,
                   [&](int thread) { held[static_cast<size_t>(thread)] = open_until_full(thread); });
        refuse(operation::open, 0);
        // A thread may have found the table full of places that others held for opens which then failed.
        held.push_back(open_until_full(thread_count));
        EXPECT_EQ(sorted(held), all_descriptors());
        for (const held_files& each : held)
            for (const held_file& one : each)
                EXPECT_TRUE(is_of(one.fd, one.number)) << one.fd;
        close_all();
    }
}

TEST_F(ThreadsFillTheFilesTest, OneOfTwoGetsTheLastPlace) {
    open_first(VFS_MAX_FILES);
    for (int round = 0; round < crowd::rounds(40); ++round) {
        const int32_t place = round * 37 % VFS_MAX_FILES + 1;
        ASSERT_EQ(vfs_Close(place), 0);
        int32_t given[2] = {};
        crowd::run(2, [&](int thread) { given[thread] = open(number_for(thread, 7)); });
        const int winner = given[0] == place ? 0 : 1;
        EXPECT_EQ(given[winner], place);
        EXPECT_EQ(given[1 - winner], -1);
        EXPECT_TRUE(is_of(place, number_for(winner, 7)));
    }
    close_all();
}

TEST_F(ThreadsFillTheFilesTest, ALastPlaceWhoseOpenFailsIsFreeAgain) {
    open_first(VFS_MAX_FILES - 1);
    for (int round = 0; round < crowd::rounds(40); ++round) {
        refuse(operation::open, 2);
        int32_t given[2] = {};
        crowd::run(2, [&](int thread) { given[thread] = open(number_for(thread, 7)); });
        refuse(operation::open, 0);
        for (const int32_t fd : given)
            EXPECT_TRUE(fd == VFS_MAX_FILES || fd == -1) << fd;
        EXPECT_FALSE(given[0] > 0 && given[1] > 0);
        if (given[0] < 0 && given[1] < 0) {
            EXPECT_EQ(open(7), VFS_MAX_FILES);
        }
        EXPECT_EQ(vfs_Close(VFS_MAX_FILES), 0);
    }
    close_all();
}

// More threads than places, opens and closes that are refused: whoever has a descriptor has it alone until it is closed.
TEST_F(ThreadsFillTheFilesTest, PlacesAreUsedAgainBesideClosesThatFail) {
    constexpr int32_t taken = VFS_MAX_FILES - 5;
    open_first(taken);
    refuse(operation::open, 4);
    refuse(operation::close, 3);
    crowd::tally mistakes, successes;
    const int rounds = crowd::rounds(200);
    crowd::run(thread_count, [&](int thread) {
        for (int round = 0; round < rounds; ++round) {
            const uint32_t number = number_for(thread, static_cast<size_t>(round));
            const int32_t fd = open(number);
            // Anybody may ask of any descriptor at any moment.
            mistakes.add(iIsValidFd(1) != 0 || iIsValidFd(taken + 1 + round % 5) > 0);
            if (fd <= 0) {
                mistakes.add(fd != -1);
                continue;
            }
            successes.add();
            mistakes.add(fd <= taken || fd > VFS_MAX_FILES || !is_of(fd, number));
            mistakes.add(close_at_last({fd, number}));
        }
    });
    EXPECT_EQ(mistakes.get(), 0);
    EXPECT_GT(successes.get(), 0);
    EXPECT_EQ(open_descriptors(), taken);
    refuse(operation::open, 0);
    refuse(operation::close, 0);
    EXPECT_EQ(open(7), taken + 1) << "the lowest free one, as ever";
    close_all();
}

TEST_F(ThreadsFillTheFilesTest, StreamsShareTheTable) {
    constexpr int32_t taken = VFS_MAX_FILES - 5;
    open_first(taken);
    refuse(operation::close, 3);
    crowd::tally mistakes;
    const int rounds = crowd::rounds(100);
    crowd::run(thread_count, [&](int thread) {
        for (int round = 0; round < rounds; ++round) {
            const uint32_t number = number_for(thread, static_cast<size_t>(round));
            vfs_file* const stream = vfs_fopen(0, file(number).c_str(), "rb");
            if (stream == nullptr)
                continue;
            uint32_t found[2] = {};
            mistakes.add(stream <= &g_stvfile[taken] || stream > &g_stvfile[VFS_MAX_FILES]);
            mistakes.add(vfs_fread(found, sizeof found[0], 2, stream) != 2 || found[1] != number);
            mistakes.add(vfs_fseek(stream, 0, 0) != 0 || vfs_ftell(stream) != 0 || vfs_feof(stream) != 0);
            while (vfs_fclose(stream) != 0)
                mistakes.add(vfs_ftell(stream) != 0);
        }
    });
    EXPECT_EQ(mistakes.get(), 0);
    EXPECT_EQ(open_descriptors(), taken);
    refuse(operation::close, 0);
    close_all();
}

// A module that was not loaded takes no place, and its paths say so where the table is full too.
TEST_F(ThreadsFillTheFilesTest, AModuleThatWasNotLoadedTakesNoPlace) {
    restless_module::set_loadable(false, true);
    vfs_Init();
    crowd::tally mistakes, opened;
    crowd::run(thread_count, [&](int thread) {
        for (size_t nth = 0;; ++nth) {
            mistakes.add(open(1) != 0);
            mistakes.add(vfs_fopen(0, file(1).c_str(), "rb") != nullptr);
            mistakes.add(vfs_Open(7, file(2).c_str(), 0) != 0); // a selector says module 0
            const int32_t fd = open(number_for(thread, 2 * nth));
            if (fd == -1)
                break;
            opened.add();
        }
        mistakes.add(open(1) != 0);
    });
    EXPECT_EQ(mistakes.get(), 0);
    EXPECT_EQ(opened.get(), VFS_MAX_FILES);
    close_all();
}

} // namespace
