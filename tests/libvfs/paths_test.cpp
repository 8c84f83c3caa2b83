#include "tests/libvfs/layer_test.hpp"

#include <cstring>
#include <filesystem>
#include <sys/vfs.h>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PathsTest : public LayerTest {
protected:
    vfs_stat_record record = {};
    vfs_times times = {5, 6};
    struct statfs statistics = {};
};

// --- Records ---

TEST_F(PathsTest, TheStatRecordHas232BytesWithItsFieldsInFixedPlaces) {
    EXPECT_EQ(sizeof(vfs_stat_record), 232u);
    EXPECT_EQ(offsetof(vfs_stat_record, Size), 48u);
    EXPECT_EQ(offsetof(vfs_stat_record, AccessTime), 72u);
    EXPECT_EQ(offsetof(vfs_stat_record, ModifyTime), 80u);
    EXPECT_EQ(offsetof(vfs_stat_record, Channel), 104u);
    EXPECT_EQ(offsetof(vfs_stat_record, StartTime), 128u);
}

TEST_F(PathsTest, TheTimeRecordIsTwoLongWords) {
    EXPECT_EQ(sizeof(vfs_times), 2 * sizeof(long));
    EXPECT_EQ(offsetof(vfs_times, ModifyTime), sizeof(long));
}

// --- Routing ---

TEST_F(PathsTest, EveryCallIsRoutedToTheModuleOfItsPath) {
    const auto plain_file = write_plain("x", "abc");
    const auto disk_file = write_disk("x", "abc");
    EXPECT_EQ(vfs_Stat(plain_file.c_str(), &record), 0);
    EXPECT_EQ(vfs_Stat(disk_file.c_str(), &record), 0);
    EXPECT_EQ(vfs_Statfs(plain_file.c_str(), &statistics), 0);
    EXPECT_EQ(vfs_Statfs(disk_file.c_str(), &statistics), 0);
    EXPECT_EQ(vfs_Format(plain_file.c_str()), -1);
    EXPECT_EQ(vfs_Format(disk_file.c_str()), -1);
    EXPECT_EQ(vfs_utimes(plain_file.c_str(), &times), 0);
    EXPECT_EQ(vfs_utimes(disk_file.c_str(), &times), 0);
    EXPECT_EQ(vfs_SetUsrParam(plain_file.c_str(), 7, -8), 0);
    EXPECT_EQ(vfs_SetUsrParam(disk_file.c_str(), 7, -8), 0);
    EXPECT_EQ(vfs_Unlink(plain_file.c_str()), 0);
    EXPECT_EQ(vfs_Unlink(disk_file.c_str()), 0);
    EXPECT_THAT(
        module_probe::calls(),
        ElementsAre(call("sznfs_Stat", plain_file, ") = 0"), call("znfs_Stat", disk_file, ") = 0"),
                    call("sznfs_Statfs", plain_file, ") = 0"), call("znfs_Statfs", disk_file, ") = 0"),
                    call("sznfs_Format", plain_file, ") = -1"), call("znfs_Format", disk_file, ") = -1"),
                    call("sznfs_ChangeTime", plain_file, ", 5, 6) = 0"),
                    call("znfs_ChangeTime", disk_file, ", 5, 6) = 0"),
                    call("sznfs_SetUsrParam", plain_file, ", 7, -8) = 0"),
                    call("znfs_SetUsrParam", disk_file, ", 7, -8) = 0"),
                    call("sznfs_Unlink", plain_file, ") = 0"), call("znfs_Unlink", disk_file, ") = 0")));
}

TEST_F(PathsTest, ResultsOfTheModuleArePassedOnUnchanged) {
    for (const char* operation :
         {"Stat", "Unlink", "Statfs", "Format", "ChangeTime", "SetUsrParam", "Rename"})
        module_probe::fail(operation, 1, 77);
    EXPECT_EQ(vfs_Stat("/tmp/x", &record), 77);
    EXPECT_EQ(vfs_Unlink("/tmp/x"), 77);
    EXPECT_EQ(vfs_Statfs("/tmp/x", &statistics), 77);
    EXPECT_EQ(vfs_Format("/tmp/x"), 77);
    EXPECT_EQ(vfs_utimes("/tmp/x", &times), 77);
    EXPECT_EQ(vfs_SetUsrParam("/tmp/x", 1, 1), 77);
    EXPECT_EQ(vfs_Rename("/tmp/x", "/tmp/y"), 77);
}

