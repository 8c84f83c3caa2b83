// What is read of a frame's payload, and when it is decoded.
#include "analyse/frame_user_data.h"

#include "UserDataOpt/user_data.h"
#include "analyse/analyse.h"
#include "analyse/vca/vca.h"
#include "tests/analyse/analysis_fixture.hpp"
#include "tests/fakes/module_probe.hpp"

#include <algorithm>
#include <cstring>
#include <string>

namespace {

using analysis::bytes;
using analysis::of_pieces;
using analysis::printed;
using analysis::row;
using analysis::unfinished;
namespace option = analysis::option;
using recording::append;
using recording::frame_record;
using recording::put_u16;
using recording::put_u32;

const bytes h264 = {0x00, 0x00, 0x00, 0x01, 0x06, 0xF0};
const bytes h265 = {0x00, 0x00, 0x00, 0x01, 0x4E, 0x01, 0xF0};
const std::string tabs(30, '\t');

struct segment {
    uint16_t flag;
    bytes payload;
};

// The block as it is before it is escaped; the tests use bytes that need no escape.
bytes block_of(const std::vector<segment>& segments) {
    bytes block = {'Z', 'N', 'S', 'T', 0, 0, 0, 0};
    for (const segment& each : segments) {
        bytes head(4, 0);
        put_u16(head, 0, each.flag);
        put_u16(head, 2, static_cast<uint16_t>(each.payload.size()));
        append(block, head);
        append(block, each.payload);
    }
    put_u16(block, 4, static_cast<uint16_t>(segments.size()));
    put_u16(block, 6, static_cast<uint16_t>(block.size() - 8));
    return block;
}

// Marker, size and block.
bytes user_data(const bytes& marker, const bytes& block) {
    bytes data = marker;
    size_t size = block.size();
    for (; size >= 255; size -= 255)
        data.push_back(0xFF);
    data.push_back(static_cast<uint8_t>(size));
    append(data, block);
    return data;
}

bytes simple_block() {
    return block_of({{0xFED1, {1, 2, 3, 4}}});
}

std::string heading(int count) {
    return tabs + "----------------------------------------------------\n" + tabs +
           "--------------UserData SegmentCount " + std::to_string(count) + "---------------\n" + tabs +
           "     loc\t UserData Flag\t UserData Type\n";
}

bytes concatenated(bytes first, const bytes& second) {
    append(first, second);
    return first;
}

class FrameUserDataTest : public analysis::AnalysisTest {
protected:
    // What the option -u prints of a recording of these frames, which has no index.
    std::string decoded(const std::vector<analysis::frame>& frames) const {
        return report(unfinished(frames), option::u);
    }
    std::string decoded_payload(const bytes& video) const { return decoded({{.video = video}}); }

    // How often the decoder was called since the test began.
    uint64_t decoder_calls() const {
        return g_u64UserDataLine[0] + g_u64UserDataLine[1] - before_[0] - before_[1];
    }

