// Whole reports against the texts in golden/. The recordings that a command line names come from recordings.hpp, or from
// the composer where the golden says how.
#include "tests/program/recordings.hpp"
#include "tests/program/viewer.hpp"

#include <chrono>
#include <gmock/gmock.h>

namespace fs = std::filesystem;

namespace {

class GoldenTest : public ::testing::TestWithParam<std::string> {
protected:
    struct written {
        fs::path path;
        recording::bytes content;
        fs::file_time_type time;
    };

    // A time long ago, so that a change made at once would still show.
    void write_recordings(const viewer::arguments& names) {
        for (const std::string& name : names) {
            const auto recipe = recordings::all().find(name);
            if (recipe == recordings::all().end())
                continue;
            const recording::bytes content = recipe->second();
            const fs::path path = place.folder().write(name, content);
            fs::last_write_time(path, fs::last_write_time(path) - std::chrono::hours(1000));
            files.push_back({path, content, fs::last_write_time(path)});
        }
    }

    void expect_recordings_untouched() const {
        for (const written& file : files) {
            EXPECT_EQ(scratch::read_file(file.path), file.content);
            EXPECT_EQ(fs::last_write_time(file.path), file.time);
        }
    }

    viewer::place place;
    std::vector<written> files;
};

TEST_P(GoldenTest, Report) {
    const viewer::golden expected = viewer::read_golden(GetParam());
    for (const viewer::arguments& words : expected.compositions)
        place.compose(words);
    write_recordings(expected.words);
    EXPECT_EQ(place.report(expected.words, expected.environment), expected.report);
    expect_recordings_untouched();
}

INSTANTIATE_TEST_SUITE_P(, GoldenTest, ::testing::ValuesIn(viewer::golden_names()),
                         [](const auto& name) { return name.param; });

// A recipe that no golden uses would be a damage that nobody looks at.
TEST(RecordingsTest, EveryOneHasAGolden) {
    for (const auto& [recording, recipe] : recordings::all()) {
        bool used = false;
        for (const std::string& name : viewer::golden_names())
            for (const std::string& word : viewer::read_golden(name).words)
                used = used || word == recording;
        EXPECT_TRUE(used) << recording;
    }
}

} // namespace
