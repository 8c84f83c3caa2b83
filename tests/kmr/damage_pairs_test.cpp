// Two damages in one recording: what each of them gives alone, and nothing more, unless one keeps the other from being
// judged. Frames take 132 bytes (every fifth, an I-frame) or 82; frame f has the number f + 1 and the stream time 40 f.
#include "tests/scan/compose.hpp"
#include "tests/tools/composer.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using words = composer::words;

const words base = {"--i-interval", "5", "--payload", "100", "--p-payload", "50"};

std::string name_of(const words& arguments) {
    std::string name;
    for (const std::string& each : arguments)
        name += each + " ";
    return name;
}

void expect_found(const words& arguments, const words& expected) {
    EXPECT_THAT(scan_test::found(composer().recording_of(base + arguments)),
                testing::ElementsAreArray(expected))
        << name_of(arguments);
}

// --- by hand ---

struct pair_row {
    words damages;
    words findings;
};

// Of ten frames the headers stand at 88, 220, 302, 384, 466, 548, 680, 762, 844 and 926, the index at 1008, its records
// at 1052 and 1132, and the file ends at 1220.
const pair_row pairs[] = {
    // torn regions
    {{"--zero", "frame2:32", "--zero", "frame7:32"},
     {"bytes-torn @302 +82 #4 t120", "bytes-torn @762 +82 #9 t320"}},
    {{"--zero", "frame2:32", "--zero", "frame4:32"}, // frame 3 stands alone between them
     {"bytes-torn @302 +82 #4 t120", "bytes-torn @466 +82 #6 t200"}},
    {{"--gap-bytes", "3:20", "--gap-bytes", "7:30"},
     {"bytes-torn @384 +20 #4 t120", "bytes-torn @782 +30 #8 t280"}},
    {{"--zero", "frame4:32", "--frame-field", "3.FrameSize=83"}, // one damage reaches into the other
     {"frame-lengths-wrong @384 +164 #4 t120"}},
    {{"--frame-field", "3.FrameSize=83", "--frame-field", "7.VideoSize=49"},
     {"frame-lengths-wrong @384 +82 #4 t120", "frame-lengths-wrong @762 +82 #8 t280"}},
    {{"--insert-after", "3", "--zero", "frame4:32"}, // the inserted one takes 132 bytes
     {"bytes-torn @598 +82 #6 t200"}},
    {{"--zero", "frame3:32", "--truncate", "frame9+40"},
     {"bytes-torn @384 +82 #5 t160", "frame-torn-at-end @926 +40 #10 t360"}},
    {{"--zero", "frame3:32", "--truncate", "frame9+20"},
     {"bytes-torn @384 +82 #5 t160", "frame-torn-at-end @926 +20"}},
    {{"--zero", "frame8:32", "--truncate", "frame9+20"}, // nothing good behind the first
     {"bytes-torn @844 +102"}},
    // and the file header
    {{"--zero", "frame3:32", "--zero", "0:88"}, {"header-implausible @0 +88", "bytes-torn @384 +82 #5 t160"}},
    {{"--no-index", "--zero", "0:88"}, {"header-implausible @0 +88", "index-missing @1008 +0"}},
    {{"--frame-count", "9", "--header", "TotalSize=5"},
     {"total-size-wrong @80 +4 expected=1220 actual=5", "frame-count-wrong @84 +4 expected=10 actual=9"}},
    {{"--frame-count", "9", "--zero", "frame3:32"},
     {"bytes-torn @384 +82 #5 t160"}}, // not judged beside torn bytes
    {{"--header", "TotalSize=5", "--frame-field", "3.FrameSize=83"},
     {"frame-lengths-wrong @384 +82 #4 t120"}},
    {{"--header", "TotalSize=5", "--no-index"}, {"index-missing @1008 +0"}}, // nor without an index
    {{"--frame-count", "9", "--index-field", "RecordCount=3"}, {"index-head-wrong @1008 +44"}},
    {{"--frame-count", "9", "--record-field", "1.IPos=600"},
     {"frame-count-wrong @84 +4 expected=10 actual=9",
      "index-entry-wrong @1132 +80 record=1 field=offset actual=600"}},
    // lost frames: eight are left, the index stands at 844
    {{"--lose", "3:2", "--index-field", "RecordCount=3"},
     {"frames-lost @384 +0 #6 t200 lost=2", "index-head-wrong @844 +44"}},
    {{"--lose", "3:2", "--truncate", "end-1"},
     {"frames-lost @384 +0 #6 t200 lost=2", "index-torn @844 +211"}},
    {{"--lose", "3:2", "--no-trailer"}, {"frames-lost @384 +0 #6 t200 lost=2", "index-torn @844 +204"}},
    {{"--lose", "3:2", "--no-index"}, {"frames-lost @384 +0 #6 t200 lost=2", "index-missing @844 +0"}},
    {{"--lose", "3:2", "--header", "TotalSize=5"}, {"frames-lost @384 +0 #6 t200 lost=2"}},
    {{"--lose", "3:2", "--frame-count", "10"}, {"frames-lost @384 +0 #6 t200 lost=2"}},
    {{"--lose", "3:2", "--frame-count", "11"},
     {"frame-count-wrong @84 +4 expected=8 actual=11", "frames-lost @384 +0 #6 t200 lost=2"}},
    {{"--lose", "3:2", "--record-field", "1.IPos=600"},
     {"frames-lost @384 +0 #6 t200 lost=2", "index-entry-wrong @968 +80 record=1 field=offset actual=600"}},
    {{"--lose", "3:1", "--lose", "7:1"},
     {"frames-lost @384 +0 #5 t160 lost=1", "frames-lost @680 +0 #9 t320 lost=1"}},
    {{"--lose", "3:1", "--zero", "frame7:32"},
     {"frames-lost @384 +0 #5 t160 lost=1", "bytes-torn @680 +82 #9 t320"}},
    {{"--lose", "4:1", "--zero", "frame3:32"},
     {"bytes-torn @384 +82 #6 t200"}}, // a leap across it adds nothing
    {{"--clock-jump", "3:5000", "--lose", "7:1"},
     {"clock-leap @384 +0 #4 t5120 leap_ms=5040", "frames-lost @762 +0 #9 t5320 lost=1"}},
    {{"--clock-jump", "4:5000", "--zero", "frame3:32"}, {"bytes-torn @384 +82 #5 t5160"}},
    // the index
    {{"--record-field", "1.IPos=600", "--zero", "frame3:32"},
     {"bytes-torn @384 +82 #5 t160", "index-entry-wrong @1132 +80 record=1 field=offset actual=600"}},
    {{"--record-field", "1.IPos=600", "--zero", "frame5:32"},
     {"bytes-torn @548 +132 #7 t240"}}, // into torn bytes
    {{"--record-field", "0.IPos=600", "--record-field", "1.VideoWidth=1280"},
     {"index-entry-wrong @1052 +80 record=0 field=offset actual=600",
      "index-entry-wrong @1132 +80 #6 t200 record=1 field=size actual=70780160"}},
    {{"--record-field", "0.IPos=600", "--index-field", "RecordCount=3"}, {"index-head-wrong @1008 +44"}},
    {{"--record-field", "0.IPos=600", "--truncate", "end-1"}, {"index-torn @1008 +211"}},
    {{"--index-field", "FrameNo=5", "--zero", "frame3:32"},
     {"bytes-torn @384 +82 #5 t160", "tag-count-wrong @1020 +4 expected=0 actual=5"}},
    {{"--index-field", "FrameNo=5", "--record-field", "1.IPos=600"},
     {"tag-count-wrong @1020 +4 expected=0 actual=5",
      "index-entry-wrong @1132 +80 record=1 field=offset actual=600"}},
    {{"--trailer-magic", "1", "--zero", "frame3:32"},
     {"bytes-torn @384 +82 #5 t160", "index-torn @1008 +212"}},
    {{"--zero", "frame9:32", "--trailer-magic", "1"}, {"bytes-torn @926 +82", "index-torn @1008 +212"}},
    // what is in the frames
    {{"--frame-field", "5.FrameKind=1", "--zero", "frame3:32"},
     {"bytes-torn @384 +82 #5 t160", "kind-wrong @548 +132 #6 t200"}},
    {{"--frame-field", "5.Tag=2", "--zero", "frame7:32"},
     {"encrypted @548 +0 #6 t200 frames=1", "bytes-torn @762 +82 #9 t320"}},
    {{"--frame-field", "3.FrameNo=9", "--frame-field", "6.TimeStamp=99999"},
     {"frames-lost @384 +0 #9 t120 lost=5", "clock-leap @680 +0 #7 t98999 leap_ms=98799"}},
};