TEST_F(PathsTest, NullPathsFailWithoutACall) {
    EXPECT_EQ(vfs_Stat(nullptr, &record), -1);
    EXPECT_EQ(vfs_Unlink(nullptr), -1);
    EXPECT_EQ(vfs_Statfs(nullptr, &statistics), -1);
    EXPECT_EQ(vfs_Format(nullptr), -1);
    EXPECT_EQ(vfs_utimes(nullptr, &times), -1);
    EXPECT_EQ(vfs_SetUsrParam(nullptr, 1, 1), -1);
    EXPECT_EQ(vfs_Rename(nullptr, "/tmp/x"), -1);
    EXPECT_EQ(vfs_Rename("/tmp/x", nullptr), -1);
    EXPECT_EQ(vfs_Rename(nullptr, "/dev/x"), -1);
    EXPECT_EQ(vfs_Rename(nullptr, nullptr), -1);
    EXPECT_EQ(vfs_ChangeCreateTime(nullptr, 1), -1);
    EXPECT_EQ(vfs_ChangeRecType(nullptr, 1, 1), -1);
    EXPECT_EQ(_vfs_rename(nullptr, "/dev/x"), -1);
    EXPECT_EQ(_vfs_rename("/dev/x", nullptr), -1);
    EXPECT_THAT(module_probe::calls(), IsEmpty());
}

TEST_F(PathsTest, AModuleThatIsNotLoadedFailsWithoutACall) {
    g_stvfsmnt.Entries[1].iState = 0;
    EXPECT_EQ(vfs_Stat("/tmp/x", &record), -1);
    EXPECT_EQ(vfs_Unlink("/tmp/x"), -1);
    EXPECT_EQ(vfs_Statfs("/tmp/x", &statistics), -1);
    EXPECT_EQ(vfs_Format("/tmp/x"), -1);
    EXPECT_EQ(vfs_utimes("/tmp/x", &times), -1);
    EXPECT_EQ(vfs_SetUsrParam("/tmp/x", 1, 1), -1);
    EXPECT_EQ(vfs_Rename("/tmp/x", "/tmp/y"), -1);
    EXPECT_THAT(module_probe::calls(), IsEmpty());
}

TEST_F(PathsTest, UtimesRefusesANullRecord) {
    EXPECT_EQ(vfs_utimes("/tmp/x", nullptr), -1);
    EXPECT_THAT(module_probe::calls(), IsEmpty());
}

TEST_F(PathsTest, SetUsrParamRefusesAParameterOf0) {
    EXPECT_EQ(vfs_SetUsrParam("/tmp/x", 0, 1), -1);
    EXPECT_EQ(vfs_SetUsrParam("/tmp/x", 1, 0), -1);
    EXPECT_EQ(vfs_SetUsrParam("/tmp/x", 0, 0), -1);
    EXPECT_THAT(module_probe::calls(), IsEmpty());
}

// --- Renaming ---

TEST_F(PathsTest, RenameWithinModule1RenamesTheFile) {
    const auto path = write_plain("x", "abc");
    EXPECT_EQ(vfs_Rename(path.c_str(), plain("y").c_str()), 0);
    EXPECT_THAT(module_probe::calls(),
                ElementsAre("sznfs_Rename(\"" + path + "\", \"" + plain("y") + "\") = 0"));
    EXPECT_EQ(scratch::read_text(plain("y")), "abc");
}

