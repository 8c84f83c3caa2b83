// Mended recordings before the viewer: a row for every frame kept, and a good end.
#include "tests/mend/mended.hpp"
#include "tests/program/viewer.hpp"

#include <algorithm>
#include <gmock/gmock.h>
#include <sstream>

namespace {

using namespace mend_test;
using ::testing::HasSubstr;

struct shown {
    size_t ordinary = 0;
    size_t covers = 0;
    std::string text;
};

class ViewerTest : public ::testing::Test {
protected:
    shown show(const bytes& file) {
        place_.folder().write("rec.kmr", file);
        shown found;
        found.text = place_.report({"-f", "rec.kmr", "-a"}, {"TZ=UTC"});
        std::istringstream lines(found.text);
        for (std::string line; std::getline(lines, line);) {
            const std::string valid = column(line, 9); // empty where it is no row of a frame
            found.ordinary += valid == "0" ? 1 : 0;
            found.covers += valid == "1" ? 1 : 0;
        }
        return found;
    }

    static std::string column(const std::string& line, size_t number) {
        std::istringstream fields(line);
        std::string field;
        if (std::count(line.begin(), line.end(), '\t') != 10)
            return "";
        for (size_t i = 0; i <= number; ++i)
            std::getline(fields, field, '\t');
        const size_t first = field.find_first_not_of(' ');
        return first == std::string::npos ? "" : field.substr(first);
    }

    void expect_shown(const bytes& damaged) {
        const auto plan = plan_of(damaged);
        ASSERT_EQ(plan.status, kmr::mend::plan_status::ready);
        const shown found = show(with_changes(damaged, plan.planned));
        EXPECT_EQ(found.ordinary, plan.frames_kept);
        EXPECT_EQ(found.covers, plan.covers);
        EXPECT_THAT(found.text, HasSubstr("\nWell done :)\n"));
    }

    viewer::place place_;
};

TEST_F(ViewerTest, WalksOverEverySingleHeaderThatIsGone) {
    for (const bool h265 : {false, true}) {
        const auto all = h265 ? scan_test::h265_frames(15) : scan_test::sound_frames(15);
        const bytes original = scan_test::recording_of(all);
        for (const auto& [number, record] : frames_by_number(original)) {
            SCOPED_TRACE(number);
            bytes file = original;
            const auto at = std::search(file.begin(), file.end(), record.begin(), record.end());
            overwrite(file, static_cast<size_t>(at - file.begin()), 9);
            expect_shown(file);
        }
    }
}

TEST_F(ViewerTest, WalksOverStrayBytesOfAnyLength) {
    const bytes original = scan_test::recording_of(scan_test::sound_frames(10));
    for (const size_t place : {88U, 240U, 336U, 624U, 776U})
        for (const size_t length : {1U, 31U, 32U, 33U, 96U, 5000U, 1048577U}) {
            SCOPED_TRACE(std::to_string(place) + "+" + std::to_string(length));
            expect_shown(inserted(original, place, length, 0x11));
        }
}

TEST_F(ViewerTest, WalksOverPairsOfDamage) {
    const bytes original = scan_test::recording_of(scan_test::sound_frames(10));
    const size_t headers[] = {88, 240, 336, 432, 528, 624, 776, 872, 968};
    for (const size_t first : headers)
        for (const size_t second : headers) {
            if (second <= first)
                continue;
            SCOPED_TRACE(std::to_string(first) + " " + std::to_string(second));
            bytes file = original;
            overwrite(file, first, 4);
            recording::put_u32(file, second + 4, 77);
            expect_shown(file);
        }
}

TEST_F(ViewerTest, GapsAndDelaysStayTrueAcrossACover) {
    bytes file = scan_test::recording_of(scan_test::sound_frames(10));
    overwrite(file, 336, 192); // P3 and P4
    const shown found = show(mended(file));
    EXPECT_THAT(found.text, HasSubstr("*3        5\t00000210"));
}

TEST_F(ViewerTest, AStampOfZeroNoLongerEndsTheTable) {
    bytes file = scan_test::recording_of(scan_test::sound_frames(10));
    recording::put_u32(file, 336 + 16, 0);
    expect_shown(file);
    recording::put_u32(file, 432 + 16, 0);
    expect_shown(file);
}

} // namespace
