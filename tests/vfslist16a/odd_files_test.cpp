// Index files that are no plain files, or cannot be asked how long they are.
#include "tests/support/scratch.hpp"
#include "tests/vfslist16a/index_bytes.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace index_bytes;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(OddIndexFileTest, APipeHasNoRecords) {
    const scratch::folder folder;
    const std::string path = folder.file("pipe");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const int other_end = open(path.c_str(), O_RDWR); // so that nobody waits for it
    ASSERT_GE(other_end, 0);
    const list into = empty_list();
    EXPECT_EQ(SearchIndexEx(path.c_str(), open_query().get(), into.get()), 0);
    EXPECT_THAT(paths(into.get()), IsEmpty());
    close(other_end);
}

// The file is open, but asking for its size takes one descriptor more: then it is read from its first record on.
TEST(OddIndexFileTest, OfUnknownSizeIsSearchedWhole) {
    const scratch::folder folder;
    const std::string path = folder.write("index", file(at_times({200, 100, 50, 150, 160})));
    const auto query = open_query();
    query->start_time = 100;
    query->end_time = 300;
    const int next = dup(STDIN_FILENO); // the number that is handed out next
    close(next);
    rlimit before = {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit one_more = {static_cast<rlim_t>(next) + 1, before.rlim_max};
    const list into = empty_list();
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &one_more), 0);
    const int32_t result = SearchIndexEx(path.c_str(), query.get(), into.get());
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(result, 0);
    // Bisection would have begun behind the first one.
    EXPECT_THAT(paths(into.get()), ElementsAre("p0", "p1", "p3", "p4"));
}

} // namespace