TEST_F(PathsTest, RenameAcrossModulesFailsWithoutACall) {
    EXPECT_EQ(vfs_Rename("/dev/a/x", "/tmp/x"), -1);
    EXPECT_EQ(vfs_Rename("/tmp/x", "/dev/a/x"), -1);
    EXPECT_THAT(module_probe::calls(), IsEmpty());
}

// A name's character 20 is the lock marker.
constexpr char unlocked_name[] = "H3000120150102030405Nabcdef";
constexpr char locked_name[] = "H3000120150102030405Labcdef";

TEST_F(PathsTest, RenameWithinModule0LocksAndUnlocksAndNeverRenames) {
    const auto path = write_disk(unlocked_name, "abc");
    const auto locked = disk(locked_name);
    EXPECT_EQ(vfs_Rename(path.c_str(), locked.c_str()), 0);
    EXPECT_THAT(module_probe::calls(), ElementsAre(call("znfs_Lock", path, ", 1) = 0")));
    EXPECT_TRUE(std::filesystem::exists(path));
    EXPECT_FALSE(std::filesystem::exists(locked));
}

// Names that only the probe sees: Lock is not performed.
int32_t rename_of(const std::string& from, const std::string& to) {
    module_probe::reset();
    module_probe::fail("Lock", 1, 12);
    return _vfs_rename(from.c_str(), to.c_str());
}

TEST_F(PathsTest, TheMarkerOfTheNewNameSaysWhetherToLock) {
    const std::string unlocked = std::string("/dev/a/") + unlocked_name;
    const std::string locked = std::string("/dev/a/") + locked_name;
    EXPECT_EQ(rename_of(unlocked, locked), 12);
    EXPECT_THAT(module_probe::calls(), ElementsAre(call("znfs_Lock", unlocked, ", 1) = 12")));
    EXPECT_EQ(rename_of(locked, unlocked), 12);
    EXPECT_THAT(module_probe::calls(), ElementsAre(call("znfs_Lock", locked, ", 0) = 12")));
    EXPECT_EQ(rename_of(locked, "/dev/a/short"), 12) << "the end of a short name is no 'L'";
    EXPECT_THAT(module_probe::calls(), ElementsAre(call("znfs_Lock", locked, ", 0) = 12")));
}

TEST_F(PathsTest, EqualMarkersAreNothingToDo) {
    const std::string locked = std::string("/dev/a/") + locked_name;
    EXPECT_EQ(rename_of(locked, locked), -1);
    EXPECT_EQ(rename_of(locked, std::string("/dev/b/") + locked_name), -1);
    EXPECT_EQ(rename_of("/dev/a/short", "/dev/a/other"), -1);
    EXPECT_THAT(module_probe::calls(), IsEmpty());
}

TEST_F(PathsTest, ThePathIsCutAt63CharactersBeforeTheNameIsTaken) {
    // The name begins at character 42, so its character 20 is the path's character 62, the last that is kept.
    const std::string folder_of_42 = "/dev/" + std::string(36, 'd') + "/";
    ASSERT_EQ(folder_of_42.size(), 42u);
    EXPECT_EQ(rename_of(folder_of_42 + unlocked_name, folder_of_42 + locked_name), 12);
    EXPECT_THAT(module_probe::calls(),
                ElementsAre(call("znfs_Lock", folder_of_42 + unlocked_name, ", 1) = 12")))
        << "the path itself is passed whole";

    // One character further the marker is cut off on both sides.
    const std::string folder_of_43 = "/dev/" + std::string(37, 'd') + "/";
    EXPECT_EQ(rename_of(folder_of_43 + unlocked_name, folder_of_43 + locked_name), -1);
    EXPECT_THAT(module_probe::calls(), IsEmpty());
}

TEST_F(PathsTest, ABareNameLosesItsFirstCharacterSoTheMarkerMoves) {
    EXPECT_EQ(rename_of(unlocked_name, locked_name), -1) << "'a' at character 21 of both";
    EXPECT_EQ(rename_of(std::string("x") + unlocked_name, std::string("x") + locked_name), 12);
}

// --- File name of a path ---

