// That no lock is held while a module is called: modules that are written here look at it from inside.
#include "tests/libvfs/layer_test.hpp"

namespace {

bool table_was_free;
int32_t descriptor_seen_by_open;
bool entry_was_reserved;

bool is_free(pthread_mutex_t& lock) {
    if (pthread_mutex_trylock(&lock) != 0)
        return false;
    pthread_mutex_unlock(&lock);
    return true;
}

int32_t looking_open(int32_t, const char*, int32_t) {
    table_was_free = is_free(vfs_fd_tLock);
    descriptor_seen_by_open = g_stvfile[1].iFd;
    entry_was_reserved = g_stvfile[1].pMdlOps != nullptr;
    return 7;
}

int32_t looking_read(int32_t, void*, uint32_t) {
    table_was_free = is_free(vfs_fd_tLock);
    return 0;
}

int32_t looking_close(int32_t) {
    table_was_free = is_free(vfs_fd_tLock);
    return 0;
}

class LocksTest : public LayerTest {
protected:
    LocksTest() {
        g_stvfsmnt.Entries[1].Operations.Open = looking_open;
        g_stvfsmnt.Entries[1].Operations.Read = looking_read;
        g_stvfsmnt.Entries[1].Operations.Close = looking_close;
    }
};

TEST_F(LocksTest, AreNotHeldWhileTheModuleOpens) {
    EXPECT_EQ(vfs_Open(0, "/tmp/x", 0), 1);
    EXPECT_TRUE(table_was_free);
    EXPECT_TRUE(entry_was_reserved);
    EXPECT_EQ(descriptor_seen_by_open, 0);
}

TEST_F(LocksTest, AreNotHeldWhileTheModuleReadsOrCloses) {
    vfs_Open(0, "/tmp/x", 0);
    table_was_free = false;
    vfs_Read(1, nullptr, 0);
    EXPECT_TRUE(table_was_free);
    table_was_free = false;
    vfs_Close(1);
    EXPECT_TRUE(table_was_free);
}

TEST_F(LocksTest, AFileKeepsItsModulesOperations) {
    vfs_Open(0, "/tmp/x", 0);
    g_stvfsmnt.Entries[1].iState = 0; // too late for a file that is open
    EXPECT_EQ(vfs_Read(1, nullptr, 0), 0);
    EXPECT_EQ(vfs_Close(1), 0);
}

} // namespace
