// What the judge tells beside its findings, and what an observer sees.
#include "tests/scan/compose.hpp"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

namespace scan = kmr::scan;
using scan_test::bytes;
using testing::ElementsAre;
using testing::IsEmpty;

class note_taker final : public scan::observer {
public:
    void on_header(const scan::header_event& header) override { note("header", 0, header.length); }
    void on_frame(const scan::seen_frame& met) override {
        const scan::frame_event& frame = met.frame;
        note("frame", frame.offset, frame.length);
        delays.push_back(met.delay_ms);
        gaps.push_back(met.gap);
        payload_sizes.push_back(frame.payload.size());
    }
    void on_torn(const scan::torn_event& torn) override { note("torn", torn.offset, torn.length); }
    void on_index(const scan::index_event& index) override { note("index", index.offset, index.length); }
    void on_trailing(const scan::trailing_event& rest) override { note("rest", rest.offset, rest.length); }
    bool go_on(uint64_t) override { return seen.size() < most; }

    std::vector<std::string> seen;
    std::vector<int64_t> delays;
    std::vector<uint32_t> gaps;
    std::vector<size_t> payload_sizes;
    size_t most = 1000;

private:
    void note(const char* what, uint64_t offset, uint64_t length) {
        seen.push_back(what + (' ' + std::to_string(offset)) + '+' + std::to_string(length));
    }
};

TEST(ObserverTest, SeesEveryEventOnce) {
    bytes file = scan_test::recording_of(scan_test::sound_frames(5)); // the index at 624, 132 bytes
    file.at(339) = 9;
    file.resize(file.size() + 7, 0x77); // the records are checked in a pass of their own
    scan::memory_source source(file);
    note_taker notes;
    scan::judge(source, {}, &notes);
    EXPECT_THAT(notes.seen, ElementsAre("header 0+88", "frame 88+152", "frame 240+96", "torn 336+96",
                                        "frame 432+96", "frame 528+96", "index 624+132", "rest 756+7"));
    EXPECT_THAT(notes.delays, ElementsAre(0, 40, 80, 40));
    EXPECT_THAT(notes.gaps, ElementsAre(0U, 0U, 1U, 0U));
    EXPECT_THAT(notes.payload_sizes, ElementsAre(120U, 64U, 64U, 64U));
}

// In front of the frame 3 a number is missing; the inserted frame before it says nothing of that.
TEST(ObserverTest, SeesNoGapAtAnInsertedFrame) {
    scan_test::frames all = scan_test::sound_frames(5);
    all.erase(all.begin() + 2);
    all.insert(all.begin() + 2, {.number = 2, .time_stamp = 1041, .kind = 1, .tag = 0x7788});
    const bytes file = scan_test::recording_of(all);
    scan::memory_source source(file);
    note_taker notes;
    scan::judge(source, {}, &notes);
    EXPECT_THAT(notes.gaps, ElementsAre(0U, 0U, 0U, 1U, 0U));
    EXPECT_THAT(notes.delays, ElementsAre(0, 40, 0, 80, 40));
}

TEST(ObserverTest, SeesAKilobyteOfALongPayload) {
    scan_test::frames all = scan_test::sound_frames(5);
    all[0].video = scan_test::i_video(5000);
    const bytes file = scan_test::recording_of(all);
    scan::memory_source source(file);
    note_taker notes;
    scan::judge(source, {}, &notes);
    EXPECT_EQ(notes.payload_sizes.at(0), 1024U);
}

TEST(ObserverTest, MayEndTheScan) {
    const bytes file = scan_test::recording_of(scan_test::sound_frames(10));
    scan::memory_source source(file);
    note_taker notes;
    notes.most = 3;
    scan::judge(source, {}, &notes);
    EXPECT_THAT(notes.seen, ElementsAre("header 0+88", "frame 88+152", "frame 240+96"));
}

TEST(RecordingTest, OfH265) {
    const auto judged = scan_test::judge(scan_test::recording_of(scan_test::h265_frames(10)));
    EXPECT_THAT(scan_test::found(judged), IsEmpty());
    EXPECT_EQ(judged.codec, scan::video_codec::h265);
    EXPECT_EQ(judged.picture, (scan::picture_size{1920, 1080}));
}