    const std::vector<uint64_t> before_{std::begin(g_u64UserDataLine), std::end(g_u64UserDataLine)};
};

// --- in the walk ---

TEST_F(FrameUserDataTest, IsPrintedWithItsPlaceInTheFile) {
    // The payload stands at 120; behind 6 bytes of marker and 1 of size the block: 127.
    EXPECT_EQ(decoded_payload(user_data(h264, simple_block())),
              heading(1) + tabs + "       7f\t fed1\t                USERDATA_FLAG_OSD\n\n");
    EXPECT_EQ(decoded_payload(user_data(h265, simple_block())),
              heading(1) + tabs + "       80\t fed1\t                USERDATA_FLAG_OSD\n\n");
}

TEST_F(FrameUserDataTest, OfEachOrdinaryFrameIsPrintedBehindItsRow) {
    const bytes video = user_data(h264, simple_block()); // 6 + 1 + 16 = 23 bytes
    EXPECT_EQ(analysis::below_heading(
                  report(unfinished({{.number = 1, .time_stamp = 1000, .kind = 0, .video = video},
                                     {.number = 2, .time_stamp = 1040, .kind = 1, .video = video}}),
                         option::a | option::u)),
              row("1", "00000058", "I", 55, 23, 0, 0, 1000, 1000, "0") + heading(1) + tabs +
                  "       7f\t fed1\t                USERDATA_FLAG_OSD\n\n" +
                  row("2", "0000008f", "P", 55, 23, 0, 0, 1040, 40, "0") + heading(1) + tabs +
                  "       b6\t fed1\t                USERDATA_FLAG_OSD\n\n");
}

TEST_F(FrameUserDataTest, IsDecodedWithItsOptionAlone) {
    const bytes recording = unfinished({{.video = user_data(h264, simple_block())}});
    EXPECT_EQ(report(recording, option::t), "");
    EXPECT_THAT(report(recording, 0xDF), testing::Not(testing::HasSubstr("UserData")));
    EXPECT_THAT(report(recording, 0x20), testing::HasSubstr("UserData"));
}

TEST_F(FrameUserDataTest, OfInsertedDamagedAndBadFramesIsLeftAlone) {
    const bytes video = user_data(h264, simple_block());
    EXPECT_EQ(decoded({{.kind = 1, .video = video, .tag = 0x7788}}), "");
    bytes damaged = frame_record({.kind = 1, .video = video});
    put_u32(damaged, 20, 22);
    EXPECT_EQ(report(of_pieces(1, {damaged}), option::u), "");
    bytes invalid = frame_record({.kind = 1, .video = video});
    put_u32(invalid, 0, 1);
    EXPECT_EQ(report(of_pieces(1, {invalid}), option::u), "");
}

TEST_F(FrameUserDataTest, OfAFrameFoundByTheSearchIsDecoded) {
    const bytes recording =
        of_pieces(1, {bytes(40, 0xFF), frame_record({.kind = 0, .video = user_data(h264, simple_block())})});
    EXPECT_EQ(report(recording, option::u),
              heading(1) + tabs +
                  "       a7\t fed1\t                USERDATA_FLAG_OSD\n\n"); // 88 + 40 + 32 + 7
}

TEST_F(FrameUserDataTest, MustBeginAtTheFirstByteOfThePayload) {
    const bytes data = user_data(h264, simple_block());
    EXPECT_EQ(decoded_payload(concatenated({0xAA}, data)), "");
    EXPECT_EQ(decoded_payload(concatenated({0x00}, data)), "");
    EXPECT_EQ(decoded_payload(bytes(data.begin() + 1, data.end())), ""); // three-byte start code
    EXPECT_EQ(decoder_calls(), 0U);
}

TEST_F(FrameUserDataTest, ThatBeginsWithHalfAMarkerIsNone) {
    for (size_t size = 1; size < h264.size(); ++size)
        EXPECT_EQ(decoded_payload(bytes(h264.begin(), h264.begin() + static_cast<std::ptrdiff_t>(size))), "");
    for (size_t size = 1; size < h265.size(); ++size)
        EXPECT_EQ(decoded_payload(bytes(h265.begin(), h265.begin() + static_cast<std::ptrdiff_t>(size))), "");
    EXPECT_EQ(decoder_calls(), 0U);
}

TEST_F(FrameUserDataTest, TheMarkerIsSearchedAgainAndH264Wins) {
    bytes video = user_data(h265, block_of({{0xFED2, {1, 2, 3, 4}}})); // 7 + 1 + 16
    append(video, user_data(h264, simple_block()));
    EXPECT_EQ(decoded_payload(video),
              heading(1) + tabs + "       97\t fed1\t                USERDATA_FLAG_OSD\n\n"); // 120 + 24 + 7
}

TEST_F(FrameUserDataTest, SetsTheAnalyticsSize) {
    EXPECT_THAT(decoded_payload(user_data(h264, block_of({{0xFED7, {0x61, 1, 0, 9, 0x21, 1, 0, 9}}}))),
                testing::HasSubstr("fed7\t           USERDATA_FLAG_VCA_SIZE\n"));
    EXPECT_EQ(g_stVcaAnalysSize.width, 0x09000161U);
    EXPECT_EQ(g_stVcaAnalysSize.height, 0x09000121U);
    EXPECT_EQ(g_stVcaAnalysSize.base_width, 176U);
    EXPECT_EQ(g_stVcaAnalysSize.base_height, 144U);
}

// --- how much is read ---

TEST_F(FrameUserDataTest, AtMost1024BytesOfAPayloadAreRead) {
    for (const auto& [size, read] : {std::pair<size_t, std::string>{1, "1"},
                                     {1023, "1023"},
                                     {1024, "1024"},
                                     {1025, "1024"},
                                     {5000, "1024"}}) {
        module_probe::reset();
        decoded_payload(bytes(size, 0xAA));
        EXPECT_THAT(module_probe::calls(), testing::Contains(testing::EndsWith(", " + read + ") = " + read)));
    }
}

TEST_F(FrameUserDataTest, APayloadCutOffByTheEndOfTheFileEndsTheWalk) {
    // Two frames: the second is reached only when the first was read, and it is the first to be cut.
    for (const uint32_t options : {0x00U, option::u, option::i}) {
        bytes recording = unfinished({{.number = 5, .kind = 1}});
        const std::string name = put(recording);
        uint32_t count = 0;
        uint32_t position = 0;
        g_Opt = options;
        EXPECT_EQ(rec_vca_GetVcaMsgEx(name.c_str(), &count, 0, 0, &position), 0);
        recording.pop_back();
        put(recording);
        position = 0;
        EXPECT_EQ(rec_vca_GetVcaMsgEx(name.c_str(), &count, 0, 0, &position), -1);
        EXPECT_EQ(position, 0U);
    }
}

TEST_F(FrameUserDataTest, APayloadCutOffBehind1024BytesIsNotNoticed) {
    bytes recording = unfinished({{.number = 5, .kind = 1, .video = bytes(5000, 0xAA)}});
    recording.resize(88 + 32 + 1024);
    EXPECT_EQ(report(recording, option::i), analysis::frame_table_heading());
    EXPECT_EQ(text("EndFrame"), "5\n");
    recording.pop_back();
    g_TempLastFrmNum = 0;
    folder().write_text("EndFrame", "0\n");
    report(recording, option::i);
    EXPECT_EQ(text("EndFrame"), "0\n");
}

TEST_F(FrameUserDataTest, AudioBehindTheVideoMayBeMissing) {
    bytes recording = unfinished({{.number = 5, .kind = 1, .audio_count = 10, .audio_size = 100}});
    recording.resize(88 + 32 + 100);
    report(recording, option::i);
    EXPECT_EQ(text("EndFrame"), "5\n");
}

TEST_F(FrameUserDataTest, AFrameWithoutVideoDataEndsTheWalk) {
    const bytes recording =
        unfinished({{.number = 1, .kind = 1, .video = {}, .audio_count = 2, .audio_size = 50},
                    {.number = 2, .kind = 1}});
    EXPECT_EQ(analysis::below_heading(report(recording, option::a)),
              row("1", "00000058", "P", 132, 0, 2, 50, 1000, 1000, "0"));
    EXPECT_EQ(text("EndFrame"), "0\n");
    EXPECT_EQ(diffFrmNo, 1);
}

// --- bytes that were not read ---

// A block that says it has 1020 bytes: its last segment, a target, ends behind the 1024 bytes that are looked at.
bytes block_beyond_the_window(uint8_t last) {
    bytes filling(996, 0x11);
    return block_of({{0xFED1, filling}, {0xFED9, bytes(8, last)}});
}

TEST_F(FrameUserDataTest, BytesBehindTheWindowReadAsZero) {
    // 6 + 5 + 1020 bytes: of the target's values only the first byte, at 1023, lies in the window: 0x22 - 1 and -1.
    const bytes video = user_data(h264, block_beyond_the_window(0x22));
    ASSERT_EQ(video.size(), 1031U);
    EXPECT_EQ(decoded_payload(video), heading(2) + tabs +
                                          "       83\t fed1\t                USERDATA_FLAG_OSD\n" + tabs +
                                          "       83\t fed9\t      USERDATA_FLAG_VCA   33   -1\n\n");
}

TEST_F(FrameUserDataTest, BytesOfAnEarlierFrameAreNeverDecoded) {
    // The second payload ends in the middle of its block; the first has left 0x33 at those places.
    bytes first = user_data(h264, simple_block());
    first.resize(1024, 0x33);
    bytes second = user_data(h264, block_of({{0xFED9, {5, 9, 9, 9}}}));
    second.resize(second.size() - 3);
    const std::string text =
        decoded({{.number = 1, .video = first}, {.number = 2, .kind = 1, .video = second}});
    EXPECT_THAT(text, testing::HasSubstr("\t fed1\t                USERDATA_FLAG_OSD\n"));
    EXPECT_THAT(text, testing::EndsWith("\t fed9\t      USERDATA_FLAG_VCA    4   -1\n\n"));
}

TEST_F(FrameUserDataTest, AudioBehindAShortPayloadIsNotDecoded) {
    bytes video = user_data(h264, block_of({{0xFED9, {5, 9, 9, 9}}}));
    video.resize(video.size() - 3);
    EXPECT_THAT(decoded({{.video = video, .audio_count = 1, .audio_size = 100}}),
                testing::EndsWith("\t fed9\t      USERDATA_FLAG_VCA    4   -1\n\n"));
}

TEST_F(FrameUserDataTest, ASizeThatStandsBehindThePayloadReadsAsZero) {
    EXPECT_EQ(decoded_payload(h264), ""); // a size of 0: no block
    EXPECT_EQ(g_u64UserDataLine[1], before_[1] + 1);
    EXPECT_EQ(g_u64UserDataLine[3], before_[3]);
}

TEST_F(FrameUserDataTest, ABlockLargerThan1024DoesNotEndTheWalk) {
    bytes video = concatenated(h264, {0xFF, 0xFF, 0xFF, 0xFF, 0x05}); // 1025
    video.resize(100, 0x44);
    const std::string text = decoded(
        {{.number = 1, .video = video}, {.number = 2, .kind = 1, .video = user_data(h264, simple_block())}});
    EXPECT_EQ(text, heading(1) + tabs +
                        "      103\t fed1\t                USERDATA_FLAG_OSD\n\n"); // 88 + 132 + 32 + 7
    EXPECT_EQ(g_u64UserDataLine[2], before_[2] + 1);
}

// --- one call ---

class RecGetVcaalarmCallTest : public FrameUserDataTest {
protected:
    // A file of 3000 bytes 0x55 with the user data at 1000.
    RecGetVcaalarmCallTest() {
        bytes content(3000, 0x55);
        const bytes data = user_data(h264, simple_block());
        std::copy(data.begin(), data.end(), content.begin() + 1000);
        file_ = vfs_fopen(0, put(content).c_str(), "rb");
        vfs_fseek(file_, 1000, SEEK_SET);
        module_probe::reset();
    }
    ~RecGetVcaalarmCallTest() override { vfs_fclose(file_); }