TEST(DamagePairsTest, ByHand) {
    for (const pair_row& row : pairs)
        expect_found(words{"--frames", "10"} + row.damages, row.findings);
}

// --- one after the other ---

struct damage {
    words arguments;
    words findings;
};

std::string text(uint64_t number) {
    return std::to_string(number);
}

uint64_t place(uint64_t frame) {
    return 88 + 460 * (frame / 5) + (frame % 5 == 0 ? 0 : 132 + 82 * (frame % 5 - 1));
}

std::string at(uint64_t frame, uint64_t length) {
    return "@" + text(place(frame)) + " +" + text(length);
}

std::string whose(uint64_t frame, uint64_t later_ms = 0) {
    return " #" + text(frame + 1) + " t" + text(40 * frame + later_ms);
}

// Damages from frame `f` on, the fourth of its group: an I-frame follows behind the next one.
std::vector<damage> damages_at(uint64_t f) {
    const std::string frame = "frame" + text(f);
    const std::string i_frame = "frame" + text(f + 2);
    const std::string own = text(f) + ".";
    const uint64_t stamp = 1000 + 40 * f;
    return {
        {{"--zero", frame + ":32"}, {"bytes-torn " + at(f, 82) + whose(f + 1)}},
        {{"--zero", frame + ":164"}, {"bytes-torn " + at(f, 164) + whose(f + 2)}},
        {{"--zero", i_frame + ":32"}, {"bytes-torn " + at(f + 2, 132) + whose(f + 3)}},
        {{"--overwrite", frame + "+3:09"}, {"bytes-torn " + at(f, 82) + whose(f + 1)}},
        {{"--frame-field", own + "FrameSize=83"}, {"frame-lengths-wrong " + at(f, 82) + whose(f)}},
        {{"--frame-field", text(f + 2) + ".VideoSize=99"},
         {"frame-lengths-wrong " + at(f + 2, 132) + whose(f + 2)}},
        {{"--frame-field", own + "FrameNo=" + text(f + 7)}, // f + 1 is its own
         {"frames-lost " + at(f, 0) + " #" + text(f + 7) + " t" + text(40 * f) + " lost=6"}},
        {{"--frame-field", own + "FrameNo=" + text(f)},
         {"frames-repeated " + at(f, 0) + " #" + text(f) + " t" + text(40 * f) + " previous=" + text(f)}},
        {{"--frame-field", own + "TimeStamp=" + text(stamp + 9000)},
         {"clock-leap " + at(f, 0) + whose(f, 9000) + " leap_ms=9040"}},
        {{"--frame-field", own + "TimeStamp=" + text(stamp - 100)},
         {"clock-back " + at(f, 0) + " #" + text(f + 1) + " t" + text(40 * f - 100) + " leap_ms=-60"}},
        {{"--frame-field", own + "Tag=0x7788"}, {"frames-lost " + at(f + 1, 0) + whose(f + 1) + " lost=1"}},
        {{"--frame-field", own + "FrameKind=0"}, {"kind-wrong " + at(f, 82) + whose(f)}},
        {{"--frame-field", text(f + 2) + ".FrameKind=1"}, {"kind-wrong " + at(f + 2, 132) + whose(f + 2)}},
        {{"--zero", i_frame + "+32:10"}, {"video-start-missing " + at(f + 2, 132) + whose(f + 2)}},
    };
}