std::string file_name_of(std::string path, int32_t expected_result = 0) {
    std::vector<char> text(path.begin(), path.end());
    text.push_back('\0');
    EXPECT_EQ(extract_file_name(text.data()), expected_result);
    return text.data();
}

TEST_F(PathsTest, ExtractFileNameKeepsWhatFollowsTheLastSlash) {
    EXPECT_EQ(file_name_of("/a/b"), "b");
    EXPECT_EQ(file_name_of("/b"), "b");
    EXPECT_EQ(file_name_of("dir/"), "");
    EXPECT_EQ(file_name_of("a/b/c"), "c");
    EXPECT_EQ(file_name_of("//x"), "x");
    EXPECT_EQ(file_name_of("/"), "");
    EXPECT_EQ(file_name_of(""), "");
}

TEST_F(PathsTest, ExtractFileNameDropsTheFirstCharacterOfABareName) {
    EXPECT_EQ(file_name_of("ab"), "b");
    EXPECT_EQ(file_name_of("a"), "");
}

TEST_F(PathsTest, ExtractFileNameZeroFillsTheRest) {
    char text[] = "/dir/name";
    EXPECT_EQ(extract_file_name(text), 0);
    EXPECT_EQ(std::memcmp(text, "name\0\0\0\0\0", 10), 0);
}

TEST_F(PathsTest, ExtractFileNameRefusesMoreThan255Characters) {
    const std::string longest = "/" + std::string(253, 'a') + "/";
    EXPECT_EQ(file_name_of(longest), "");
    const std::string too_long = "/" + std::string(255, 'a');
    EXPECT_EQ(file_name_of(too_long, -1), too_long);
}

// --- What module 0 does specially ---

TEST_F(PathsTest, TheSpecialsCallModule0WhateverServesThePath) {
    const auto path = write_plain("x", "abc");
    for (vfs_mount_entry& entry : g_stvfsmnt.Entries)
        entry.iState = 0;
    module_probe::fail("ChangeCreateTime", 1, 21);
    EXPECT_EQ(vfs_ChangeCreateTime(path.c_str(), 0x123456789A), 21);
    EXPECT_EQ(vfs_ChangeRecType(path.c_str(), 1, -9), 0);
    EXPECT_EQ(vfs_ChangeRecType(path.c_str(), 63, 9), 0);
    EXPECT_THAT(module_probe::calls(), ElementsAre(call("znfs_ChangeCreateTime", path, ", 78187493530) = 21"),
                                                   call("znfs_ChangeRecType", path, ", 1, -9) = 0"),
                                                   call("znfs_ChangeRecType", path, ", 63, 9) = 0")));
}

TEST_F(PathsTest, ChangeRecTypeRefusesTypesOutsideOf1To63) {
    for (const int32_t type : {0, 64, -1, INT32_MIN, INT32_MAX})
        EXPECT_EQ(vfs_ChangeRecType("/dev/x", type, 1), -1);
    EXPECT_THAT(module_probe::calls(), IsEmpty());
}

TEST_F(PathsTest, UpdataePreRecPtrPassesTheModulesOwnNumberWhateverModuleOpenedTheFile) {
    const auto plain_file = write_plain("x", "abc");
    const auto disk_file = write_disk("x", "abc");
    ASSERT_EQ(vfs_Open(0, disk_file.c_str(), 0), 1);
    ASSERT_EQ(vfs_Open(0, disk_file.c_str(), 0), 2);
    ASSERT_EQ(vfs_Open(0, plain_file.c_str(), 0), 3);
    module_probe::reset();
    module_probe::fail("UpdataePreRecPtr", 2, 33);
    EXPECT_EQ(vfs_UpdataePreRecPtr(2, 10, -20), 0);
    EXPECT_EQ(vfs_UpdataePreRecPtr(3, 11, 21), 33);
    EXPECT_THAT(module_probe::calls(), ElementsAre("znfs_UpdataePreRecPtr(4, 10, -20) = 0",
                                                   "znfs_UpdataePreRecPtr(3, 11, 21) = 33"));
}

} // namespace