    static kmr_frame_header header(uint32_t kind, uint32_t video_size) {
        kmr_frame_header frame{};
        frame.FrameKind = kind;
        frame.VideoSize = video_size;
        return frame;
    }

    int32_t call(const kmr_frame_header& frame) {
        return rec_get_vcaalarm(file_, buffer_.data(), 1048576, 0, &frame, &context_);
    }

    vfs_file* file_ = nullptr;
    bytes buffer_ = bytes(1048576, 0xEE);
    kmr_walk_context context_ = {{1, 2, 3, 4}, 5, 6, 7};
};

TEST_F(RecGetVcaalarmCallTest, KeepsThePlaceOfTheLastIFrameAndCountsFromIt) {
    EXPECT_EQ(call(header(0, 10)), 0);
    EXPECT_EQ(_iFileLocation, 968);
    EXPECT_EQ(diffFrmNo, 0);
    EXPECT_EQ(call(header(1, 10)), 0);
    EXPECT_EQ(call(header(0xFF, 10)), 0);
    EXPECT_EQ(_iFileLocation, 968);
    EXPECT_EQ(diffFrmNo, 2);
    EXPECT_EQ(call(header(0x100, 10)), 0);
    EXPECT_EQ(_iFileLocation, 998);
    EXPECT_EQ(diffFrmNo, 0);
}

TEST_F(RecGetVcaalarmCallTest, CountsAFrameWhosePayloadCannotBeRead) {
    EXPECT_EQ(call(header(1, 0)), -1);
    EXPECT_EQ(diffFrmNo, 1);
    module_probe::fail("Read", 1);
    EXPECT_EQ(call(header(0, 10)), -1);
    EXPECT_EQ(_iFileLocation, 968);
    EXPECT_EQ(diffFrmNo, 0);
}

TEST_F(RecGetVcaalarmCallTest, ReadsWhatTheFrameHasAndLeavesTheFileBehindIt) {
    EXPECT_EQ(call(header(1, 40)), 0);
    EXPECT_EQ(vfs_ftell(file_), 1040);
    EXPECT_EQ(buffer_[0], 0x00);
    EXPECT_EQ(buffer_[5], 0xF0);
    EXPECT_EQ(buffer_[39], 0x55);
    EXPECT_EQ(buffer_[40], 0xEE);
    EXPECT_EQ(call(header(1, 5000)), 0);
    EXPECT_EQ(vfs_ftell(file_), 2064);
    EXPECT_EQ(buffer_[1023], 0x55);
    EXPECT_EQ(buffer_[1024], 0xEE);
    EXPECT_EQ(call(header(1, 0xFFFFFFFF)), -1); // 936 are left
    EXPECT_EQ(vfs_ftell(file_), 3000);
}

TEST_F(RecGetVcaalarmCallTest, AsksForThePositionAndReads) {
    call(header(0, 40));
    const std::string file = std::to_string(file_->iMdlFd);
    EXPECT_EQ(module_probe::calls(), (std::vector<std::string>{"sznfs_Tell(" + file + ") = 1000",
                                                               "sznfs_Read(" + file + ", 40) = 40"}));
}

TEST_F(RecGetVcaalarmCallTest, DecodesWithTheOptionAlone) {
    EXPECT_EQ(printed([&] { EXPECT_EQ(call(header(0, 40)), 0); }), "");
    vfs_fseek(file_, 1000, SEEK_SET);
    g_Opt = option::u;
    EXPECT_EQ(printed([&] { EXPECT_EQ(call(header(0, 40)), 0); }),
              heading(1) + tabs + "      3ef\t fed1\t                USERDATA_FLAG_OSD\n\n"); // 1007
    EXPECT_EQ(printed([&] { EXPECT_EQ(call(header(0, 40)), 0); }), "");
}

TEST_F(RecGetVcaalarmCallTest, NeitherReadsNorWritesTheContext) {
    call(header(0, 40));
    const kmr_walk_context expected = {{1, 2, 3, 4}, 5, 6, 7};
    EXPECT_EQ(std::memcmp(&context_, &expected, sizeof expected), 0);
}

TEST_F(RecGetVcaalarmCallTest, TakesAnyPositiveLength) {
    const kmr_frame_header frame = header(0, 1024);
    EXPECT_EQ(rec_get_vcaalarm(file_, buffer_.data(), 1, 0, &frame, &context_), 0);
    EXPECT_EQ(vfs_ftell(file_), 2024); // the length is no limit
}

TEST_F(RecGetVcaalarmCallTest, RefusesBadArgumentsBeforeAnythingElse) {
    const kmr_frame_header frame = header(0, 40);
    EXPECT_EQ(rec_get_vcaalarm(file_, nullptr, 1024, 0, &frame, &context_), -1);
    EXPECT_EQ(rec_get_vcaalarm(file_, buffer_.data(), 0, 0, &frame, &context_), -1);
    EXPECT_EQ(rec_get_vcaalarm(file_, buffer_.data(), -1, 0, &frame, &context_), -1);
    EXPECT_EQ(rec_get_vcaalarm(file_, buffer_.data(), 1024, 0, nullptr, &context_), -1);
    EXPECT_EQ(rec_get_vcaalarm(file_, buffer_.data(), 1024, 0, &frame, nullptr), -1);
    EXPECT_EQ(rec_get_vcaalarm(nullptr, buffer_.data(), 1024, 0, &frame, &context_), -1);
    EXPECT_EQ(module_probe::count(), 0);
    EXPECT_EQ(_iFileLocation, 0);
    EXPECT_EQ(diffFrmNo, 0);
}

TEST(OtherProgramsGlobalsTest, StartAt0) {
    EXPECT_EQ(CHN_ALARMER_TYPE, 0);
    EXPECT_EQ(g_blHaveVcaInfo, 0);
}

} // namespace
