#include "file_op/common/file_names.h"

#include "file_op/common/rec_status.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>

namespace {

// Positions:                    0         1         2
//                               012345678901234567890123456
const std::string disk_name = "H3cdef20150102opqrstIvwxyz0";
const std::string usb_name = "Ua1def20150102opqrstIvwxyz0";
const std::string network_name = "Nb2def20150102opqrstIvwxyz0";

std::string with(std::string text, size_t position, char letter) {
    text.at(position) = letter;
    return text;
}

// A caller's buffer, filled so that it shows what was written.
class buffer {
public:
    buffer() { bytes_.fill('#'); }
    explicit buffer(const std::string& text) : buffer() { std::strcpy(bytes_.data(), text.c_str()); }
    operator char*() { return bytes_.data(); }
    std::string text() const { return bytes_.data(); }
    bool is_untouched() const { return bytes_ == buffer().bytes_; }
    bool is_untouched_behind(size_t length) const {
        for (size_t i = length + 1; i < bytes_.size(); ++i)
            if (bytes_[i] != '#')
                return false;
        return true;
    }

private:
    std::array<char, 128> bytes_;
};

struct completion {
    int status;
    std::string full;
    std::string directory;
    std::string mount;
    bool operator==(const completion&) const = default;
};

std::ostream& operator<<(std::ostream& out, const completion& of) {
    return out << of.status << " \"" << of.full << "\" \"" << of.directory << "\" \"" << of.mount << '"';
}

// An output that was not written shows as "#".
completion complete(const std::string& name) {
    buffer full, directory, mount;
    const int status = Common_CompleteFileName(name.c_str(), full, directory, mount);
    const auto shown = [](const buffer& each) {
        return each.is_untouched() ? std::string("#") : each.text();
    };
    return {status, shown(full), shown(directory), shown(mount)};
}

const completion refused = {1010, "#", "#", "#"};
const completion ignored = {1001, "#", "#", "#"};

TEST(FileNameTest, IsValidByMediumAndRecordTypeAlone) {
    for (int letter = 1; letter < 256; ++letter) {
        const char c = static_cast<char>(letter);
        EXPECT_EQ(Common_IsValidFileName(with(disk_name, 0, c).c_str()), c == 'U' || c == 'H' || c == 'N')
            << letter;
        const bool is_type = c == 'I' || c == 'N' || c == 'C' || c == 'L' || c == 'B';
        EXPECT_EQ(Common_IsValidFileName(with(disk_name, 20, c).c_str()), is_type) << letter;
    }
    EXPECT_EQ(Common_IsValidFileName("H???????????????????I"), 1);
    EXPECT_EQ(Common_IsValidFileName("H???????????????????I and any length of text behind it"), 1);
}

TEST(FileNameTest, IsNotValidWhenItEndsBeforeItsRecordType) {
    EXPECT_EQ(Common_IsValidFileName(nullptr), 0);
    for (size_t length = 0; length < 21; ++length) {
        // What stands behind the end would be a valid type.
        std::string name = disk_name;
        name[length] = '\0';
        name[20] = length == 20 ? '\0' : 'I';
        EXPECT_EQ(Common_IsValidFileName(name.c_str()), 0) << length;
    }
    EXPECT_EQ(Common_IsValidFileName(disk_name.substr(0, 21).c_str()), 1);
}

TEST(CompleteFileNameTest, OnEachMedium) {
    EXPECT_EQ(complete(network_name), (completion{1001, "/mnt/nfs/20150102/Nb2def20150102opqrstIvwxyz0",
                                                  "/mnt/nfs/20150102", "/mnt/nfs"}));
    EXPECT_EQ(complete(disk_name), (completion{1001, "/dev/scsi/host03/part1/H3cdef20150102opqrstIvwxyz0",
                                               "/dev/scsi/host03/part1", "/dev/scsi/host03/part1"}));
    EXPECT_EQ(complete(usb_name), (completion{1001, "/mnt/usb/a/1/20150102/Ua1def20150102opqrstIvwxyz0",
                                              "/mnt/usb/a/1/20150102", "/mnt/usb/a/1"}));
}

TEST(CompleteFileNameTest, DiskDigitIsBase36) {
    EXPECT_EQ(complete(with(disk_name, 1, '0')).mount, "/dev/scsi/host00/part1");
    EXPECT_EQ(complete(with(disk_name, 1, 'a')).mount, "/dev/scsi/host10/part1");
    EXPECT_EQ(complete(with(disk_name, 1, 'N')).mount, "/dev/scsi/host23/part1");
    EXPECT_EQ(complete(with(disk_name, 1, '-')).mount, "/dev/scsi/host00/part1");
}

TEST(CompleteFileNameTest, DiskBeyond23LeavesTheMountPathEmpty) {
    EXPECT_EQ(complete("Hocdef20150102opqrstIvwxyz0"),
              (completion{1001, "/Hocdef20150102opqrstIvwxyz0", "", ""}));
    EXPECT_EQ(complete("Hpcdef20150102opqrstIvwxyz0"),
              (completion{1001, "/Hpcdef20150102opqrstIvwxyz0", "", ""}));
    EXPECT_EQ(complete("HZcdef20150102opqrstIvwxyz0"),
              (completion{1001, "/HZcdef20150102opqrstIvwxyz0", "", ""}));
}

TEST(CompleteFileNameTest, TypeBHasNoDateDirectoryUnlessItIsAPicture) {
    EXPECT_EQ(complete("Nb2def20150102opqrstBvwxyz0"),
              (completion{1001, "/mnt/nfs/Nb2def20150102opqrstBvwxyz0", "/mnt/nfs", "/mnt/nfs"}));
    EXPECT_EQ(complete("Ua1def20150102opqrstBvwxyz0"),
              (completion{1001, "/mnt/usb/a/1/Ua1def20150102opqrstBvwxyz0", "/mnt/usb/a/1", "/mnt/usb/a/1"}));
    EXPECT_EQ(
        complete("Nb2def20150102opqrstBvw.jpg"),
        (completion{1001, "/mnt/nfs/20150102/Nb2def20150102opqrstBvw.jpg", "/mnt/nfs/20150102", "/mnt/nfs"}));
    EXPECT_EQ(complete("H3cdef20150102opqrstBvw.jpg"),
              (completion{1001, "/dev/scsi/host03/part1/H3cdef20150102opqrstBvw.jpg",
                          "/dev/scsi/host03/part1", "/dev/scsi/host03/part1"}));
    for (const char type : {'I', 'N', 'C', 'L'})
        EXPECT_EQ(complete(with(network_name, 20, type)).directory, "/mnt/nfs/20150102") << type;
}

TEST(CompleteFileNameTest, RefusesWhatIsNotAName) {
    EXPECT_EQ(Common_CompleteFileName(nullptr, nullptr, nullptr, nullptr), 1010);
    EXPECT_EQ(complete(""), refused);
    EXPECT_EQ(complete("H"), refused);
    EXPECT_EQ(complete(with(disk_name, 0, 'X')), refused);
    EXPECT_EQ(complete(with(disk_name, 0, 'C')), refused);
    EXPECT_EQ(complete(with(disk_name, 20, 'Z')), refused);
    EXPECT_EQ(complete(disk_name.substr(0, 20)), refused);
}

TEST(CompleteFileNameTest, LengthDecides) {
    EXPECT_EQ(complete(disk_name + "1"), refused); // 28 characters
    EXPECT_EQ(complete(disk_name + "12"), ignored);
    EXPECT_EQ(complete(disk_name.substr(0, 21)).full, "/dev/scsi/host03/part1/H3cdef20150102opqrstI");
    EXPECT_EQ(complete(network_name.substr(0, 26)).full, "/mnt/nfs/20150102/Nb2def20150102opqrstIvwxyz");
}

TEST(CompleteFileNameTest, OpticalNameFillsTheFullPathAlone) {
    EXPECT_EQ(complete("C7" + disk_name),
              (completion{1001, "/mnt/cdrom7/H3cdef20150102opqrstIvwxyz0", "#", "#"}));
    EXPECT_EQ(complete("C0" + usb_name + ".more"),
              (completion{1001, "/mnt/cdrom0/Ua1def20150102opqrstIvwxyz0.more", "#", "#"}));
}

TEST(CompleteFileNameTest, UnusableLongNameIsNoError) {
    EXPECT_EQ(complete("C7" + with(disk_name, 0, 'X')), ignored);
    EXPECT_EQ(complete("C7" + with(disk_name, 20, 'Z') + "1"), ignored); // 30 characters
    EXPECT_EQ(complete("D7" + disk_name), ignored);
    EXPECT_EQ(complete("c7" + disk_name), ignored);
    EXPECT_EQ(complete("/dev/scsi/host03/part1/" + disk_name), ignored);
}

TEST(CompleteFileNameTest, OpticalPathThatDoesNotFitIsUnusable) {
    // "/mnt/cdrom7/" has 12 characters; 115 more and the terminator make 128.
    const std::string longest = disk_name + std::string(115 - 27, 'z');
    EXPECT_EQ(complete("C7" + longest), (completion{1001, "/mnt/cdrom7/" + longest, "#", "#"}));
    EXPECT_EQ(complete("C7" + longest + "z"), ignored);
    EXPECT_EQ(complete("C7" + disk_name + std::string(5000, 'z')), ignored);
}

TEST(CompleteFileNameTest, EveryOutputIsOptional) {
    buffer full, directory, mount;
    EXPECT_EQ(Common_CompleteFileName(usb_name.c_str(), full, nullptr, nullptr), 1001);
    EXPECT_EQ(Common_CompleteFileName(usb_name.c_str(), nullptr, directory, nullptr), 1001);
    EXPECT_EQ(Common_CompleteFileName(usb_name.c_str(), nullptr, nullptr, mount), 1001);
    EXPECT_EQ(Common_CompleteFileName(usb_name.c_str(), nullptr, nullptr, nullptr), 1001);
    EXPECT_EQ(Common_CompleteFileName(("C7" + usb_name).c_str(), nullptr, directory, mount), 1001);
    EXPECT_EQ(full.text(), "/mnt/usb/a/1/20150102/Ua1def20150102opqrstIvwxyz0");
    EXPECT_EQ(directory.text(), "/mnt/usb/a/1/20150102");
    EXPECT_EQ(mount.text(), "/mnt/usb/a/1");
    EXPECT_TRUE(full.is_untouched_behind(49));
    EXPECT_TRUE(directory.is_untouched_behind(21));
    EXPECT_TRUE(mount.is_untouched_behind(12));
}

TEST(DiskDigitTest, IsReadInBase36OfEitherCase) {
    const std::string digits = "0123456789abcdefghijklmnopqrstuvwxyz";
    const std::string capitals = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    for (int c = 0; c < 256; ++c) {
        const char letter = static_cast<char>(c);
        size_t value = digits.find(letter);
        if (value == std::string::npos)
            value = capitals.find(letter);
        const int expected = value == std::string::npos ? 0 : static_cast<int>(value);
        EXPECT_EQ(disk_AtoI(letter), expected) << c;
        EXPECT_EQ(rec_Atoi(letter), expected) << c;
    }
    EXPECT_EQ(disk_AtoI('Z'), 35);
    EXPECT_EQ(disk_AtoI('-'), 0);
}

TEST(DiskDigitTest, IsWrittenUpTo25) {
    const std::string digits = "0123456789abcdefghijklmnop";
    for (int value = 0; value < 26; ++value)
        EXPECT_EQ(disk_ItoA(value), digits[static_cast<size_t>(value)]);
    EXPECT_EQ(disk_ItoA(9), '9');
    EXPECT_EQ(disk_ItoA(10), 'a');
    EXPECT_EQ(disk_ItoA(25), 'p');
    for (const int value : {26, 36, 256, -1, 2147483647, -2147483647 - 1})
        EXPECT_EQ(disk_ItoA(value), '?') << value;
}

// Callers have them compiled in.
TEST(PathBufferTest, HasAPublishedSize) {
    EXPECT_EQ(REC_PATH_SIZE, 128);
    EXPECT_EQ(REC_DEVICE_PATH_SIZE, 32);
}

TEST(DevicePathTest, OfDiskAndPartition) {
    const auto path = [](int disk, int part) {
        buffer written;
        EXPECT_EQ(disk_SATADevicePath(written, disk, part), 1001);
        EXPECT_TRUE(written.is_untouched_behind(written.text().size()));
        return written.text();
    };
    EXPECT_EQ(path(0, -1), "/dev/scsi/host00/");
    EXPECT_EQ(path(23, -1), "/dev/scsi/host23/");
    EXPECT_EQ(path(7, 0), "/dev/scsi/host07/part1");
    EXPECT_EQ(path(7, 1), "/dev/scsi/host07/part2");
    EXPECT_EQ(path(12, 3), "/dev/scsi/host12/part4");
}

TEST(DevicePathTest, RefusesWhatDoesNotExist) {
    buffer path;
    EXPECT_EQ(disk_SATADevicePath(nullptr, 0, 0), 1010);
    EXPECT_EQ(disk_SATADevicePath(path, -1, 0), 1010);
    EXPECT_EQ(disk_SATADevicePath(path, 24, 0), 1010);
    EXPECT_EQ(disk_SATADevicePath(path, 0, -2), 1010);
    EXPECT_EQ(disk_SATADevicePath(path, 0, 4), 1010);
    EXPECT_TRUE(path.is_untouched());
}

TEST(MountPathTest, IsTheFirstPartition) {
    buffer path;
    EXPECT_EQ(disk_SATAZNFSMountPath(path, 0), 1001);
    EXPECT_EQ(path.text(), "/dev/scsi/host00/part1");
    EXPECT_EQ(disk_SATAZNFSMountPath(path, 23), 1001);
    EXPECT_EQ(path.text(), "/dev/scsi/host23/part1");
}

TEST(MountPathTest, RefusalEmptiesTheBufferButNotForDisk24) {
    for (const int disk : {-1, 25, 99}) {
        buffer path("old");
        EXPECT_EQ(disk_SATAZNFSMountPath(path, disk), 1010) << disk;
        EXPECT_EQ(path.text(), "") << disk;
    }
    buffer path("old");
    EXPECT_EQ(disk_SATAZNFSMountPath(path, 24), 1010);
    EXPECT_EQ(path.text(), "old");
    EXPECT_EQ(disk_SATAZNFSMountPath(nullptr, 3), 1010);
}

int disk_of(const std::string& path) {
    int32_t stored = 77;
    const int result = disk_GetDiskNoFromPath(path.c_str(), &stored);
    EXPECT_EQ(stored, result) << path;
    EXPECT_EQ(disk_GetDiskNoFromPath(path.c_str(), nullptr), result) << path;
    return result;
}

TEST(DiskNumberTest, IsReadFromAPath) {
    EXPECT_EQ(disk_of("/dev/scsi/host12/part1/x"), 12);
    EXPECT_EQ(disk_of("/dev/scsi/host00/part1/x"), 0);
    EXPECT_EQ(disk_of("/dev/scsi/host99/part1/x"), 99);
    EXPECT_EQ(disk_of("/dev/scsi/hosta1"), 101);
    EXPECT_EQ(disk_of("/dev/scsi/host/x"), 33); // '/' is 0, 'x' is 33
    EXPECT_EQ(disk_of("/mnt/sata/5/x"), 5);
    EXPECT_EQ(disk_of("/mnt/sataXb/x"), 11);
    EXPECT_EQ(disk_of("/mnt/cdrom7/x"), 7);
    EXPECT_EQ(disk_of("/mnt/cdromn/x"), 23);
}

TEST(DiskNumberTest, IsMinus1InAnyOtherPath) {
    EXPECT_EQ(disk_of("/mnt/usb/a/1/x"), -1);
    EXPECT_EQ(disk_of("/mnt/nfs/x"), -1);
    EXPECT_EQ(disk_of("/mnt/sat"), -1);
    EXPECT_EQ(disk_of("/dev/scsi/hos"), -1);
    EXPECT_EQ(disk_of(" /mnt/cdrom7/x"), -1);
    EXPECT_EQ(disk_of(""), -1);
    int32_t stored = 77;
    EXPECT_EQ(disk_GetDiskNoFromPath(nullptr, &stored), -1);
    EXPECT_EQ(stored, -1);
}

TEST(DiskNumberTest, MissingDigitsCountAsZero) {
    EXPECT_EQ(disk_of("/mnt/sata"), 0);
    EXPECT_EQ(disk_of("/mnt/sata/"), 0);
    EXPECT_EQ(disk_of("/mnt/cdrom"), 0);
    EXPECT_EQ(disk_of("/dev/scsi/host"), 0);
    EXPECT_EQ(disk_of("/dev/scsi/host1"), 10);
}

std::string renumbered(const std::string& path, int disk, int result = 0) {
    buffer changed(path);
    EXPECT_EQ(disk_SetDiskNoToPath(changed, disk), result) << path;
    EXPECT_TRUE(changed.is_untouched_behind(path.size()));
    return changed.text();
}

TEST(DiskNumberTest, IsWrittenIntoAPath) {
    EXPECT_EQ(renumbered("/dev/scsi/host12/part1/x", 7), "/dev/scsi/host07/part1/x");
    EXPECT_EQ(renumbered("/dev/scsi/host12/part1/x", 23), "/dev/scsi/host23/part1/x");
    EXPECT_EQ(renumbered("/dev/scsi/host12", 0), "/dev/scsi/host00");
    EXPECT_EQ(renumbered("/mnt/sata/5/x", 9), "/mnt/sata/9/x");
    EXPECT_EQ(renumbered("/mnt/sata/5/x", 10), "/mnt/sata/a/x");
    EXPECT_EQ(renumbered("/mnt/sataX", 3), "/mnt/sataX");
    EXPECT_EQ(renumbered("/mnt/cdrom7/x", 23), "/mnt/cdromn/x");
}

TEST(DiskNumberTest, PathWithoutOneStaysAsItIs) {
    for (const std::string path : {"/mnt/usb/a/1/x", "x", "/mnt/sata", "/mnt/sata/", "/mnt/cdrom",
                                   "/dev/scsi/host", "/dev/scsi/host1"})
        EXPECT_EQ(renumbered(path, 5), path);
}

TEST(DiskNumberTest, IsRefusedOutOfRange) {
    EXPECT_EQ(renumbered("/dev/scsi/host12/x", 24, -1), "/dev/scsi/host12/x");
    EXPECT_EQ(renumbered("/dev/scsi/host12/x", -1, -1), "/dev/scsi/host12/x");
    EXPECT_EQ(renumbered("/mnt/usb/x", 24, -1), "/mnt/usb/x");
    EXPECT_EQ(renumbered("", 5, -1), "");
    EXPECT_EQ(disk_SetDiskNoToPath(nullptr, 5), -1);
}

TEST(PickFileNameTest, StartsAtTheFirstH) {
    buffer name;
    EXPECT_EQ(rec_PickFileName(("/dev/scsi/host03/part1/" + disk_name).c_str(), name), 1001);
    EXPECT_EQ(name.text(), disk_name);
    EXPECT_TRUE(name.is_untouched_behind(27));
    EXPECT_EQ(rec_PickFileName(("/mnt/High/" + disk_name).c_str(), name), 1001);
    EXPECT_EQ(name.text(), "High/" + disk_name);
    EXPECT_EQ(rec_PickFileName("aH", name), 1001);
    EXPECT_EQ(name.text(), "H");
}

TEST(PickFileNameTest, NeedsAnH) {
    buffer name;
    EXPECT_EQ(rec_PickFileName("/dev/scsi/host03/part1/Ux", name), 1099);
    EXPECT_EQ(rec_PickFileName("", name), 1099);
    EXPECT_EQ(rec_PickFileName(nullptr, name), 1099);
    EXPECT_EQ(rec_PickFileName("H", nullptr), 1099);
    EXPECT_TRUE(name.is_untouched());
}

TEST(PickFileNameTest, IsCutToAPathBuffer) {
    buffer name;
    EXPECT_EQ(rec_PickFileName(("/H" + std::string(500, 'z')).c_str(), name), 1001);
    EXPECT_EQ(name.text(), "H" + std::string(126, 'z'));
}

} // namespace