// Those, and a frame that claims the rest up to the index, at 88 + 460 x 6.
std::vector<damage> all_damages_at(uint64_t f) {
    std::vector<damage> all = damages_at(f);
    const uint64_t rest = 2848 - place(f);
    all.push_back({{"--frame-field", text(f) + ".FrameSize=" + text(rest), "--frame-field",
                    text(f) + ".VideoSize=" + text(rest - 32)},
                   {"bytes-torn " + at(f, 82) + whose(f + 1)}});
    return all;
}

// Of thirty frames, whose index has six records: one damage at the frame 3 and one at the frame 23.
TEST(DamagePairsTest, FarApart) {
    for (const damage& first : all_damages_at(3))
        for (const damage& second : all_damages_at(23))
            expect_found(words{"--frames", "30"} + first.arguments + second.arguments,
                         first.findings + second.findings);
}

// Five frames apart: one I-frame stands between them, or the first damage hits it.
TEST(DamagePairsTest, NearEachOther) {
    for (const damage& first : all_damages_at(8))
        for (const damage& second : all_damages_at(13))
            expect_found(words{"--frames", "30"} + first.arguments + second.arguments,
                         first.findings + second.findings);
}

TEST(DamagePairsTest, InFrontOfADamagedIndex) {
    const uint64_t index = 2848;
    const damage index_damages[] = {
        {{"--record-field", "0.IPos=600"},
         {"index-entry-wrong @" + text(index + 44) + " +80 record=0 field=offset actual=600"}},
        {{"--record-field", "4.VideoWidth=1280"},
         {"index-entry-wrong @" + text(index + 44 + 320) + " +80" + whose(20) +
          " record=4 field=size actual=70780160"}},
        {{"--index-field", "RecordCount=3"}, {"index-head-wrong @" + text(index) + " +44"}},
        {{"--index-field", "FrameNo=5"},
         {"tag-count-wrong @" + text(index + 12) + " +4 expected=0 actual=5"}},
        {{"--index-field", "SyncWord=1"}, {"index-torn @" + text(index) + " +532"}},
        {{"--truncate", "end-1"}, {"index-torn @" + text(index) + " +531"}},
        {{"--no-index"}, {"index-missing @" + text(index) + " +0"}},
    };
    for (const damage& first : damages_at(8))
        for (const damage& second : index_damages)
            expect_found(words{"--frames", "30"} + first.arguments + second.arguments,
                         first.findings + second.findings);
}

} // namespace
