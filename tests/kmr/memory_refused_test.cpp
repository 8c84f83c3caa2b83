// Memory is refused to programs that write, request by request, once and for good: the recording is then what it was, or
// what it was to become, or kmr undo gives it back; and what is said to be done is done. KMR_EVERY=1 tries every request.
#include "tests/kmr/changed_file.hpp"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {

using kmr_test::is_old;
using kmr_test::make_old;
using kmr_test::read_quietly;
using kmr_test::words;
using kmr_test::workplace;
using recording::bytes;

int step() {
    const char* const every = std::getenv("KMR_EVERY");
    return every != nullptr ? std::atoi(every) : 23;
}

class MemoryRefusedTest : public testing::Test {
protected:
    MemoryRefusedTest() {
        place_.compose("a.kmr");
        make_old(file_);
        before_ = read_quietly(file_);
    }

    // Calls `judge` with every run in which memory was refused, and puts the folder back behind it.
    template <typename Judge>
    void refuse(const words& arguments, Judge judge) {
        namespace fs = std::filesystem;
        const fs::path folder = place_.folder().path();
        for (const std::string lasts : {"", "+"})
            for (int nth = 1;; nth += step()) {
                SCOPED_TRACE(std::to_string(nth) + lasts);
                const auto run =
                    place_.kmr(arguments, {.environment = {"LD_PRELOAD=" KMR_REFUSE_MEMORY,
                                                           "REFUSE=" + std::to_string(nth) + lasts}});
                if (!fs::remove(folder / "refused")) {
                    EXPECT_EQ(run.status, 0);
                    EXPECT_GT(nth, 100);
                    restore();
                    break;
                }
                judge(run);
                if (HasFailure())
                    return;
                restore();
            }
    }

    void restore() {
        namespace fs = std::filesystem;
        for (const std::string& name : kmr_test::names_in(place_.folder().path()))
            if (name != "a.kmr")
                fs::remove(place_.folder().path() / name);
        if (read_quietly(file_) != before_)
            place_.folder().write("a.kmr", before_);
        make_old(file_);
    }

    bool is_there(const std::string& name) const {
        return std::filesystem::exists(place_.folder().path() / name);
    }

    const workplace place_;
    const std::string file_ = place_.folder().file("a.kmr");
    bytes before_;
};

TEST_F(MemoryRefusedTest, WhileATagIsSet) {
    const words arguments = {"tag", "add", "a.kmr", "1", "Gate"};
    ASSERT_EQ(place_.kmr(arguments).status, 0);
    const bytes after = read_quietly(file_);
    restore();
    refuse(arguments, [&](const run::result& run) {
        const bytes found = read_quietly(file_);
        EXPECT_TRUE(is_old(file_) || is_there("a.kmr.kmr-undo"));
        EXPECT_TRUE(run.status != 0 || found == after);
        EXPECT_TRUE(run.status == 0 || run.status == 2 || run.status < 0 || run.status == 127);
        if (is_there("a.kmr.kmr-undo")) {
            EXPECT_EQ(place_.kmr({"undo", "a.kmr"}).status, 0);
        }
        EXPECT_EQ(read_quietly(file_), before_);
        EXPECT_TRUE(is_old(file_));
    });
}

TEST_F(MemoryRefusedTest, WhileACopyIsMade) {
    const words arguments = {"copy", "--from", "6", "a.kmr", "b.kmr"};
    ASSERT_EQ(place_.kmr(arguments).status, 0);
    const bytes copied = read_quietly(place_.folder().file("b.kmr"));
    restore();
    refuse(arguments, [&](const run::result& run) {
        EXPECT_EQ(read_quietly(file_), before_);
        EXPECT_TRUE(is_old(file_));
        EXPECT_FALSE(is_there("b.kmr.kmr-new"));
        EXPECT_TRUE(run.status != 0 || is_there("b.kmr"));
        if (is_there("b.kmr")) {
            EXPECT_EQ(read_quietly(place_.folder().file("b.kmr")), copied);
        }
    });
}

} // namespace
