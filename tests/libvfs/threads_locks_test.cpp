// A module may sleep for as long as it will: nobody else waits for it, since no lock is held meanwhile.
#include "tests/fakes/sleeping_thread.hpp"
#include "tests/libvfs/threads_fixture.hpp"
#include "tests/support/checking_lock.hpp"

#include <cstdlib>

namespace {

using restless_module::operation;

crowd::tally held, looked[restless_module::operation_count];

void look_at_locks(operation what) {
    looked[static_cast<size_t>(what)].add();
    held.add(checking_lock::is_mine(vfs_fd_tLock));
    for (vfs_directory& entry : g_vDir)
        held.add(checking_lock::is_mine(entry.tLock));
}

// What a program may ask of the layer, each with a sleep of the module in it.
struct request {
    const char* name;
    operation sleeps_in;
    void (*run)(int32_t fd); // a file of module 1 that is open
};

constexpr char on_disk[] = "/dev/sda1/3";
constexpr char plain[] = "/mnt/4";

const request requests[] = {
    {"open", operation::open, [](int32_t) { vfs_Close(vfs_Open(0, plain, 0)); }},
    {"open of a stream", operation::open, [](int32_t) { vfs_fclose(vfs_fopen(0, on_disk, "rb")); }},
    {"close", operation::close, [](int32_t fd) { vfs_Close(fd); }},
    {"close of a stream", operation::close, [](int32_t fd) { vfs_fclose(&g_stvfile[fd]); }},
    {"read", operation::read,
     [](int32_t fd) {
         char buffer[8];
         vfs_Read(fd, buffer, sizeof buffer);
     }},
    {"read of a stream", operation::read,
     [](int32_t fd) {
         char buffer[8];
         vfs_fread(buffer, 4, 2, &g_stvfile[fd]);
     }},
    {"write", operation::other, [](int32_t fd) { vfs_Write(fd, "text", 4); }},
    {"write of a stream", operation::other, [](int32_t fd) { vfs_fwrite("text", 1, 4, &g_stvfile[fd]); }},
    {"seek", operation::other, [](int32_t fd) { vfs_Seek(fd, 0, 0); }},
    {"seek of a stream", operation::other, [](int32_t fd) { vfs_fseek(&g_stvfile[fd], 0, 0); }},
    {"tell", operation::other, [](int32_t fd) { vfs_Tell(fd); }},
    {"tell of a stream", operation::other, [](int32_t fd) { vfs_ftell(&g_stvfile[fd]); }},
    {"end", operation::other, [](int32_t fd) { vfs_Eof(fd); }},
    {"end of a stream", operation::other, [](int32_t fd) { vfs_feof(&g_stvfile[fd]); }},
    {"sync", operation::other, [](int32_t fd) { vfs_fsync(fd); }},
    {"error", operation::other, [](int32_t fd) { vfs_error(fd); }},
    {"control", operation::other, [](int32_t fd) { vfs_fcntl(fd, 1, 2); }},
    {"cut", operation::other, [](int32_t fd) { vfs_ftruncate(fd, 5); }},
    {"previous recording", operation::other, [](int32_t fd) { vfs_UpdataePreRecPtr(fd, 1, 2); }},
    {"state of a path", operation::stat,
     [](int32_t) {
         vfs_stat_record record = {};
         vfs_Stat(plain, &record);
     }},
    {"removal", operation::other, [](int32_t) { vfs_Unlink(plain); }},
    {"renaming", operation::other, [](int32_t) { vfs_Rename(plain, plain); }},
    {"times", operation::other,
     [](int32_t) {
         const vfs_times times = {};
         vfs_utimes(plain, &times);
     }},
    {"parameters", operation::other, [](int32_t) { vfs_SetUsrParam(plain, 1, 2); }},
    {"formatting", operation::other, [](int32_t) { vfs_Format(plain); }},
    {"statistics", operation::other, [](int32_t) { vfs_Statfs(plain, nullptr); }},
    {"time of creation", operation::other, [](int32_t) { vfs_ChangeCreateTime(on_disk, 5); }},
    {"type of recording", operation::other, [](int32_t) { vfs_ChangeRecType(on_disk, 1, 2); }},
    {"locking a recording", operation::other,
     [](int32_t) { vfs_Rename("/dev/a/123456789012345678901N", "/dev/a/12345678901234567890LN"); }},
    {"number of files", operation::file_count, [](int32_t) { vfs_CloseDir(vfs_OpenDir(on_disk)); }},
    {"records of a directory", operation::directory, [](int32_t) { vfs_CloseDir(vfs_OpenDir(on_disk)); }},
    {"directory of module 1", operation::directory, [](int32_t) { vfs_CloseDir(vfs_OpenDir(plain)); }},
    {"list of module 1", operation::other,
     [](int32_t) {
         vfs_scan_entry** list = nullptr;
         vfs_ScanDir(plain, &list);
     }},
    {"list of module 0", operation::other,
     [](int32_t) {
         vfs_scan_entry** list = nullptr;
         const int32_t count = vfs_ScanDir(on_disk, &list);
         for (int32_t i = 0; i < count; ++i)
             std::free(list[i]);
         std::free(list);
     }},
};

class ThreadsAndLocksTest : public ThreadsAtTheLimitTest {};

TEST_F(ThreadsAndLocksTest, NoThreadHoldsALockWithinAModule) {
    checking_lock::make(vfs_fd_tLock);
    for (vfs_directory& entry : g_vDir)
        checking_lock::make(entry.tLock);
    held.clear();
    for (crowd::tally& each : looked)
        each.clear();
    restless_module::refuse(operation::open, 5); // a failure gives back under the lock what it had taken
    restless_module::set_look(look_at_locks);
    const int rounds = crowd::rounds(5);
    crowd::run(thread_count, [&](int thread) {
        for (int round = 0; round < rounds; ++round)
            for (const request& each : requests) {
                const int32_t fd = open(static_cast<uint32_t>(thread));
                if (fd <= 0) // refused: there is no stream to ask
                    continue;
                each.run(fd);
                if (each.sleeps_in != operation::close)
                    vfs_Close(fd);
            }
    });
    EXPECT_EQ(held.get(), 0);
    for (const operation each : {operation::open, operation::read, operation::close, operation::stat,
                                 operation::file_count, operation::directory, operation::other})
        EXPECT_GT(looked[static_cast<size_t>(each)].get(), 0);
}

// --- one thread asleep in a module ---

TEST_F(ThreadsAndLocksTest, AThreadAsleepInAModuleKeepsNobodyFromATable) {
    for (const request& each : requests) {
        SCOPED_TRACE(each.name);
        const bool opens = each.sleeps_in == operation::open;
        const int32_t fd = opens ? 0 : open(2);
        restless_module::sleeping_thread sleeper(each.sleeps_in, [&] { each.run(fd); });
        // Its own place is taken, all the while that it opens or closes too, and every other one is to be had.
        for (int32_t next = 2; next <= VFS_MAX_FILES; ++next)
            EXPECT_EQ(open(static_cast<uint32_t>(next)), next);
        EXPECT_EQ(open(7), -1);
        EXPECT_EQ(iIsValidFd(1), 0);
        for (int32_t next = 2; next <= VFS_MAX_FILES; ++next)
            EXPECT_EQ(vfs_Close(next), 0);
        void* handles[VFS_MAX_DIRECTORIES];
        for (int number = 0; number < VFS_MAX_DIRECTORIES; ++number) {
            handles[number] = vfs_OpenDir(on_disk);
            EXPECT_EQ(handles[number], &g_vDir[number]);
        }
        EXPECT_EQ(vfs_OpenDir(on_disk), nullptr);
        for (void* const handle : handles)
            EXPECT_EQ(vfs_CloseDir(handle), 0);
        EXPECT_TRUE(sleeper.wake());
        EXPECT_EQ(iIsValidFd(1), opens || each.sleeps_in == operation::close ? -1 : 0);
        vfs_Close(1);
    }
}

// The loader may take its time as well: it is called when the tables are ready, and with no lock.
TEST_F(ThreadsAndLocksTest, ALoaderThatSleepsHoldsNoLock) {
    restless_module::refuse(operation::load, 2); // then module 1 is not found
    restless_module::sleeping_thread starter(operation::load, [] { vfs_Init(); });
    EXPECT_EQ(pthread_mutex_trylock(&vfs_fd_tLock), 0);
    pthread_mutex_unlock(&vfs_fd_tLock);
    for (vfs_directory& entry : g_vDir) {
        EXPECT_EQ(pthread_mutex_trylock(&entry.tLock), 0);
        pthread_mutex_unlock(&entry.tLock);
    }
    EXPECT_TRUE(starter.wake());
    EXPECT_EQ(open(1), 1);
    EXPECT_EQ(open(2), 0);
    EXPECT_EQ(vfs_Close(1), 0);
}

} // namespace
