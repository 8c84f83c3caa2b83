#include "analyse/format/file_header.h"
#include "analyse/format/frame_header.h"
#include "analyse/format/index_block.h"

#include "tests/support/recording_bytes.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <numeric>

extern "C" {
size_t c_sizeof_file_header(void);
size_t c_sizeof_frame_header(void);
size_t c_sizeof_index_record(void);
int c_is_i_frame(uint32_t kind);
}

namespace {

// A record whose byte at each offset is that offset.
template <typename Record>
Record numbered() {
    uint8_t bytes[sizeof(Record)];
    std::iota(std::begin(bytes), std::end(bytes), uint8_t{0});
    Record record;
    std::memcpy(&record, bytes, sizeof record);
    return record;
}

TEST(FormatTest, FileHeaderFieldsStandWhereTheyBelong) {
    const auto header = numbered<kmr_file_header>();
    EXPECT_EQ(sizeof header, 88u);
    EXPECT_EQ(header.FrameRate, 0x0100);
    EXPECT_EQ(header.Width, 0x0302);
    EXPECT_EQ(header.Height, 0x0504);
    EXPECT_EQ(header.Mode, 0x0706);
    EXPECT_EQ(header.bAudio, 0x0908);
    EXPECT_EQ(header.Year, 0x0B0A);
    EXPECT_EQ(header.Month, 0x0D0C);
    EXPECT_EQ(header.Day, 0x0F0E);
    EXPECT_EQ(header.Hour, 0x1110);
    EXPECT_EQ(header.Minute, 0x1312);
    EXPECT_EQ(header.Second, 0x1514);
    EXPECT_EQ(header.CoverMask, 0x1716);
    EXPECT_EQ(header.cCovWord[0], 24);
    EXPECT_EQ(header.cCovWord[35], 59);
    EXPECT_EQ(header.m_uiFrameNoDiff, 0x3F3E3D3Cu);
    EXPECT_EQ(header.TriggerHigh, 0x43424140u);
    EXPECT_EQ(header.TriggerLow, 0x47464544u);
    EXPECT_EQ(header.reserved, 0x4948);
    EXPECT_EQ(header.AChannels, 0x4A);
    EXPECT_EQ(header.BitsPerSample, 0x4B);
    EXPECT_EQ(header.AudioSample, 0x4F4E4D4Cu);
    EXPECT_EQ(header.TotalSize, 0x53525150u);
    EXPECT_EQ(header.FrameCount, 0x57565554u);
}

TEST(FormatTest, FrameHeaderFieldsStandWhereTheyBelong) {
    const auto header = numbered<kmr_frame_header>();
    EXPECT_EQ(sizeof header, 32u);
    EXPECT_EQ(header.SyncWord, 0x03020100u);
    EXPECT_EQ(header.FrameSize, 0x07060504u);
    EXPECT_EQ(header.FrameKind, 0x0B0A0908u);
    EXPECT_EQ(header.FrameNo, 0x0F0E0D0Cu);
    EXPECT_EQ(header.TimeStamp, 0x13121110u);
    EXPECT_EQ(header.VideoSize, 0x17161514u);
    EXPECT_EQ(header.AFrameNum, 0x1918);
    EXPECT_EQ(header.AFrameSize, 0x1B1A);
    EXPECT_EQ(header.Reserved, 0x1D1C);
    EXPECT_EQ(header.Tag, 0x1F1E);
}

TEST(FormatTest, IndexFieldsStandWhereTheyBelong) {
    const auto head = numbered<kmr_index_head>();
    EXPECT_EQ(sizeof head, 44u);
    EXPECT_EQ(head.Frame.FrameSize, 0x07060504u);
    EXPECT_EQ(head.RecordCount, 0x23222120u);
    EXPECT_EQ(head.RecordSize, 0x27262524u);
    EXPECT_EQ(head.MemoryNum, 0x2B2A2928u);

    const auto record = numbered<kmr_index_record>();
    EXPECT_EQ(sizeof record, 80u);
    EXPECT_EQ(record.TimeNow, 0x03020100u);
    EXPECT_EQ(record.IPos, 0x07060504u);
    EXPECT_EQ(record.Sign, 0x0B0A0908u);
    EXPECT_EQ(record.VideoWidth, 0x0D0C);
    EXPECT_EQ(record.VideoHeight, 0x0F0E);
    EXPECT_EQ(record.TagName[0], 16);
    EXPECT_EQ(record.TagName[63], 79);

    const auto trailer = numbered<kmr_index_trailer>();
    EXPECT_EQ(sizeof trailer, 8u);
    EXPECT_EQ(trailer.Magic, 0x03020100u);
    EXPECT_EQ(trailer.Length, 0x07060504u);
}

TEST(FormatTest, NumbersOfTheFormat) {
    EXPECT_EQ(KMR_FILE_HEADER_SIZE, 88u);
    EXPECT_EQ(KMR_DEFAULT_FRAME_RATE, 25u);
    EXPECT_EQ(KMR_FRAME_HEADER_SIZE, 32u);
    EXPECT_EQ(KMR_SYNC_WORD, 0x02000000u);
    EXPECT_EQ(KMR_MAX_FRAME_SIZE, 1048576u);
    EXPECT_EQ(KMR_INSERTED_FRAME_TAG, 0x7788u);
    EXPECT_EQ(KMR_INDEX_MAGIC, 0x0123ABCDu);
    EXPECT_EQ(KMR_INDEX_HEAD_SIZE, 44u);
    EXPECT_EQ(KMR_INDEX_RECORD_SIZE, 80u);
    EXPECT_EQ(KMR_INDEX_TRAILER_SIZE, 8u);
    EXPECT_EQ(KMR_MAX_TAGS, 64u);
    EXPECT_EQ(KMR_TAG_SIZE, 64u);
    EXPECT_EQ(KMR_INDEX_CAPACITY_STEP, 450u);
    EXPECT_EQ(KMR_FRAME_EMPTY, -2);
    EXPECT_EQ(KMR_FRAME_INVALID, -1);
    EXPECT_EQ(KMR_FRAME_ORDINARY, 0);
    EXPECT_EQ(KMR_FRAME_INSERTED, 1);
    EXPECT_EQ(KMR_FRAME_INDEX, 2);
    EXPECT_EQ(KMR_FRAME_DAMAGED, 3);
}

TEST(FormatTest, SyncWordIsThreeZerosAndATwoOnDisk) {
    const uint8_t expected[] = {0, 0, 0, 2};
    const uint32_t word = KMR_SYNC_WORD;
    EXPECT_EQ(std::memcmp(&word, expected, 4), 0);
}

TEST(FormatTest, OnlyTheLowByteOfTheKindMakesAnIFrame) {
    for (const auto& [kind, is_i] :
         {std::pair{0u, 1}, {1u, 0}, {0x100u, 1}, {0xFFFFFF00u, 1}, {0x101u, 0}, {0x80u, 0}}) {
        kmr_frame_header header = {};
        header.FrameKind = kind;
        EXPECT_EQ(kmr_is_i_frame(&header), is_i) << std::hex << kind;
        EXPECT_EQ(c_is_i_frame(kind), is_i) << std::hex << kind;
    }
}

TEST(FormatTest, CSeesTheSameSizes) {
    EXPECT_EQ(c_sizeof_file_header(), 88u);
    EXPECT_EQ(c_sizeof_frame_header(), 32u);
    EXPECT_EQ(c_sizeof_index_record(), 80u);
}

// A composed recording read back through the records: the two were written apart from each other.
TEST(FormatTest, AComposedRecordingReadsBack) {
    const recording::bytes file = recording::sound({{.number = 1, .time_stamp = 1000},
                                                    {.number = 2, .time_stamp = 1040, .kind = 1},
                                                    {.number = 3, .time_stamp = 4000}},
                                                   1420167845);
    // 88 + 3 frames of 132 + 44 + 2 records of 80 + 8
    ASSERT_EQ(file.size(), 696u);
    kmr_file_header header;
    std::memcpy(&header, file.data(), sizeof header);
    EXPECT_EQ(header.FrameRate, 25);
    EXPECT_EQ(header.Width, 1920);
    EXPECT_EQ(header.Height, 1080);
    EXPECT_EQ(header.Mode, 22);
    EXPECT_EQ(header.Year, 2015);
    EXPECT_EQ(header.Second, 5);
    EXPECT_EQ(header.FrameCount, 3u);

    kmr_index_trailer trailer;
    std::memcpy(&trailer, file.data() + 688, sizeof trailer);
    EXPECT_EQ(trailer.Magic, 0x0123ABCDu);
    EXPECT_EQ(trailer.Length, 212u);

    kmr_index_head head;
    std::memcpy(&head, file.data() + 696 - 212, sizeof head);
    EXPECT_EQ(head.Frame.SyncWord, 0x02000000u);
    EXPECT_EQ(head.Frame.FrameSize, 212u);
    EXPECT_EQ(head.Frame.VideoSize, 180u);
    EXPECT_EQ(head.RecordCount, 2u);
    EXPECT_EQ(head.RecordSize, 80u);

    kmr_index_record record;
    std::memcpy(&record, file.data() + 696 - 212 + 44 + 80, sizeof record);
    EXPECT_EQ(record.TimeNow, 1420167848u);
    EXPECT_EQ(record.IPos, 352u);
    EXPECT_EQ(record.VideoWidth, 1920);
    EXPECT_EQ(record.VideoHeight, 1080);
}

} // namespace
