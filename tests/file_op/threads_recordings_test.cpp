// Several threads fill the table of open recordings to its 50 places, ask for one too many, close and open again, over
// modules that sleep and refuse.
#include "file_op/common/rec_status.h"
#include "file_op/open_table.h"
#include "tests/fakes/restless_module.hpp"
#include "tests/fakes/sleeping_thread.hpp"
#include "tests/support/checking_lock.hpp"
#include "tests/support/crowd.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <barrier>
#include <cstring>
#include <set>
#include <string>

namespace {

using restless_module::operation;
using restless_module::refuse;

// On a disk of the recorder: found by its name on the first of 24 disks whose file system does not refuse.
constexpr char short_name[] = "H2cdef20150102opqrstCvwxyz0";

class ThreadsFillTheRecordingsTest : public testing::Test {
protected:
    static constexpr int thread_count = 8;

    void SetUp() override {
        restless_module::reset();
        vfs_Init();
    }

    // A close that a module refuses leaves its descriptor open, and nothing else.
    void TearDown() override {
        for (const rec_open_entry& entry : tOpenFile) {
            EXPECT_EQ(entry.uiInUse, 0u);
            EXPECT_EQ(entry.pHandle, nullptr);
            EXPECT_EQ(entry.pWorkBuf, nullptr);
        }
        for (int32_t fd = 1; fd <= VFS_MAX_FILES; ++fd)
            vfs_Close(fd);
        EXPECT_EQ(restless_module::open_files(), 0);
        EXPECT_EQ(restless_module::misdirected_calls(), 0);
    }

    // The recording of that number; module 0 serves the odd ones.
    static std::string recording(uint32_t number) {
        return (number % 2 != 0 ? "/dev/sda1/" : "/mnt/") + std::to_string(number);
    }
    static uint32_t number_for(int thread, size_t nth) {
        return static_cast<uint32_t>(thread) * 100'000 + static_cast<uint32_t>(nth) + 1;
    }
    static int32_t open(vfs_file*& handle, uint32_t number) {
        vfs_stat_record record = {};
        return rec_OpenFile(&handle, recording(number).c_str(), &record);
    }

    // Whether this is the recording of that number, whose header the modules fill with it.
    static bool is_of(vfs_file* handle, uint32_t number) {
        kmr_file_header header;
        uint32_t found = 0;
        const int32_t status = rec_ReadFileHeader(handle, nullptr, &header);
        std::memcpy(&found, reinterpret_cast<const char*>(&header) + 60, sizeof found);
        return status == REC_OK && found == number;
    }

    static int entries_in_use() {
        return static_cast<int>(std::count_if(std::begin(tOpenFile), std::end(tOpenFile),
                                              [](const rec_open_entry& each) { return each.uiInUse != 0; }));
    }
    static int descriptors() {
        int count = 0;
        for (int32_t fd = 1; fd <= VFS_MAX_FILES; ++fd)
            count += iIsValidFd(fd) == 0;
        return count;
    }

