#include "file_op/locate.h"

#include "tests/file_op/layer_fixture.hpp"

#include <cstring>

namespace {

constexpr char name_c[] =
    "H2cdef20150102opqrstCvwxyz0"; // the record type stands at 20, at 43 of the full path

std::string on(const std::string& disk, char letter, const std::string& tail = "vwxyz0") {
    return "/dev/scsi/host" + disk + "/part1/H2cdef20150102opqrst" + letter + tail;
}

std::string stat_of(const std::string& path, int result = -1) {
    const std::string module = path.find("/dev/") != std::string::npos ? "znfs" : "sznfs";
    return module + "_Stat(\"" + path + "\") = " + std::to_string(result);
}

struct located {
    int result;
    std::string path;
    bool operator==(const located&) const = default;
};

std::ostream& operator<<(std::ostream& out, const located& of) {
    return out << of.result << ' ' << of.path;
}

located locate(const std::string& path, vfs_stat_record* record = nullptr) {
    char buffer[128];
    std::memset(buffer, '#', sizeof buffer);
    std::strcpy(buffer, path.c_str());
    vfs_stat_record own = {};
    const int result = rec_Stat(buffer, record != nullptr ? record : &own);
    for (size_t i = path.size() + 1; i < sizeof buffer; ++i)
        EXPECT_EQ(buffer[i], '#') << i;
    return {result, buffer};
}

class LocateTest : public LayerTest {};

TEST_F(LocateTest, FileThatIsThereIsFoundAtOnce) {
    const std::string path = write_on_disk("02", name_c, recording::bytes(123, 1));
    vfs_stat_record record = {};
    EXPECT_EQ(locate(path, &record), (located{0, path}));
    EXPECT_EQ(record.Size, 123);
    EXPECT_EQ(module_probe::calls(), (call_log{stat_of(on("02", 'C'), 0)}));
}

TEST_F(LocateTest, PathThatNeedsNoChangeIsNotWrittenTo) {
    static const char constant[] = "/dev/scsi/host02/part1/H2cdef20150102opqrstCvwxyz0";
    write_on_disk("02", name_c);
    vfs_stat_record record = {};
    EXPECT_EQ(rec_Stat(const_cast<char*>(constant), &record), 0);
}

TEST_F(LocateTest, OtherLetterOnTheSameDisk) {
    write_on_disk("02", "H2cdef20150102opqrstLvwxyz0");
    EXPECT_EQ(locate(on("02", 'C')), (located{0, on("02", 'L')}));
    EXPECT_EQ(module_probe::calls(), (call_log{stat_of(on("02", 'C')), stat_of(on("02", 'L'), 0)}));
}

TEST_F(LocateTest, EveryOtherLetterBecomesC) {
    write_on_disk("02", name_c);
    for (const char letter : {'L', 'I', 'N', 'B', 'c', '7'})
        EXPECT_EQ(locate(on("02", letter)), (located{0, on("02", 'C')})) << letter;
}

TEST_F(LocateTest, OtherDiskAndOtherLetter) {
    write_on_disk("05", "H2cdef20150102opqrstLvwxyz0", recording::bytes(77, 1));
    vfs_stat_record record = {};
    EXPECT_EQ(locate(on("02", 'C'), &record), (located{0, on("05", 'L')}));
    EXPECT_EQ(record.Size, 77);
    // The letter is not changed back from disk to disk.
    EXPECT_EQ(module_probe::calls(),
              (call_log{stat_of(on("02", 'C')), stat_of(on("02", 'L')), stat_of(on("00", 'L')),
                        stat_of(on("00", 'C')), stat_of(on("01", 'C')), stat_of(on("01", 'L')),
                        stat_of(on("03", 'L')), stat_of(on("03", 'C')), stat_of(on("04", 'C')),
                        stat_of(on("04", 'L')), stat_of(on("05", 'L'), 0)}));
}

TEST_F(LocateTest, OtherDiskAndSameLetter) {
    write_on_disk("01", name_c);
    EXPECT_EQ(locate(on("00", 'C')), (located{0, on("01", 'C')}));
    EXPECT_EQ(module_probe::calls(), (call_log{stat_of(on("00", 'C')), stat_of(on("00", 'L')),
                                               stat_of(on("01", 'L')), stat_of(on("01", 'C'), 0)}));
}

TEST_F(LocateTest, UnknownLetterSettlesBetweenCAndL) {
    write_on_disk("01", "H2cdef20150102opqrstLvwxyz0");
    EXPECT_EQ(locate(on("23", 'I')), (located{0, on("01", 'L')}));
    EXPECT_EQ(module_probe::calls(),
              (call_log{stat_of(on("23", 'I')), stat_of(on("23", 'C')), stat_of(on("00", 'C')),
                        stat_of(on("00", 'L')), stat_of(on("01", 'L'), 0)}));
}

TEST_F(LocateTest, LastDiskIs23) {
    write_on_disk("23", name_c);
    EXPECT_EQ(locate(on("07", 'C')), (located{0, on("23", 'C')}));
    module_probe::reset();
    write_on_disk("24", "H2cdef20150102opqrstCother0");
    EXPECT_EQ(locate(on("07", 'C', "other0")), (located{1026, on("07", 'C', "other0")}));
}

TEST_F(LocateTest, NowhereIsNotFound) {
    EXPECT_EQ(locate(on("02", 'C')), (located{1026, on("02", 'C')}));
    const call_log calls = module_probe::calls();
    ASSERT_EQ(calls.size(), 48u); // 24 disks, both letters
    EXPECT_EQ(calls[46], stat_of(on("23", 'L')));
    EXPECT_EQ(calls[47], stat_of(on("23", 'C')));
}

TEST_F(LocateTest, DiskNumberThatNoDiskHasIsTriedFirst) {
    write_on_disk("00", name_c);
    EXPECT_EQ(locate(on("99", 'C')), (located{0, on("00", 'C')}));
    EXPECT_EQ(module_probe::calls(), (call_log{stat_of(on("99", 'C')), stat_of(on("99", 'L')),
                                               stat_of(on("00", 'L')), stat_of(on("00", 'C'), 0)}));
}

TEST_F(LocateTest, PictureKeepsItsLetter) {
    const std::string picture = "vw.jpg";
    write_on_disk("01", "H2cdef20150102opqrstBvw.jpg");
    EXPECT_EQ(locate(on("03", 'B', picture)), (located{0, on("01", 'B', picture)}));
    EXPECT_EQ(module_probe::calls(),
              (call_log{stat_of(on("03", 'B', picture)), stat_of(on("00", 'B', picture)),
                        stat_of(on("01", 'B', picture), 0)}));
}

TEST_F(LocateTest, MissingPictureGivesTheLastResultOfTheFileSystem) {
    module_probe::fail("Stat", 24, -77);
    EXPECT_EQ(locate(on("03", 'B', "vw.jpg")).result, -77);
    EXPECT_EQ(module_probe::calls().size(), 24u);
    EXPECT_EQ(locate(on("03", 'B', "vw.jpg")).result, -1);
}

TEST_F(LocateTest, AnythingButZeroIsAFailure) {
    write_on_disk("02", name_c);
    write_on_disk("02", "H2cdef20150102opqrstLvwxyz0");
    module_probe::fail("Stat", 1, 5);
    EXPECT_EQ(locate(on("02", 'C')), (located{0, on("02", 'L')}));
}

TEST_F(LocateTest, FailureOnTheFilesOwnDiskIsNotMadeGood) {
    write_on_disk("02", name_c);
    module_probe::fail("Stat", 1);
    EXPECT_EQ(locate(on("02", 'C')), (located{1026, on("02", 'C')})); // its own disk is not tried again
    EXPECT_EQ(module_probe::calls().size(), 48u);
}

TEST_F(LocateTest, OtherPrefixesCarryTheirDiskToo) {
    EXPECT_EQ(locate("/mnt/cdrom2/no such file"), (located{1026, "/mnt/cdrom2/no such file"}));
    call_log calls = module_probe::calls();
    ASSERT_EQ(calls.size(), 48u);
    EXPECT_EQ(calls[0], stat_of("/mnt/cdrom2/no such file"));
    EXPECT_EQ(calls[1], stat_of("/mnt/cdrom2/no such file")); // too short for a letter
    EXPECT_EQ(calls[2], stat_of("/mnt/cdrom0/no such file"));
    EXPECT_EQ(calls[47], stat_of("/mnt/cdromn/no such file"));
    module_probe::reset();
    EXPECT_EQ(locate("/mnt/sata/5/no.jpg"), (located{-1, "/mnt/sata/5/no.jpg"}));
    calls = module_probe::calls();
    ASSERT_EQ(calls.size(), 24u);
    EXPECT_EQ(calls[0], stat_of("/mnt/sata/5/no.jpg"));
    EXPECT_EQ(calls[1], stat_of("/mnt/sata/0/no.jpg"));
    EXPECT_EQ(calls[23], stat_of("/mnt/sata/n/no.jpg"));
}

TEST_F(LocateTest, PathWithoutADiskIsRefused) {
    vfs_stat_record record = {};
    EXPECT_EQ(rec_Stat(nullptr, &record), 1099);
    for (const char* path :
         {"", "/mnt/usb/a/1/20150102/x", "/mnt/nfs/x", "/tmp/x", "H2cdef20150102opqrstCvwxyz0"})
        EXPECT_EQ(locate(path), (located{1099, path}));
    EXPECT_TRUE(module_probe::calls().empty());
}

TEST_F(LocateTest, PathHasLessThan128Characters) {
    const std::string longest = on("02", 'C') + std::string(127 - 50, 'z');
    ASSERT_EQ(longest.size(), 127u);
    EXPECT_EQ(locate(longest), (located{1026, longest}));
    module_probe::reset();
    std::vector<char> longer(200, 'z');
    std::memcpy(longer.data(), longest.data(), longest.size());
    longer[128] = '\0';
    vfs_stat_record record = {};
    EXPECT_EQ(rec_Stat(longer.data(), &record), 1099);
    longer[128] = 'z';
    longer[199] = '\0';
    EXPECT_EQ(rec_Stat(longer.data(), &record), 1099);
    EXPECT_TRUE(module_probe::calls().empty());
}

TEST_F(LocateTest, StatRecordIsOptional) {
    write_on_disk("04", name_c);
    char path[128];
    std::strcpy(path, on("02", 'C').c_str());
    EXPECT_EQ(rec_Stat(path, nullptr), 0);
    EXPECT_EQ(path, on("04", 'C'));
}

// A module whose recordings have channels, which plain files have not.
int32_t stat_with_channel(const char* path, vfs_stat_record* record) {
    for (const uint8_t* byte = record->Reserved0; byte < record->Reserved0 + sizeof *record; ++byte)
        EXPECT_EQ(*byte, 0);
    record->Channel = static_cast<int32_t>(std::strlen(path)) - 100;
    return std::strstr(path, "odd") != nullptr ? -2 : std::strstr(path, "missing") != nullptr ? -1 : 0;
}

class ChannelTest : public LayerTest {
protected:
    void SetUp() override {
        LayerTest::SetUp();
        for (vfs_mount_entry& entry : g_stvfsmnt.Entries)
            entry.Operations.Stat = stat_with_channel;
    }
    void TearDown() override {
        for (size_t i = 0; i < 2; ++i)
            g_stvfsmnt.Entries[i].Operations.Stat = original_[i];
        LayerTest::TearDown();
    }

private:
    decltype(vfs_module_operations::Stat) original_[2] = {g_stvfsmnt.Entries[0].Operations.Stat,
                                                          g_stvfsmnt.Entries[1].Operations.Stat};
};

TEST_F(ChannelTest, OfAFullPathIsTheFileSystems) {
    EXPECT_EQ(rec_FilenameGetChnNum("/a"), 2 - 100);
    EXPECT_EQ(rec_FilenameGetChnNum("/dev/a"), 6 - 100);
    EXPECT_EQ(rec_FilenameGetChnNum("missing"), -1);
    EXPECT_EQ(rec_FilenameGetChnNum("odd"), 3 - 100); // only -1 is a failure
    EXPECT_EQ(rec_FilenameGetChnNum(nullptr), -1);
}

TEST_F(ChannelTest, OfAUsbNameIsOne) {
    EXPECT_EQ(rec_GetFileChn("usb"), 1);
    EXPECT_EQ(rec_GetFileChn("/mnt/usb/a/1/20150102/Ua1def20150102opqrstIvwxyz0"), 1);
    EXPECT_EQ(rec_GetFileChn("H3cdef20150102opqrstIvusbz0"), 1);
}

TEST_F(ChannelTest, OfAShortTextIsZero) {
    EXPECT_EQ(rec_GetFileChn(nullptr), 0);
    EXPECT_EQ(rec_GetFileChn(""), 0);
    EXPECT_EQ(rec_GetFileChn("H3cdef20150102opqrstIvwxyz"), 0); // 26 characters
}

TEST_F(ChannelTest, OfAShortNameIsThatOfItsFullPath) {
    EXPECT_EQ(rec_GetFileChn("H3cdef20150102opqrstIvwxyz0"), 50 - 100);
    EXPECT_EQ(rec_GetFileChn("Nb2def20150102opqrstIvwxyz0"), 45 - 100); // "/mnt/nfs/20150102/" has 18
    EXPECT_EQ(rec_GetFileChn("H3cdef20150102opqrstImissing"), -1);      // 28: taken as a path
}

TEST_F(ChannelTest, OfANameThatCannotBeCompletedIsThatOfTheEmptyPath) {
    EXPECT_EQ(rec_GetFileChn("X3cdef20150102opqrstIvwxyz0"), -100);
}

TEST_F(ChannelTest, OfALongerTextIsThatOfThePath) {
    EXPECT_EQ(rec_GetFileChn("H3cdef20150102opqrstIvwxyz01"), 28 - 100);
    EXPECT_EQ(rec_GetFileChn(("/" + std::string(199, 'a')).c_str()), 100);
}

TEST_F(LocateTest, ChannelOfAShortNameIsLookedForOnItsDiskAlone) {
    write_on_disk("04", "H3cdef20150102opqrstIvwxyz0");
    EXPECT_EQ(rec_GetFileChn("H3cdef20150102opqrstIvwxyz0"), -1);
    EXPECT_EQ(module_probe::calls(),
              (call_log{stat_of("/dev/scsi/host03/part1/H3cdef20150102opqrstIvwxyz0")}));
}

} // namespace
