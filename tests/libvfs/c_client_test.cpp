// The layer used from C: its headers are valid there, and its functions and tables have C linkage.
#include "tests/libvfs/c_client.h"
#include "tests/libvfs/layer_test.hpp"

namespace {

class CClientTest : public LayerTest {};

TEST_F(CClientTest, ReadsAFile) {
    char buffer[8] = {};
    EXPECT_EQ(read_in_c(write_plain("x", "abc").c_str(), buffer, 8), 3);
    EXPECT_STREQ(buffer, "abc");
    EXPECT_EQ(read_in_c(plain("missing").c_str(), buffer, 8), -1);
}

TEST_F(CClientTest, AsksForTheSize) {
    EXPECT_EQ(size_in_c(write_disk("x", "abcde").c_str()), 5);
    EXPECT_EQ(size_in_c(disk("missing").c_str()), -1);
}

TEST_F(CClientTest, SeesTheTables) {
    EXPECT_EQ(first_open_descriptor_in_c(), -1);
    vfs_Open(0, write_plain("x", "abc").c_str(), 0);
    EXPECT_EQ(first_open_descriptor_in_c(), 1);
}

} // namespace
