#include "file_op/common/file_names.h"

#include "file_op/common/rec_status.h"

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace {

constexpr const char* optical_mount = "/mnt/cdrom";
constexpr const char* sata_mount = "/mnt/sata";
constexpr const char* scsi_device = "/dev/scsi/host";

constexpr size_t refused_length = 28;
constexpr size_t optical_drive = 1;
constexpr size_t optical_lead = 2; // 'C' and the drive stand before the short name
constexpr size_t shortest_optical_name = optical_lead + KMR_NAME_LENGTH;
static_assert(refused_length == KMR_NAME_LENGTH + 1, "between the two kinds of names");

// Where a path that begins with `prefix` carries its disk number, most significant digit first.
struct disk_number_place {
    const char* prefix;
    size_t position;
    size_t digits;
    int32_t base; // of the digits
};

constexpr disk_number_place disk_number_places[] = {
    {sata_mount, 10, 1, 36},
    {scsi_device, 14, 2, 10},
    {optical_mount, 10, 1, 36},
};

const disk_number_place* find_disk_number(const char* path) {
    for (const disk_number_place& place : disk_number_places)
        if (std::strncmp(path, place.prefix, std::strlen(place.prefix)) == 0)
            return &place;
    return nullptr;
}

bool is_empty(const char* text) {
    return text == nullptr || *text == '\0';
}

bool contains(std::string_view letters, char letter) {
    return letters.find(letter) != letters.npos;
}

void put(char* to, std::string_view text) {
    std::memcpy(to, text.data(), text.size());
    to[text.size()] = '\0';
}

void put_if_wanted(char* to, std::string_view text) {
    if (to != nullptr)
        put(to, text);
}

// Adds "/" and the element to a path of `length` characters; returns its new length. A mount path, a date directory
// and a short name fit any path buffer.
size_t append(char* path, size_t length, std::string_view element) {
    path[length] = '/';
    put(path + length + 1, element);
    return length + 1 + element.size();
}

void complete_optical_name(const char* name, char* full) {
    const char* short_name = name + optical_lead;
    if (full == nullptr || name[0] != 'C' || Common_IsValidFileName(short_name) == 0)
        return;
    if (std::strlen(optical_mount) + 2 + std::strlen(short_name) >= REC_PATH_SIZE)
        return;
    std::snprintf(full, REC_PATH_SIZE, "%s%c/%s", optical_mount, name[optical_drive], short_name);
}

void write_mount_path(const char* name, char* mount) {
    mount[0] = '\0'; // stays empty for a disk that is refused, which is not an error
    if (name[KMR_NAME_MEDIUM] == 'H')
        disk_SATAZNFSMountPath(mount, disk_AtoI(name[KMR_NAME_DISK]));
    else if (name[KMR_NAME_MEDIUM] == 'U')
        std::snprintf(mount, REC_PATH_SIZE, "/mnt/usb/%c/%c", name[KMR_NAME_DISK], name[KMR_NAME_PARTITION]);
    else
        put(mount, "/mnt/nfs");
}

bool lies_in_date_directory(const char* name) {
    if (name[KMR_NAME_MEDIUM] == 'H')
        return false;
    return std::strstr(name, ".jpg") != nullptr || name[KMR_NAME_RECORD_TYPE] != 'B';
}

} // namespace

int32_t Common_IsValidFileName(const char* name) {
    if (name == nullptr || strnlen(name, KMR_NAME_RECORD_TYPE + 1) <= KMR_NAME_RECORD_TYPE)
        return 0;
    return contains("UHN", name[KMR_NAME_MEDIUM]) && contains("INCLB", name[KMR_NAME_RECORD_TYPE]) ? 1 : 0;
}

int32_t Common_CompleteFileName(const char* name, char* full, char* directory, char* mount) {
    if (is_empty(name))
        return REC_BAD_ARGUMENT;
    const size_t length = std::strlen(name);
    if (length >= shortest_optical_name) {
        complete_optical_name(name, full);
        return REC_OK; // of an unusable long name too: only the untouched output tells
    }
    if (Common_IsValidFileName(name) == 0 || length == refused_length)
        return REC_BAD_ARGUMENT;

    // The mount path begins the directory path, which begins the full path.
    char path[REC_PATH_SIZE];
    write_mount_path(name, path);
    const size_t mount_length = std::strlen(path);
    size_t directory_length = mount_length;
    if (lies_in_date_directory(name))
        directory_length = append(path, mount_length, {name + KMR_NAME_DATE, KMR_NAME_DATE_LENGTH});
    append(path, directory_length, name);

    put_if_wanted(mount, {path, mount_length});
    put_if_wanted(directory, {path, directory_length});
    put_if_wanted(full, path);
    return REC_OK;
}

int32_t disk_AtoI(char digit) {
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'a' && digit <= 'z')
        return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'Z')
        return digit - 'A' + 10;
    return 0;
}

int32_t rec_Atoi(char digit) {
    return disk_AtoI(digit);
}

char disk_ItoA(int32_t value) {
    constexpr std::string_view digits = "0123456789abcdefghijklmnop";
    const auto place = static_cast<size_t>(value); // of a negative value behind every digit
    return place < digits.size() ? digits[place] : '?';
}

int32_t disk_SATADevicePath(char* path, int32_t disk, int32_t part) {
    if (path == nullptr || disk < 0 || disk > REC_MAX_DISK || part < -1 || part > 3)
        return REC_BAD_ARGUMENT;
    if (part == -1)
        std::snprintf(path, REC_DEVICE_PATH_SIZE, "%s%02d/", scsi_device, disk);
    else
        std::snprintf(path, REC_DEVICE_PATH_SIZE, "%s%02d/part%d", scsi_device, disk, part + 1);
    return REC_OK;
}

int32_t disk_SATAZNFSMountPath(char* path, int32_t disk) {
    if (path == nullptr)
        return REC_BAD_ARGUMENT;
    // One more than the device path allows, on purpose: disk 24 is refused there, and the buffer keeps its text.
    if (disk < 0 || disk > REC_MAX_DISK + 1) {
        path[0] = '\0';
        return REC_BAD_ARGUMENT;
    }
    return disk_SATADevicePath(path, disk, 0);
}

int32_t disk_GetDiskNoFromPath(const char* path, int32_t* disk) {
    const disk_number_place* place = is_empty(path) ? nullptr : find_disk_number(path);
    int32_t number = -1;
    if (place != nullptr) {
        const size_t length = std::strlen(path);
        number = 0;
        for (size_t i = place->position; i < place->position + place->digits; ++i)
            number = number * place->base + (i < length ? disk_AtoI(path[i]) : 0);
    }
    if (disk != nullptr)
        *disk = number;
    return number;
}

int32_t disk_SetDiskNoToPath(char* path, int32_t disk) {
    if (is_empty(path) || disk < 0 || disk > REC_MAX_DISK)
        return -1;
    const disk_number_place* place = find_disk_number(path);
    if (place == nullptr || std::strlen(path) < place->position + place->digits)
        return 0;
    for (size_t i = place->position + place->digits; i-- > place->position; disk /= place->base)
        path[i] = disk_ItoA(disk % place->base);
    return 0;
}

int32_t rec_PickFileName(const char* path, char* name) {
    const char* start = path == nullptr ? nullptr : std::strchr(path, 'H');
    if (start == nullptr || name == nullptr)
        return REC_FAILED;
    const size_t length = strnlen(start, REC_PATH_SIZE - 1);
    std::memmove(name, start, length);
    name[length] = '\0';
    return REC_OK;
}