TEST(RecordingTest, OfSoundAlone) {
    scan_test::frames all = scan_test::sound_frames(10);
    all[3].video.clear();
    all[3].audio_count = 1;
    all[3].audio_size = 64;
    EXPECT_THAT(scan_test::found(scan_test::recording_of(all)), IsEmpty());
}

TEST(RecordingTest, OfOneFrame) {
    const auto judged = scan_test::judge(scan_test::recording_of(scan_test::sound_frames(1)));
    EXPECT_THAT(scan_test::found(judged), IsEmpty());
    EXPECT_EQ(judged.duration_ms, 0);
}

TEST(RecordingTest, WithoutItsFileHeaderKeepsItsTimes) {
    bytes file = scan_test::recording_of(scan_test::sound_frames(10));
    std::fill_n(file.begin(), 88, uint8_t{0});
    const auto judged = scan_test::judge(file);
    EXPECT_THAT(scan_test::found(judged), ElementsAre("header-implausible @0 +88"));
    EXPECT_EQ(judged.start_ms, 1420167845000);
    EXPECT_EQ(judged.picture, (scan::picture_size{1920, 1080}));
    EXPECT_TRUE(judged.repair.possible);
}

TEST(RepairTest, IsNotPossibleWhereOnlyFramesAreLost) {
    scan_test::frames all = scan_test::sound_frames(10);
    all.erase(all.begin() + 3);
    const auto judged = scan_test::judge(scan_test::recording_of(all));
    EXPECT_EQ(judged.judged, scan::verdict::damaged);
    EXPECT_FALSE(judged.repair.possible);
}

TEST(FindingsTest, HaveWordsForEveryCode) {
    EXPECT_EQ(scan::finding_kinds().size(), scan::finding_code_count);
    for (size_t code = 0; code < scan::finding_code_count; ++code) {
        scan::finding each = {.code = static_cast<scan::finding_code>(code)};
        const std::string message = scan::message_of(each);
        EXPECT_FALSE(message.empty());
        EXPECT_THAT(message, testing::Not(testing::HasSubstr("{"))) << message;
    }
    scan::finding entry = {.code = scan::finding_code::index_entry_wrong};
    entry.set(scan::field_name::record, 7)
        .set(scan::field_name::field, static_cast<int64_t>(scan::index_field::time))
        .set(scan::field_name::actual, 12);
    EXPECT_EQ(scan::message_of(entry), "the time in index record 7 is wrong: 12");
}

TEST(RepairTest, IsNotPossibleWhereOnlyAHeaderOfUnknownSizeIsWrong) {
    scan_test::frames all; // P-frames alone: neither a record nor a parameter set tells the size
    for (uint32_t i = 0; i < 5; ++i)
        all.push_back(
            {.number = 1 + i, .time_stamp = 1000 + 40 * i, .kind = 1, .video = scan_test::p_video()});
    bytes file = scan_test::recording_of(all);
    EXPECT_THAT(scan_test::found(file), IsEmpty());
    std::fill_n(file.begin(), 88, uint8_t{0});
    const auto judged = scan_test::judge(file);
    EXPECT_THAT(scan_test::found(judged), ElementsAre("header-implausible @0 +88"));
    EXPECT_EQ(judged.judged, scan::verdict::damaged);
    EXPECT_FALSE(judged.repair.possible);
}

// Encrypted frames tell no picture size, so a lost file header cannot be made anew: whatever else is wrong stays too.
class RepairWithoutAHeaderTest : public testing::Test {
protected:
    RepairWithoutAHeaderTest() : all_(scan_test::sound_frames(10)) {
        for (auto& each : all_)
            each.tag = 2;
    }

    static scan::report judge_without_header(bytes file) {
        std::fill_n(file.begin(), 88, uint8_t{0});
        return scan_test::judge(file);
    }

    // Head at 1160, records at 1204 and 1284; the trailer's magic is gone.
    static bytes with_torn_index(const scan_test::frames& all, const scan_test::records& index) {
        bytes file = scan_test::recording_of(all, index);
        file.at(1364) ^= 1;
        return file;
    }

    scan_test::frames all_;
};

