// Names and paths: what is put together is taken apart again to the same, nothing is written behind a buffer, and a file
// that is found is there.
//
//   u8 disk, u8 part + 1, a name, NUL, a path, NUL, another text
#include "analyse/format/recording_name.h"
#include "file_op/common/file_names.h"
#include "file_op/common/rec_status.h"
#include "file_op/file_times.h"
#include "file_op/locate.h"
#include "fuzz/byte_feed.hpp"
#include "fuzz/memory_disk.hpp"
#include "libvfs/directory_path.hpp"
#include "libvfs/open_mode.hpp"
#include "modules/disk_path.hpp"
#include "tests/campaign/memory_module.hpp"

#include <algorithm>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <string_view>

namespace fuzz {
namespace {

// A buffer of the caller, from the heap, so that a sanitizer sees what is written behind it.
class buffer {
public:
    explicit buffer(size_t size = REC_PATH_SIZE) : bytes_(std::make_unique<char[]>(size)) {
        std::fill_n(bytes_.get(), size, untouched);
        bytes_[size - 1] = 0;
    }
    explicit buffer(const std::string& text) : buffer(text.size() + 1) {
        std::copy(text.begin(), text.end(), bytes_.get());
    }
    char* get() const { return bytes_.get(); }
    std::string_view text() const { return bytes_.get(); }
    bool is_untouched() const { return bytes_[0] == untouched; }

private:
    static constexpr char untouched = '\x01';
    std::unique_ptr<char[]> bytes_;
};

int32_t disk_of(std::string_view path) {
    int32_t stored = 0;
    const int32_t disk = disk_GetDiskNoFromPath(std::string(path).c_str(), &stored);
    // Two digits at the most, each of which may be a letter.
    expect(disk == stored && disk >= -1 && disk <= 35 * 10 + 35, "a disk number is -1 or that of its digits");
    return disk;
}

// --- names ---

void expect_internal_disk(const std::string& name, std::string_view full, std::string_view mount) {
    const int32_t disk = disk_AtoI(name[KMR_NAME_DISK]);
    if (disk > REC_MAX_DISK) {
        expect(mount.empty(), "a disk that there cannot be has no mount path");
        return;
    }
    expect(disk_of(full) == disk, "the disk of a completed name is that of the name");
    const buffer picked;
    expect(rec_PickFileName(std::string(full).c_str(), picked.get()) == REC_OK && picked.text() == name,
           "the name of a completed name is the name");
}

void expect_completed(const std::string& name, const buffer& full, const buffer& directory,
                      const buffer& mount) {
    expect(full.text().starts_with(directory.text()) && directory.text().starts_with(mount.text()),
           "a mount path begins the directory's, and that the full path");
    expect(full.text().substr(directory.text().size()) == "/" + name, "behind the directory stands the name");
    if (name[KMR_NAME_MEDIUM] == 'H')
        expect_internal_disk(name, full.text(), mount.text());
}

void complete(const std::string& name) {
    const buffer full;
    const buffer directory;
    const buffer mount;
    const int32_t result = Common_CompleteFileName(name.c_str(), full.get(), directory.get(), mount.get());
    expect(result == REC_OK || result == REC_BAD_ARGUMENT, "the result of a completion is a documented one");
    expect(result == REC_OK || full.is_untouched(), "a name that is refused writes nothing");
    const bool is_optical = name.size() > KMR_NAME_LENGTH + 1;
    if (result == REC_OK && !is_optical)
        expect_completed(name, full, directory, mount);
    if (is_optical) {
        expect(directory.is_untouched() && mount.is_untouched(), "an optical name fills the full path alone");
        expect(full.is_untouched() || full.text() == "/mnt/cdrom" + name.substr(1, 1) + "/" + name.substr(2),
               "which holds drive and name");
    }
    const int32_t valid = Common_IsValidFileName(name.c_str());
    expect(valid == 0 || (valid == 1 && name.size() > KMR_NAME_RECORD_TYPE), "a name is valid or not");
}

// --- disks ---

void number_disk(const std::string& path, int32_t disk) {
    const buffer changed(path);
    const int32_t result = disk_SetDiskNoToPath(changed.get(), disk);
    expect(changed.text().size() == path.size(), "another disk number leaves the length");
    if (result != 0 || disk_of(path) == -1) {
        expect(changed.text() == path, "a path without a disk stays as it is");
        return;
    }
    expect(changed.text() == path || disk_of(changed.text()) == disk,
           "a disk number that is set is read back");
    const int32_t before = disk_of(path);
    if (before > REC_MAX_DISK)
        return;
    const buffer back{std::string(changed.text())};
    disk_SetDiskNoToPath(back.get(), before);
    expect(disk_of(back.text()) == before, "and so is the one from before");
}

void make_device_path(int32_t disk, int32_t part) {
    const buffer path(REC_DEVICE_PATH_SIZE);
    if (disk_SATADevicePath(path.get(), disk, part) != REC_OK) {
        expect(path.is_untouched(), "a device that there cannot be writes nothing");
        return;
    }
    expect(disk_of(path.text()) == disk, "the disk of a device path is read back");
    const buffer same{std::string(path.text())};
    disk_SetDiskNoToPath(same.get(), disk);
    expect(same.text() == path.text(), "and set to the same");
    if (part == 0) {
        const buffer mount(REC_DEVICE_PATH_SIZE);
        expect(disk_SATAZNFSMountPath(mount.get(), disk) == REC_OK && mount.text() == path.text(),
               "a disk is mounted at its first partition");
    }
}

void read_digit(int32_t value) {
    const char digit = disk_ItoA(value);
    expect(value < 26 ? disk_AtoI(digit) == value : digit == '?', "a digit is read back");
}

// --- paths of the layer and of the modules ---

void take_file_name(const std::string& path) {
    const buffer name(path);
    const int32_t result = extract_file_name(name.get());
    if (path.size() > 255) {
        expect(result == -1 && name.text() == path, "a path that is too long stays as it is");
        return;
    }
    const size_t slash = path.empty() ? std::string::npos : path.rfind('/');
    const std::string_view expected = slash == std::string::npos || slash == 0
                                          ? std::string_view(path).substr(std::min<size_t>(1, path.size()))
                                          : std::string_view(path).substr(slash + 1);
    expect(result == 0 && name.text() == expected, "what stands behind the last slash is taken");
}

void take_directory_apart(const std::string& path) {
    kmr::directory_path taken;
    if (!taken.parse(path.c_str()))
        return;
    const std::string base = taken.base();
    expect(base.starts_with('/') && base.ends_with('/'), "a base path stands between slashes");
    kmr::directory_path again;
    expect(again.parse((base + std::to_string(taken.number())).c_str()),
           "what was taken apart is a path again");
    expect(again.base() == base && again.number() == taken.number(), "and the same one");
}

void place_on_host(const std::string& path) {
    constexpr std::string_view disks = "/dev/scsi/";
    const kmr::plain::disk_path placed(path.c_str());
    const std::string expected = path.starts_with(disks) ? "disks/" + path.substr(disks.size()) : path;
    expect(placed.host() == (expected.size() < PATH_MAX ? expected : ""), "disks stand below their folder");
}

void open_mode(const std::string& mode) {
    const auto flags = kmr::open_flags(mode.c_str());
    constexpr int32_t known[] = {O_CREAT, O_RDWR | O_CREAT, O_RDONLY, O_APPEND, O_WRONLY | O_CREAT};
    expect(!flags || std::find(std::begin(known), std::end(known), *flags) != std::end(known),
           "a mode has flags of its own");
    expect(!flags || mode.size() < 16, "a mode is short");
}

// --- files that may have moved ---

// The file stands where `path` says, but on that disk.
void find_moved(const std::string& path, int32_t disk) {
    const buffer stored(path);
    disk_SetDiskNoToPath(stored.get(), disk);
    const memory_disk empty({}, {200, 0});
    memory_module::put(std::string(stored.text()), {});
    const buffer sought(std::max<size_t>(REC_PATH_SIZE, path.size() + 1));
    std::memcpy(sought.get(), path.c_str(), path.size() + 1);
    vfs_stat_record record = {};
    const int32_t result = rec_Stat(sought.get(), &record);
    if (result == 0)
        expect(memory_module::find(std::string(sought.text())) != nullptr, "a file that is found is there");
    else
        expect(sought.text() == path, "one that is not found leaves the path");
    // From 43 characters on the letter of the record type is changed on the way, too; and what is no digit counts as 0,
    // so that disk 0 has been looked at.
    const bool is_given = stored.text() == path || disk_of(path) != disk;
    const bool can_be_found = disk_of(path) != -1 && path.size() < 43 && is_given;
    expect(result == 0 || !can_be_found || disk_of(stored.text()) != disk, "a file that is there is found");
}

void ask_by_name(const std::string& name) {
    const memory_disk empty({}, {200, 0});
    uint32_t time = 1;
    const int32_t stop = rec_GetFileStopTime(name.c_str(), &time);
    expect(stop == REC_OK || time == 0, "a time that is not known is 0");
    const int32_t start = rec_GetFileStartTime(name.c_str(), &time);
    expect(start == REC_OK || time == 0, "the start time too");
    const int32_t channel = rec_GetFileChn(name.c_str());
    expect(channel >= -1, "a channel is a number or unknown");
}

} // namespace

void run(input data) {
    byte_feed feed(data);
    const int32_t disk = feed.u8();
    const int32_t part = feed.u8() - 1;
    const std::string name = feed.text(300);
    const std::string path = feed.text(400);
    const std::string text(feed.rest().begin(), std::find(feed.rest().begin(), feed.rest().end(), 0));
    complete(name);
    number_disk(path, disk);
    make_device_path(disk, part);
    read_digit(disk);
    take_file_name(path);
    take_directory_apart(path);
    open_mode(name);
    place_on_host(text);
    find_moved(path, disk);
    ask_by_name(name);
}

std::vector<seed> seeds() {
    const auto with = [](uint8_t disk, const std::string& texts) {
        bytes content(2);
        content[0] = disk;
        content[1] = 1; // part 0
        recording::append(content, bytes(texts.begin(), texts.end()));
        return content;
    };
    using namespace std::string_literals;
    return {
        {"internal",
         with(3, "H3200020150102030405I000042\0/dev/scsi/host03/part1/H3200020150102030405I000042\0a"s)},
        {"usb", with(1, "U1a00020150102030405N000042\0/mnt/usb/1/a/20150102/x\0/dev/scsi/host01/part1/3"s)},
        {"network", with(23, "N1a00020150102030405B0000.jpg\0/mnt/sata7/20150102/name.jpg\0/dev/sda1/3"s)},
        {"optical", with(24, "C1H3200020150102030405L000042\0/mnt/cdrom1/H3200020150102030405L000042\0r+b"s)},
        {"mode", with(0, "rb+\0/dev/sda1/3\0"s)},
    };
}

} // namespace fuzz
