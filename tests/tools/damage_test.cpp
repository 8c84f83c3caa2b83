// Damage to the finished file.
#include "tests/tools/composer.hpp"
#include "tests/tools/hex_bytes.hpp"

#include <algorithm>
#include <gmock/gmock.h>

namespace {

using recording::bytes;

bytes with(const composer::words& more) {
    const composer make;
    return make.recording_of(two_small_frames + more);
}

bytes filled(bytes file, size_t offset, size_t length, uint8_t value) {
    std::fill_n(file.begin() + static_cast<std::ptrdiff_t>(offset), length, value);
    return file;
}

TEST(DamageTest, Truncates) {
    bytes expected = with({});
    expected.resize(100);
    EXPECT_EQ(with({"--truncate", "100"}), expected);
    EXPECT_EQ(with({"--truncate", "0"}).size(), 0u);
    EXPECT_EQ(with({"--truncate", "end"}), with({}));
}

TEST(DamageTest, Zeroes) {
    EXPECT_EQ(with({"--zero", "90:60"}), filled(with({}), 90, 60, 0));
}

TEST(DamageTest, ZeroesMoreThanItWritesAtOnce) {
    EXPECT_EQ(with({"--payload", "300000", "--zero", "90:200000"}),
              filled(with({"--payload", "300000"}), 90, 200000, 0));
}

TEST(DamageTest, Overwrites) {
    EXPECT_EQ(with({"--overwrite", "0x60:eeeeee"}), filled(with({}), 96, 3, 0xEE));
}

TEST(DamageTest, MakesNoise) {
    const bytes sound = with({});
    bytes file = with({"--noise", "20:200:7"});
    EXPECT_EQ(file, with({"--noise", "20:200:7"}));
    EXPECT_NE(file, with({"--noise", "20:200:8"}));
    const auto changed = std::mismatch(file.begin() + 20, file.begin() + 220, sound.begin() + 20);
    EXPECT_NE(changed.first, file.begin() + 220);
    std::copy_n(sound.begin() + 20, 200, file.begin() + 20);
    EXPECT_EQ(file, sound);
}

TEST(DamageTest, ReachesTheLastByte) {
    EXPECT_EQ(with({"--zero", "0:295"}), bytes(295, 0));
}

TEST(DamageTest, PlacesHaveNames) {
    const bytes sound = with({});
    EXPECT_EQ(with({"--overwrite", "frame0:EE"}), filled(sound, 88, 1, 0xEE));
    EXPECT_EQ(with({"--overwrite", "frame1+4:EE"}), filled(sound, 132, 1, 0xEE));
    EXPECT_EQ(with({"--overwrite", "index-1:EE"}), filled(sound, 162, 1, 0xEE));
    EXPECT_EQ(with({"--overwrite", "end-8:EE"}), filled(sound, 287, 1, 0xEE));
    EXPECT_EQ(with({"--overwrite", "100+10:EE"}), filled(sound, 110, 1, 0xEE));
}

TEST(DamageTest, FollowsTheOrderGiven) {
    EXPECT_EQ(with({"--truncate", "200", "--overwrite", "end-1:EE"}).back(), 0xEE);
    EXPECT_EQ(with({"--overwrite", "88:EEEE", "--zero", "88:1"}),
              filled(filled(with({}), 89, 1, 0xEE), 88, 1, 0));
}

TEST(DamageTest, OutsideTheFileIsRefused) {
    const composer make;
    for (const composer::words& arguments : {composer::words{"--truncate", "296"},
                                             {"--zero", "295:1"},
                                             {"--zero", "0:296"},
                                             {"--overwrite", "end:00"},
                                             {"--overwrite", "end-296:00"},
                                             {"--zero", "frame0-89:1"},
                                             {"--noise", "end-1:2:3"},
                                             {"--zero", "frame2:1"},
                                             {"--zero", "index:1", "--no-index"},
                                             {"--zero", "frame1:1", "--lose", "1:1"}}) {
        const run::result done =
            make.run_with(two_small_frames + arguments + composer::words{"--output", "x"});
        EXPECT_EQ(done.status, 2) << arguments[0] << " " << arguments[1];
        EXPECT_THAT(done.err, ::testing::StartsWith("kmr_make: "));
        EXPECT_TRUE(make.files().empty());
    }
}

} // namespace