TEST_F(RepairWithoutAHeaderTest, IsNotPossibleWhereNothingTellsTheSize) {
    bytes file = scan_test::without_index(all_);
    file.at(432 + 3) = 0xEE;
    const auto judged = judge_without_header(file);
    EXPECT_THAT(scan_test::found(judged),
                ElementsAre("header-implausible @0 +88", "encrypted @88 +0 #1 t0 frames=9",
                            "bytes-torn @432 +96 #5 t160", "index-missing @1160 +0"));
    EXPECT_FALSE(judged.repair.possible);
    EXPECT_FALSE(judged.proven_size.known());
}

TEST_F(RepairWithoutAHeaderTest, IsNotPossibleWhereRecordsTellASizeThatNoRecorderHas) {
    scan_test::records index = scan_test::records_for(all_);
    for (auto& each : index)
        each.width = each.height = 0;
    EXPECT_FALSE(judge_without_header(scan_test::recording_of(all_, index)).repair.possible);
    for (auto& each : index) {
        each.width = 1000;
        each.height = 500;
    }
    EXPECT_FALSE(judge_without_header(scan_test::recording_of(all_, index)).repair.possible);
    index[1].width = 1280;
    index[1].height = 720;
    const auto judged = judge_without_header(scan_test::recording_of(all_, index));
    EXPECT_TRUE(judged.repair.possible);
    EXPECT_EQ(judged.proven_size, (scan::picture_size{1280, 720}));
}

TEST_F(RepairWithoutAHeaderTest, IsNotPossibleWhereParameterSetsTellASizeThatNoRecorderHas) {
    scan_test::frames all = scan_test::sound_frames(1);
    all[0].video = {0, 0, 0, 1};
    recording::append(all[0].video, scan_test::h264_sequence_set(20, 20, 0)); // 320 x 320
    recording::append(all[0].video, {0, 0, 0, 1, 0x65, 0x88, 0x84});
    const auto judged = judge_without_header(scan_test::without_index(all));
    EXPECT_EQ(judged.picture, (scan::picture_size{320, 320}));
    EXPECT_FALSE(judged.repair.possible);
    EXPECT_FALSE(judged.proven_size.known());
}

TEST_F(RepairWithoutAHeaderTest, TakesTheSizeOfATornIndexWhereItsRecordNamesAnIFrame) {
    const scan_test::records right = scan_test::records_for(all_);
    const auto judged = judge_without_header(with_torn_index(all_, right));
    EXPECT_TRUE(judged.repair.possible);
    EXPECT_EQ(judged.proven_size, (scan::picture_size{1920, 1080}));
    // Inside of the file header, a P-frame, no frame, too close to the block, beyond it.
    for (const uint32_t position : {0U, 240U, 100U, 1129U, 5000U}) {
        scan_test::records index = right;
        index[0].position = index[1].position = position;
        EXPECT_FALSE(judge_without_header(with_torn_index(all_, index)).repair.possible) << position;
    }
}

TEST_F(RepairWithoutAHeaderTest, FindsNoRecordInWhatIsLeftOfAHead) {
    bytes file = scan_test::recording_of(all_);
    file.resize(1160 + 40);
    EXPECT_FALSE(judge_without_header(file).repair.possible);
}

TEST(VerdictTest, HasAName) {
    EXPECT_EQ(scan::name_of(scan::verdict::unreadable), "unreadable");
    EXPECT_EQ(scan::name_of(scan::verdict::not_a_recording), "not a recording");
    EXPECT_EQ(scan::name_of(scan::verdict::damaged), "damaged");
    EXPECT_EQ(scan::name_of(scan::verdict::unfinished), "unfinished");
    EXPECT_EQ(scan::name_of(scan::verdict::sound), "sound");
}

TEST(FindingsTest, HaveTheNameOfTheirSeverity) {
    EXPECT_EQ(scan::name_of(scan::kind_of(scan::finding_code::bytes_torn).level), "error");
    EXPECT_EQ(scan::name_of(scan::kind_of(scan::finding_code::index_missing).level), "warning");
    EXPECT_EQ(scan::name_of(scan::kind_of(scan::finding_code::paused).level), "info");
}

} // namespace
