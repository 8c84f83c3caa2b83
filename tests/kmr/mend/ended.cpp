#include "tests/kmr/mend/ended.hpp"

#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>

namespace kmr_test {

namespace fs = std::filesystem;

void EndedTest::SetUp() {
    const words options = {"--zero", "frame3:32", "--truncate", "frame9+40", "--payload", "3000"};
    damaged_ = composed("mended", options);
    ASSERT_EQ(kmr({"repair", "-y", "mended"}).status, 0);
    mended_ = content_of("mended");
    way_back_ = content_of("mended.kmr-undo");
}

void EndedTest::start_over(bool from_mended) const {
    for (const std::string& name : files())
        fs::remove(place_.folder().path() / name);
    place_.folder().write("a.kmr", from_mended ? mended_ : damaged_.content);
    if (from_mended)
        place_.folder().write("a.kmr.kmr-undo", way_back_);
    const timespec dates[2] = {damaged_.accessed, damaged_.modified};
    ASSERT_EQ(utimensat(AT_FDCWD, place_.folder().file("a.kmr").c_str(), dates, 0), 0);
}

void EndedTest::expect_way_back() const {
    for (int steps = 0; has_undo_file(); ++steps) {
        const auto run = kmr({"undo", "a.kmr"});
        ASSERT_EQ(run.status, 0) << run.err;
        ASSERT_LT(steps, 3);
    }
    expect_state("a.kmr", damaged_);
}

void EndedTest::expect_way_forward() const {
    const auto run = kmr({"repair", "-y", "a.kmr"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(content_of("a.kmr") == mended_);
    expect_way_back();
}

bool EndedTest::has_undo_file() const {
    return is_there("a.kmr.kmr-undo");
}

bool EndedTest::is_interrupted() const {
    if (!has_undo_file())
        return false;
    const auto way_back = content_of("a.kmr.kmr-undo");
    return std::string(way_back.begin() + 16, way_back.begin() + 24) != "changed.";
}

bool EndedTest::is_there(const std::string& name) const {
    return fs::exists(place_.folder().path() / name);
}

} // namespace kmr_test
