// Every damage that kmr_make can compose, and beside it what must be found in it: that and nothing else. Worked out from
// the layout: of ten frames with data of 100 and 50 bytes, every fifth an I-frame, the headers stand at 88, 220, 302, 384,
// 466, 548, 680, 762, 844 and 926, the index at 1008, its records at 1052 and 1132, and the file ends at 1220. Numbers
// count from 1, stamps from 1000 in steps of 40; the start is 1420167845.
#include "tests/scan/compose.hpp"
#include "tests/tools/composer.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>
#include <sstream>

namespace {

using kmr::scan::verdict;
using words = composer::words;

const words base = {"--frames", "10", "--i-interval", "5", "--payload", "100", "--p-payload", "50"};
const words with_user_data = {"--user-data", "5", "--segment", "osd=A"};

struct damage_row {
    words damage;
    verdict judged;
    words findings; // {VideoSize} and {FrameSize} stand for those of the sixth frame
};

const damage_row mishaps[] = {
    {{"--lose", "3:2"}, verdict::damaged, {"frames-lost @384 +0 #6 t200 lost=2"}},
    {{"--clock-jump", "3:5000"}, verdict::damaged, {"clock-leap @384 +0 #4 t5120 leap_ms=5040"}},
    {{"--clock-jump", "3:-500"}, verdict::damaged, {"clock-back @384 +0 #4 t-380 leap_ms=-460"}},
    {{"--clock-jump", "5:5000"}, verdict::sound, {"paused @548 +0 #6 t5200 leap_ms=5040"}},
    {{"--clock-jump", "5:1000"}, verdict::sound, {}}, // a gap below 2 s is none
    {{"--insert-after", "3"}, verdict::sound, {}},
    {{"--insert-after", "3", "--inserted-payload", "7"}, verdict::sound, {}},
    {{"--encrypt", "all"},
     verdict::sound,
     {"encrypted @88 +0 #1 t0 frames=2"}}, // P-frames are too small to count
    {{"--frame-field", "3.SyncWord=0"}, verdict::damaged, {"bytes-torn @384 +82 #5 t160"}},
    {{"--frame-field", "3.FrameSize=83"}, verdict::damaged, {"frame-lengths-wrong @384 +82 #4 t120"}},
    {{"--frame-field", "3.VideoSize=49"}, verdict::damaged, {"frame-lengths-wrong @384 +82 #4 t120"}},
    {{"--frame-field", "3.FrameKind=0"}, verdict::damaged, {"kind-wrong @384 +82 #4 t120"}},
    {{"--frame-field", "5.FrameKind=1"}, verdict::damaged, {"kind-wrong @548 +132 #6 t200"}},
    {{"--frame-field", "3.FrameKind=2"}, verdict::sound, {}}, // any kind but 0 is a P-frame
    {{"--frame-field", "3.FrameNo=9"}, verdict::damaged, {"frames-lost @384 +0 #9 t120 lost=5"}},
    {{"--frame-field", "3.FrameNo=3"}, verdict::damaged, {"frames-repeated @384 +0 #3 t120 previous=3"}},
    {{"--frame-field", "3.TimeStamp=9999"}, verdict::damaged, {"clock-leap @384 +0 #4 t8999 leap_ms=8919"}},
    {{"--frame-field", "3.TimeStamp=1000"}, verdict::damaged, {"clock-back @384 +0 #4 t0 leap_ms=-80"}},
    {{"--frame-field", "3.AFrameNum=1"}, verdict::sound, {}}, // one audio frame of no bytes
    {{"--frame-field", "3.AFrameSize=9"}, verdict::sound, {}},
    {{"--frame-field", "3.AFrameNum=1", "--frame-field", "3.AFrameSize=9"},
     verdict::damaged,
     {"frame-lengths-wrong @384 +82 #4 t120"}},
    {{"--frame-field", "3.Reserved=1"}, verdict::sound, {}},
    {{"--frame-field", "5.Tag=2"}, verdict::sound, {"encrypted @548 +0 #6 t200 frames=1"}},
    {{"--frame-field", "3.Tag=0x7788"}, verdict::damaged, {"frames-lost @466 +0 #5 t160 lost=1"}},
    {{"--gap-bytes", "3:20"}, verdict::damaged, {"bytes-torn @384 +20 #4 t120"}},
    {{"--gap-bytes", "0:20"}, verdict::damaged, {"bytes-torn @88 +20 #1 t0"}},
    {{"--torn-last", "40"}, verdict::damaged, {"frame-torn-at-end @926 +40 #10 t360"}},
    {{"--torn-last", "20"}, verdict::damaged, {"frame-torn-at-end @926 +20"}},
};

const damage_row damages[] = {
    {{"--truncate", "50"}, verdict::not_a_recording, {"header-short @0 +50"}},
    {{"--truncate", "frame0"}, verdict::unfinished, {"index-missing @88 +0"}},
    {{"--truncate", "frame5"}, verdict::unfinished, {"index-missing @548 +0"}},
    {{"--truncate", "frame5+31"}, verdict::damaged, {"frame-torn-at-end @548 +31"}},
    {{"--truncate", "frame5+40"}, verdict::damaged, {"frame-torn-at-end @548 +40 #6 t200"}},
    {{"--truncate", "index"}, verdict::unfinished, {"index-missing @1008 +0"}},
    {{"--truncate", "index+60"}, verdict::damaged, {"index-torn @1008 +60"}},
    {{"--truncate", "end-1"}, verdict::damaged, {"index-torn @1008 +211"}},
    {{"--zero", "0:88"}, verdict::damaged, {"header-implausible @0 +88"}},
    {{"--zero", "frame3:32"}, verdict::damaged, {"bytes-torn @384 +82 #5 t160"}},
    {{"--zero", "frame3:164"}, verdict::damaged, {"bytes-torn @384 +164 #6 t200"}},
    {{"--zero", "frame3+50:20"}, verdict::sound, {}}, // inside of a picture nothing can be told
    {{"--zero", "frame5+32:10"}, verdict::damaged, {"video-start-missing @548 +132 #6 t200"}},
    {{"--zero", "frame9:294"}, verdict::damaged, {"bytes-torn @926 +294"}},
    {{"--overwrite", "frame3+3:09"}, verdict::damaged, {"bytes-torn @384 +82 #5 t160"}},
    {{"--overwrite", "index+3:09"}, verdict::damaged, {"index-torn @1008 +212"}},
    {{"--overwrite", "frame5+36:41"},
     verdict::damaged,
     {"kind-wrong @548 +132 #6 t200"}}, // a P-picture's unit
    {{"--noise", "frame3:32:1"}, verdict::damaged, {"bytes-torn @384 +82 #5 t160"}},
};

const damage_row index_damages[] = {
    {{"--tag", "1=gate"}, verdict::sound, {}},
    {{"--record-field", "1.TimeNow=5"},
     verdict::damaged,
     {"index-entry-wrong @1132 +80 #6 t200 record=1 field=time actual=5"}},
    {{"--record-field", "1.IPos=600"},
     verdict::damaged,
     {"index-entry-wrong @1132 +80 record=1 field=offset actual=600"}},
    {{"--record-field", "1.IPos=302"},
     verdict::damaged,
     {"index-entry-wrong @1132 +80 #3 t80 record=1 field=kind actual=1"}},
    {{"--record-field", "0.IPos=548", "--record-field", "1.IPos=88"},
     verdict::damaged,
     {"index-order @1132 +80 record=1"}},
    {{"--record-field", "1.Sign=7"}, verdict::sound, {}},
    {{"--record-field", "1.VideoWidth=1280"},
     verdict::damaged,
     {"index-entry-wrong @1132 +80 #6 t200 record=1 field=size actual=70780160"}}, // 1080 x 65536 + 1280
    {{"--no-index"}, verdict::unfinished, {"index-missing @1008 +0"}},
    {{"--no-trailer"}, verdict::damaged, {"index-torn @1008 +204"}},
    {{"--trailer-magic", "1"}, verdict::damaged, {"index-torn @1008 +212"}},
    {{"--trailer-length", "211"}, verdict::damaged, {"index-head-wrong @1008 +44"}},
    {{"--index-field", "RecordCount=3"}, verdict::damaged, {"index-head-wrong @1008 +44"}},
    {{"--index-field", "RecordSize=81"}, verdict::damaged, {"index-head-wrong @1008 +44"}},
    {{"--index-field", "MemoryNum=1"}, verdict::sound, {}},
    {{"--index-field", "FrameSize=213"}, verdict::damaged, {"index-head-wrong @1008 +44"}},
    {{"--index-field", "VideoSize=181"}, verdict::damaged, {"index-head-wrong @1008 +44"}},
    {{"--index-field", "TimeStamp=5"}, verdict::damaged, {"index-head-wrong @1008 +44"}},
    {{"--index-field", "Tag=2"}, verdict::damaged, {"index-head-wrong @1008 +44"}},
    {{"--index-field", "FrameNo=5"}, verdict::damaged, {"tag-count-wrong @1020 +4 expected=0 actual=5"}},
    {{"--index-field", "SyncWord=1"}, verdict::damaged, {"index-torn @1008 +212"}},
    {{"--index-noise", "1"}, verdict::damaged, {"index-torn @1008 +212"}},
};

const damage_row header_damages[] = {
    {{"--frame-count", "11"}, verdict::damaged, {"frame-count-wrong @84 +4 expected=10 actual=11"}},
    {{"--frame-count", "9"}, verdict::damaged, {"frame-count-wrong @84 +4 expected=10 actual=9"}},
    {{"--header", "TotalSize=5"}, verdict::damaged, {"total-size-wrong @80 +4 expected=1220 actual=5"}},
    {{"--header", "FrameRate=61"}, verdict::damaged, {"header-implausible @0 +88"}},
    {{"--header", "Width=1"}, verdict::damaged, {"header-implausible @0 +88"}},
    {{"--header", "Mode=99"}, verdict::sound, {}},
    {{"--header", "Month=13"}, verdict::sound, {}}, // the index has the start
    {{"--frame-rate", "60"}, verdict::sound, {}},
    {{"--mode", "23"}, verdict::sound, {}},
    {{"--size", "1280x720"}, verdict::sound, {}},
    {{"--start", "2016-02-29 23:59:59"}, verdict::sound, {}},
    {{"--cover-word", "GATE"}, verdict::sound, {}},
};

// The data of the sixth frame begins with a unit of user data.
const damage_row user_data_damages[] = {
    {{}, verdict::sound, {}},
    {{"--segment-length", "50"}, verdict::damaged, {"user-data-broken @580 +{VideoSize} #6 t200"}},
    {{"--block-magic", "00000000"}, verdict::damaged, {"user-data-broken @580 +{VideoSize} #6 t200"}},
    {{"--block-count", "9"}, verdict::damaged, {"user-data-broken @580 +{VideoSize} #6 t200"}},
    {{"--block-count", "0"}, verdict::sound, {}},
    {{"--block-length", "99"}, verdict::damaged, {"user-data-broken @580 +{VideoSize} #6 t200"}},
    {{"--block-size", "1025"}, verdict::damaged, {"user-data-broken @580 +{VideoSize} #6 t200"}},
    {{"--block-content", "0102"}, verdict::damaged, {"user-data-broken @580 +{VideoSize} #6 t200"}},
    {{"--block-lead", "ff"}, verdict::damaged, {"video-start-missing @548 +{FrameSize} #6 t200"}},
    {{"--segment", "0xFED2=000001", "--unescaped"}, verdict::sound, {}},
    {{"--segment", "0x1234=00"}, verdict::sound, {}}, // a kind that nobody knows
};

// The numbers that stand in the header of the sixth frame for the names in braces.
std::string with_numbers(std::string finding, const recording::bytes& file) {
    const std::pair<std::string, size_t> fields[] = {{"{VideoSize}", 548 + 20}, {"{FrameSize}", 548 + 4}};
    for (const auto& [name, offset] : fields)
        if (const size_t at = finding.find(name); at != std::string::npos)
            finding.replace(at, name.size(), std::to_string(recording::get_u32(file, offset)));
    return finding;
}

void expect_findings(const damage_row& row, const words& more = {}) {
    const recording::bytes file = composer().recording_of(base + more + row.damage);
    words expected;
    for (const std::string& each : row.findings)
        expected.push_back(with_numbers(each, file));
    const auto judged = scan_test::judge(file);
    std::string name;
    for (const std::string& each : row.damage)
        name += each + " ";
    EXPECT_THAT(scan_test::found(judged), testing::ElementsAreArray(expected)) << name;
    EXPECT_EQ(name_of(judged.judged), name_of(row.judged)) << name;
}

TEST(ComposedDamageTest, SoundIsWhatNoOptionChanges) {
    expect_findings({{}, verdict::sound, {}});
}

TEST(ComposedDamageTest, WhileRecording) {
    for (const damage_row& row : mishaps)
        expect_findings(row);
}

TEST(ComposedDamageTest, ToTheFinishedFile) {
    for (const damage_row& row : damages)
        expect_findings(row);
}

TEST(ComposedDamageTest, ToTheIndex) {
    for (const damage_row& row : index_damages)
        expect_findings(row);
}

TEST(ComposedDamageTest, ToTheFileHeader) {
    for (const damage_row& row : header_damages)
        expect_findings(row);
}

TEST(ComposedDamageTest, ToUserData) {
    for (const damage_row& row : user_data_damages)
        expect_findings(row, with_user_data);
}

// Options of the composer, by the headings of its help.
std::set<std::string> options_below(const std::string& help, const std::set<std::string>& headings) {
    std::set<std::string> options;
    std::istringstream lines(help);
    bool wanted = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.ends_with(':') && !line.starts_with(' '))
            wanted = std::any_of(headings.begin(), headings.end(),
                                 [&](const std::string& each) { return line.starts_with(each); });
        else if (wanted && line.starts_with("  --"))
            options.insert(line.substr(2, line.find(' ', 2) - 2));
    }
    return options;
}

void add_options(const words& from, std::set<std::string>& to) {
    for (const std::string& each : from)
        if (each.starts_with("--"))
            to.insert(each);
}

TEST(ComposedDamageTest, IsAllInTheseTables) {
    const std::string help = composer().run_with({"--help"}).out;
    std::set<std::string> tried;
    add_options(with_user_data, tried);
    for (const auto& table :
         {std::span<const damage_row>(mishaps), std::span<const damage_row>(damages),
          std::span<const damage_row>(index_damages), std::span<const damage_row>(header_damages),
          std::span<const damage_row>(user_data_damages)})
        for (const damage_row& row : table)
            add_options(row.damage, tried);
    const auto options =
        options_below(help, {"What goes wrong while recording", "Damage to the finished file",
                             "Index of the I-frames", "File header", "User data"});
    EXPECT_GT(options.size(), 25U);
    for (const std::string& each : options)
        EXPECT_TRUE(tried.contains(each)) << each;
}

} // namespace