    static std::vector<vfs_file*> open_first(uint32_t count) {
        std::vector<vfs_file*> handles(count);
        for (uint32_t i = 0; i < count; ++i)
            EXPECT_EQ(open(handles[i], i), REC_OK);
        return handles;
    }
    static void close_all(std::vector<vfs_file*>& handles) {
        for (vfs_file*& each : handles)
            EXPECT_EQ(rec_CloseFile(&each), REC_OK);
    }
};

TEST_F(ThreadsFillTheRecordingsTest, EveryPlaceIsGivenOnceAndOneTooManyIsRefused) {
    for (int round = 0; round < crowd::rounds(10); ++round) {
        std::vector<std::vector<vfs_file*>> held(thread_count);
        crowd::tally mistakes;
        std::barrier full(thread_count);
        crowd::run(thread_count, [&](int thread) {
            std::vector<vfs_file*>& mine = held[static_cast<size_t>(thread)];
            vfs_file* handle = nullptr;
            while (open(handle, number_for(thread, mine.size())) == REC_OK)
                mine.push_back(handle);
            mistakes.add(handle != nullptr); // as the one too many leaves it
            full.arrive_and_wait();
            handle = &g_stvfile[0];
            mistakes.add(open(handle, number_for(thread, mine.size())) != REC_FAILED || handle != nullptr);
            full.arrive_and_wait();
            mistakes.add(restless_module::open_files() != REC_MAX_OPEN); // what was refused is closed
            full.arrive_and_wait();
            for (size_t nth = 0; nth < mine.size(); ++nth) {
                vfs_file* closing = mine[nth];
                mistakes.add(!is_of(closing, number_for(thread, nth)) || rec_SetBuf(closing, 100) != REC_OK);
                mistakes.add(rec_CloseFile(&closing) != REC_OK || closing != nullptr);
            }
        });
        EXPECT_EQ(mistakes.get(), 0);
        std::set<vfs_file*> all;
        size_t count = 0;
        for (const auto& each : held) {
            all.insert(each.begin(), each.end());
            count += each.size();
        }
        EXPECT_EQ(count, 50u);
        EXPECT_EQ(all.size(), 50u);
        EXPECT_EQ(descriptors(), 0);
    }
}

TEST_F(ThreadsFillTheRecordingsTest, OneOfTwoGetsTheLastPlace) {
    std::vector<vfs_file*> handles = open_first(REC_MAX_OPEN);
    for (int round = 0; round < crowd::rounds(40); ++round) {
        const auto place = static_cast<size_t>(round) * 7 % REC_MAX_OPEN;
        ASSERT_EQ(rec_CloseFile(&handles[place]), REC_OK);
        int32_t status[2] = {};
        vfs_file* given[2] = {};
        crowd::run(2, [&](int thread) { status[thread] = open(given[thread], number_for(thread, 7)); });
        const int winner = status[0] == REC_OK ? 0 : 1;
        EXPECT_EQ(status[winner], REC_OK);
        EXPECT_EQ(status[1 - winner], REC_FAILED);
        EXPECT_EQ(given[1 - winner], nullptr);
        EXPECT_EQ(tOpenFile[place].cPath, recording(number_for(winner, 7)));
        EXPECT_TRUE(is_of(given[winner], number_for(winner, 7)));
        handles[place] = given[winner];
    }
    close_all(handles);
}

// Whatever closing the stream gave, the entry is free; the descriptor stays open until somebody closes it.
TEST_F(ThreadsFillTheRecordingsTest, PlacesAreUsedAgainBesideClosesThatFail) {
    std::vector<vfs_file*> handles = open_first(REC_MAX_OPEN - 3);
    crowd::tally mistakes, successes;
    const int rounds = crowd::rounds(60);
    for (int round = 0; round < rounds; ++round) {
        refuse(operation::open, 5);
        refuse(operation::close, 3);
        crowd::run(thread_count, [&](int thread) {
            for (size_t nth = 0; nth < 6; ++nth) {
                vfs_file* handle = &g_stvfile[0];
                const int32_t status = open(handle, number_for(thread, nth));
                if (status != REC_OK) { // refused by the module, or by the table
                    mistakes.add(status != REC_FAILED || handle != nullptr);
                    continue;
                }
                successes.add();
                mistakes.add(!is_of(handle, number_for(thread, nth)));
                mistakes.add(rec_CloseFile(&handle) != REC_OK || handle != nullptr);
            }
        });
        refuse(operation::open, 0);
        refuse(operation::close, 0);
        EXPECT_EQ(entries_in_use(), REC_MAX_OPEN - 3);
        EXPECT_EQ(restless_module::open_files(), descriptors());
        for (int32_t fd = REC_MAX_OPEN - 2; fd <= VFS_MAX_FILES; ++fd)
            vfs_Close(fd);
    }
    EXPECT_EQ(mistakes.get(), 0);
    EXPECT_GT(successes.get(), 0);
    close_all(handles);
}

TEST_F(ThreadsFillTheRecordingsTest, NamesAreLookedUpOnDisksThatFail) {
    refuse(operation::stat, 2);
    crowd::tally mistakes;
    const int rounds = crowd::rounds(20);
    crowd::run(thread_count, [&](int) {
        for (int round = 0; round < rounds; ++round) {
            vfs_file* handle = &g_stvfile[0];
            const int32_t status = rec_OpenFile(&handle, short_name, nullptr);
            if (status == REC_OK)
                mistakes.add(!is_of(handle, restless_module::number_in(short_name)) ||
                             rec_CloseFile(&handle) != REC_OK);
            else
                mistakes.add(status != REC_NOT_FOUND || handle != &g_stvfile[0]);
        }
    });
    EXPECT_EQ(mistakes.get(), 0);
}

// The first open of the process clears the table, once: what other threads have entered since stays.
TEST_F(ThreadsFillTheRecordingsTest, TheTableIsClearedOnceWhoeverComesFirst) {
    for (int round = 0; round < crowd::rounds(10); ++round) {
        bOpenFirst = 1;
        std::memset(static_cast<void*>(tOpenFile), 0xEE, sizeof tOpenFile);
        std::vector<vfs_file*> handles(thread_count);
        crowd::tally mistakes;
        crowd::run(thread_count, [&](int thread) {
            mistakes.add(open(handles[static_cast<size_t>(thread)], number_for(thread, 0)) != REC_OK);
        });
        EXPECT_EQ(mistakes.get(), 0);
        EXPECT_EQ(bOpenFirst, 0);
        EXPECT_EQ(entries_in_use(), thread_count);
        close_all(handles);
    }
}

// --- one recording, two threads ---

TEST_F(ThreadsFillTheRecordingsTest, ARecordingOpenedTwiceHasTwoPlaces) {
    for (int round = 0; round < crowd::rounds(20); ++round) {
        std::vector<vfs_file*> handles(2);
        crowd::run(2, [&](int thread) { open(handles[static_cast<size_t>(thread)], 7); });
        EXPECT_NE(handles[0], handles[1]);
        EXPECT_EQ(entries_in_use(), 2);
        for (vfs_file* each : handles)
            EXPECT_TRUE(is_of(each, 7));
        close_all(handles);
    }
}

TEST_F(ThreadsFillTheRecordingsTest, OneOfTwoFindsTheRecordingThatBothClose) {
    for (int round = 0; round < crowd::rounds(40); ++round) {
        vfs_file* handles[2] = {};
        ASSERT_EQ(open(handles[0], 7), REC_OK);
        vfs_file* const handle = handles[1] = handles[0];
        int32_t status[2] = {};
        crowd::run(2, [&](int thread) { status[thread] = rec_CloseFile(&handles[thread]); });
        const int winner = status[0] == REC_OK ? 0 : 1;
        EXPECT_EQ(status[winner], REC_OK);
        EXPECT_EQ(handles[winner], nullptr);
        EXPECT_EQ(status[1 - winner], REC_FAILED);
        EXPECT_EQ(handles[1 - winner], handle);
        EXPECT_EQ(entries_in_use(), 0);
    }
}

// A buffer is given before the close, which then frees it, or not at all.
TEST_F(ThreadsFillTheRecordingsTest, ABufferIsNeverGivenToARecordingThatIsClosed) {
    for (int round = 0; round < crowd::rounds(40); ++round) {
        vfs_file* handle = nullptr;
        ASSERT_EQ(open(handle, 7), REC_OK);
        vfs_file* const same = handle;
        int32_t status[2] = {};
        crowd::run(2, [&](int thread) {
            status[thread] = thread == 0 ? rec_SetBuf(same, 1000) : rec_CloseFile(&handle);
        });
        EXPECT_TRUE(status[0] == REC_OK || status[0] == REC_FAILED) << status[0];
        EXPECT_EQ(status[1], REC_OK);
        for (const rec_open_entry& entry : tOpenFile)
            EXPECT_EQ(entry.pWorkBuf, nullptr);
    }
}

// --- the lock ---

thread_local bool expects_lock = false;
crowd::tally wrong_locks, looks;

void look_at_locks(operation) {
    looks.add();
    wrong_locks.add(checking_lock::is_mine(g_tFileLock) != expects_lock ||
                    checking_lock::is_mine(vfs_fd_tLock));
}

TEST_F(ThreadsFillTheRecordingsTest, TheLockIsHeldWithinOpenAndCloseAndNowhereElse) {
    checking_lock::make(g_tFileLock);
    checking_lock::make(vfs_fd_tLock);
    wrong_locks.clear();
    looks.clear();
    restless_module::set_look(look_at_locks);
    const int rounds = crowd::rounds(10);
    crowd::run(thread_count, [&](int thread) {
        for (int round = 0; round < rounds; ++round) {
            vfs_file* handle = nullptr;
            kmr_file_header header;
            expects_lock = true;
            open(handle, number_for(thread, 0));
            expects_lock = false;
            rec_ReadFileHeader(handle, nullptr, &header);
            rec_ReadFileHeader(nullptr, recording(7).c_str(), &header);
            rec_SetBuf(handle, 10);
            expects_lock = true;
            rec_CloseFile(&handle);
            expects_lock = false;
        }
    });
    EXPECT_EQ(wrong_locks.get(), 0);
    EXPECT_GT(looks.get(), 0);
}

// Who opens a recording on a disk that does not answer makes others wait who open and close recordings, and nobody who
// reads one, copies, or uses the layer.
TEST_F(ThreadsFillTheRecordingsTest, AnOpenThatSleepsKeepsNobodyFromReading) {
    std::vector<vfs_file*> handles = open_first(1);
    handles.push_back(nullptr);
    restless_module::sleeping_thread sleeper(operation::open, [&] { open(handles[1], 9); });
    EXPECT_NE(pthread_mutex_trylock(&g_tFileLock), 0);
    EXPECT_TRUE(is_of(handles[0], 0));
    kmr_file_header header;
    EXPECT_EQ(rec_ReadFileHeader(nullptr, recording(7).c_str(), &header), REC_OK);
    EXPECT_EQ(rec_StopCopy(), REC_OK);
    EXPECT_EQ(rec_ClearStopCopyFlag(), REC_OK);
    const int32_t fd = vfs_Open(0, recording(8).c_str(), 0);
    EXPECT_EQ(fd, 3);
    EXPECT_EQ(vfs_Close(fd), 0);
    EXPECT_TRUE(sleeper.wake());
    EXPECT_TRUE(is_of(handles[1], 9));
    close_all(handles);
}

// A word written whole, by any thread at any time.
TEST_F(ThreadsFillTheRecordingsTest, AnybodyMayAskACopyToStop) {
    crowd::run(thread_count, [](int thread) {
        if (thread % 2 == 0)
            rec_StopCopy();
        else
            rec_ClearStopCopyFlag();
    });
    EXPECT_TRUE(g_iStopCopyFlag == 0 || g_iStopCopyFlag == 1) << g_iStopCopyFlag;
    EXPECT_EQ(rec_ClearStopCopyFlag(), REC_OK);
    EXPECT_EQ(g_iStopCopyFlag, 0);
}

} // namespace
