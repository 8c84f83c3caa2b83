#include "tests/libvfs/layer_test.hpp"

#include <cstdio>
#include <cstring>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class StreamsTest : public LayerTest {
protected:
    vfs_file* open_stream(const std::string& content, const char* mode = "rb") {
        const auto path = write_plain(std::string("file") + std::to_string(++files), content);
        vfs_file* const stream = vfs_fopen(0, path.c_str(), mode);
        module_probe::reset();
        return stream;
    }

    int files = 0;
    char buffer[32] = {};
};

// --- Modes ---

struct mode_case {
    const char* mode;
    int flags; // -1: no open
};

class StreamModesTest : public LayerTest, public ::testing::WithParamInterface<mode_case> {};

TEST_P(StreamModesTest, DecideTheOpenFlags) {
    const auto path = write_plain("x", "abc");
    vfs_file* const stream = vfs_fopen(0, path.c_str(), GetParam().mode);
    if (GetParam().flags < 0) {
        EXPECT_EQ(stream, nullptr);
        EXPECT_THAT(module_probe::calls(), IsEmpty());
    } else {
        EXPECT_EQ(stream, &g_stvfile[1]);
        EXPECT_THAT(
            module_probe::calls(),
            ElementsAre(open_call("sznfs_Open", 0, path, std::to_string(GetParam().flags) + ") = 3")));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, StreamModesTest,
    ::testing::Values(mode_case{"r", 0}, mode_case{"rb", 0}, mode_case{"br", 0}, mode_case{"r+", 64},
                      mode_case{"rb+", 64}, mode_case{"r+b", 64}, mode_case{"w", 65}, mode_case{"wb", 65},
                      mode_case{"w+", 66}, mode_case{"wb+", 66}, mode_case{"w+b", 66}, mode_case{"a", 1024},
                      mode_case{"ab", 1024}, mode_case{"a+", 1024}, mode_case{"ab+", 1024},
                      mode_case{"wr", 0},              // 'r' is looked for before 'w'
                      mode_case{"wa", 1024},           // and so is 'a'
                      mode_case{"w+r+", 64},           // "r+" first of all
                      mode_case{"ra+", 0},             // no "r+" in it
                      mode_case{"rbb+", 0},            // only the first 'b' goes: "rb+"
                      mode_case{"xyzr", 0},            // anywhere in the text
                      mode_case{"xxxxxxxxxxxxxxr", 0}, // 15 characters
                      mode_case{"x", -1}, mode_case{"", -1}, mode_case{"b", -1}, mode_case{"+", -1},
                      mode_case{"R", -1}, mode_case{"rxxxxxxxxxxxxxxx", -1}, // 16 characters
                      mode_case{nullptr, -1}));

// --- Opening and closing ---

TEST_F(StreamsTest, AStreamIsTheEntryOfItsDescriptor) {
    vfs_file* const first = open_stream("abc");
    vfs_file* const second = open_stream("abc");
    EXPECT_EQ(first, &g_stvfile[1]);
    EXPECT_EQ(second, &g_stvfile[2]);
    EXPECT_EQ(second->iFd, 2);
}

TEST_F(StreamsTest, OpenPassesTheSelectorOn) {
    const auto path = write_plain("x", "abc");
    EXPECT_NE(vfs_fopen(4, path.c_str(), "r"), nullptr);
    EXPECT_THAT(module_probe::calls(), ElementsAre(open_call("znfs_Open", 4, path, "0) = 3")));
}

TEST_F(StreamsTest, OpenGivesNullWhenTheFileDoesNotOpen) {
    EXPECT_EQ(vfs_fopen(0, plain("missing").c_str(), "r"), nullptr);
    EXPECT_EQ(vfs_fopen(0, nullptr, "r"), nullptr);
    g_stvfsmnt.Entries[1].iState = 0;
    EXPECT_EQ(vfs_fopen(0, write_plain("x", "abc").c_str(), "r"), nullptr);
}

TEST_F(StreamsTest, CloseFreesTheStream) {
    vfs_file* const stream = open_stream("abc");
    EXPECT_EQ(vfs_fclose(stream), 0);
    EXPECT_THAT(module_probe::calls(), ElementsAre("sznfs_Close(3) = 0"));
    EXPECT_EQ(vfs_fclose(stream), -1);
    EXPECT_EQ(vfs_fread(buffer, 1, 1, stream), -1);
    EXPECT_EQ(module_probe::count(), 1);
}

TEST_F(StreamsTest, AFailedCloseKeepsTheStreamOpen) {
    vfs_file* const stream = open_stream("abc");
    module_probe::fail("Close", 1, 9);
    EXPECT_EQ(vfs_fclose(stream), 9);
    EXPECT_EQ(vfs_fread(buffer, 1, 3, stream), 3);
    EXPECT_EQ(vfs_fclose(stream), 0);
}

// --- Streams that are none ---

void expect_refused(vfs_file* stream) {
    char buffer[4];
    EXPECT_EQ(vfs_fread(buffer, 1, 1, stream), -1);
    EXPECT_EQ(vfs_fwrite(buffer, 1, 1, stream), -1);
    EXPECT_EQ(vfs_fseek(stream, 0, SEEK_SET), -1);
    EXPECT_EQ(vfs_ftell(stream), -1);
    EXPECT_EQ(vfs_feof(stream), -1);
    EXPECT_EQ(vfs_fclose(stream), -1);
    EXPECT_THAT(module_probe::calls(), IsEmpty());
}

TEST_F(StreamsTest, NullIsRefused) {
    expect_refused(nullptr);
}

TEST_F(StreamsTest, AFreeEntryIsRefused) {
    expect_refused(&g_stvfile[5]);
}

TEST_F(StreamsTest, AnEntryWhoseOpenIsInProgressIsRefused) {
    vfs_file reserved = {0, 0, &g_stvfsmnt.Entries[1].Operations};
    expect_refused(&reserved);
}

TEST_F(StreamsTest, AnEntryWithABadDescriptorIsRefused) {
    vfs_file negative = {-1, 3, &g_stvfsmnt.Entries[1].Operations};
    expect_refused(&negative);
    vfs_file not_open = {7, 3, &g_stvfsmnt.Entries[1].Operations};
    expect_refused(&not_open);
    vfs_file outside = {1025, 3, &g_stvfsmnt.Entries[1].Operations};
    expect_refused(&outside);
}

// --- Reading and writing ---

TEST_F(StreamsTest, ReadGivesTheNumberOfWholeItems) {
    vfs_file* const stream = open_stream("0123456789");
    EXPECT_EQ(vfs_fread(buffer, 4, 3, stream), 2) << "10 bytes by 4";
    EXPECT_EQ(std::string(buffer, 10), "0123456789") << "the bytes of the item in part have been read";
    EXPECT_EQ(vfs_ftell(stream), 10);
    EXPECT_EQ(module_probe::calls().front(), "sznfs_Read(3, 12) = 10");
}

TEST_F(StreamsTest, ReadAtTheEndGivesMinus1) {
    vfs_file* const stream = open_stream("abc");
    EXPECT_EQ(vfs_fread(buffer, 1, 3, stream), 3);
    EXPECT_EQ(vfs_fread(buffer, 1, 1, stream), -1);
    EXPECT_EQ(module_probe::calls().back(), "sznfs_Read(3, 1) = 0");
}

TEST_F(StreamsTest, ReadOfLessThanOneItemGives0) {
    vfs_file* const stream = open_stream("abc");
    EXPECT_EQ(vfs_fread(buffer, 4, 1, stream), 0);
}

TEST_F(StreamsTest, ReadOfNothingGivesMinus1) {
    vfs_file* const stream = open_stream("abc");
    EXPECT_EQ(vfs_fread(buffer, 0, 5, stream), -1);
    EXPECT_EQ(vfs_fread(buffer, 5, 0, stream), -1);
    EXPECT_EQ(vfs_ftell(stream), 0);
}

TEST_F(StreamsTest, ReadOfSize0NeverDivides) {
    vfs_file* const stream = open_stream("abc");
    module_probe::fail("Read", 1, 3); // a module that claims to have read what nobody asked for
    EXPECT_EQ(vfs_fread(buffer, 0, 5, stream), -1);
}

TEST_F(StreamsTest, AFailedReadGivesMinus1WhateverTheModuleSaid) {
    vfs_file* const stream = open_stream("abc");
    module_probe::fail("Read", 1, -77);
    EXPECT_EQ(vfs_fread(buffer, 1, 1, stream), -1);
}

TEST_F(StreamsTest, SizeTimesCountIsA32BitProduct) {
    vfs_file* const stream = open_stream("abcdef");
    EXPECT_EQ(vfs_fread(buffer, 0x80000001, 2, stream), 0) << "2 bytes are less than one item";
    EXPECT_EQ(module_probe::calls().back(), "sznfs_Read(3, 2) = 2");
}

TEST_F(StreamsTest, WriteGivesTheCountWhenEverythingWasWritten) {
    vfs_file* const stream = open_stream("", "wb");
    EXPECT_EQ(vfs_fwrite("0123456789ab", 4, 3, stream), 3);
    EXPECT_THAT(module_probe::calls(), ElementsAre("sznfs_Write(3, 12) = 12"));
    EXPECT_EQ(vfs_fclose(stream), 0);
    EXPECT_EQ(scratch::read_text(plain("file1")), "0123456789ab");
}

TEST_F(StreamsTest, AShortWriteGivesMinus1) {
    vfs_file* const stream = open_stream("", "wb");
    module_probe::cut("Write", 1, 11);
    EXPECT_EQ(vfs_fwrite("0123456789ab", 4, 3, stream), -1);
    EXPECT_EQ(vfs_ftell(stream), 11);
}

TEST_F(StreamsTest, AFailedWriteGivesMinus1) {
    vfs_file* const stream = open_stream("abc", "rb");
    EXPECT_EQ(vfs_fwrite("0123", 4, 1, stream), -1);
    module_probe::fail("Write", 1, -1);
    EXPECT_EQ(vfs_fwrite("", 0xFFFFFFFF, 1, stream), -1) << "the failure looks like the number wanted";
}

TEST_F(StreamsTest, WriteOfNothingGivesTheCount) {
    vfs_file* const stream = open_stream("", "wb");
    EXPECT_EQ(vfs_fwrite("", 0, 5, stream), 5);
    EXPECT_EQ(vfs_fwrite("", 5, 0, stream), 0);
    EXPECT_THAT(module_probe::calls(), ElementsAre("sznfs_Write(3, 0) = 0", "sznfs_Write(3, 0) = 0"));
}

TEST_F(StreamsTest, AStreamOfModeRPlusCannotWrite) {
    vfs_file* const stream = open_stream("abc", "r+b");
    EXPECT_EQ(vfs_fwrite("x", 1, 1, stream), -1);
    EXPECT_EQ(vfs_fread(buffer, 1, 3, stream), 3);
}

TEST_F(StreamsTest, NoModeTruncates) {
    vfs_file* const stream = open_stream("abcdef", "w");
    EXPECT_EQ(vfs_fwrite("X", 1, 1, stream), 1);
    vfs_fclose(stream);
    EXPECT_EQ(scratch::read_text(plain("file1")), "Xbcdef");
}

// --- Position ---

TEST_F(StreamsTest, SeekGives0AndMovesThePosition) {
    vfs_file* const stream = open_stream("0123456789");
    EXPECT_EQ(vfs_fseek(stream, -3, SEEK_END), 0);
    EXPECT_EQ(vfs_ftell(stream), 7);
    EXPECT_EQ(vfs_feof(stream), 0);
    EXPECT_EQ(vfs_fread(buffer, 1, 10, stream), 3);
    EXPECT_NE(vfs_feof(stream), 0);
}

TEST_F(StreamsTest, AFailedSeekLeavesThePosition) {
    vfs_file* const stream = open_stream("0123456789");
    EXPECT_EQ(vfs_fseek(stream, 4, SEEK_SET), 0);
    EXPECT_EQ(vfs_fseek(stream, -5, SEEK_CUR), -1);
    EXPECT_EQ(vfs_ftell(stream), 4);
}

TEST_F(StreamsTest, SeekBeyond2GiBIsReportedAsAFailureAndTakesPlace) {
    vfs_file* const stream = open_stream("", "w+b");
    ASSERT_EQ(vfs_ftruncate(stream->iFd, 0xC0000000 + int64_t{16}), 0);
    EXPECT_EQ(vfs_fseek(stream, -16, SEEK_END), -0x40000000) << "the low 32 bits of 3 GiB";
    EXPECT_EQ(vfs_ftell(stream), -0x40000000);
    EXPECT_EQ(vfs_Seek(stream->iFd, 0, SEEK_CUR), 0xC0000000);
    EXPECT_EQ(vfs_fwrite("here", 4, 1, stream), 1);
    EXPECT_EQ(vfs_fseek(stream, -4, SEEK_CUR), -0x40000000);
    EXPECT_EQ(vfs_fread(buffer, 4, 1, stream), 1);
    EXPECT_STREQ(buffer, "here");
}

TEST_F(StreamsTest, OnlyTheLow32BitsOfTheNewPositionCount) {
    vfs_file* const stream = open_stream("abc");
    const auto seek_that_gives = [&](int64_t position) {
        module_probe::fail("Seek", 1, position);
        return vfs_fseek(stream, 0, SEEK_SET);
    };
    EXPECT_EQ(seek_that_gives(0x7FFFFFFF), 0);
    EXPECT_EQ(seek_that_gives(0x80000000), INT32_MIN);
    EXPECT_EQ(seek_that_gives(0xFFFFFFFF), -1);
    EXPECT_EQ(seek_that_gives(0x100000000), 0);
    EXPECT_EQ(seek_that_gives(0x180000000), INT32_MIN);
    EXPECT_EQ(seek_that_gives(-5), -5);
    EXPECT_EQ(seek_that_gives(INT64_MIN), 0) << "a failure whose low word is 0 passes for success";
}

} // namespace
