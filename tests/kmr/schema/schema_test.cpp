// Whatever a recording, a name or an index file holds: each line is JSON, UTF-8, and as its schema says.
#include "kmr/check/check_output.hpp"
#include "scan/judge.hpp"
#include "tests/scan/compose.hpp"
#include "tests/support/run_program.hpp"
#include "tests/support/scratch.hpp"
#include "tests/vfslist16a/index_bytes.hpp"

#include <array>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using recording::bytes;

constexpr const char* hostile_name = "\xFF\xC0\x80\"\\\x01\xE2\x80\xAE\n.kmr";

class SchemaTest : public testing::Test {
protected:
    // How many lines there were; all of them are valid.
    size_t valid(const std::string& schema, const std::string& text) const {
        const std::string file = folder.write_text("lines", text);
        const run::result result = run::program(KMR_VALIDATE, {KMR_SCHEMAS + schema + ".json", file},
                                                {.timeout = std::chrono::seconds(300)});
        EXPECT_EQ(result.status, 0) << result.err;
        return result.status == 0 ? std::stoul(result.out) : 0;
    }

    void judge(const bytes& file) {
        kmr::scan::memory_source source(file);
        const kmr::program::judged_file judged = {.path = hostile_name, .judged = kmr::scan::judge(source)};
        kmr::program::append_checked_json(lines, judged, clock);
    }

    // A run of the program in the folder.
    std::string kmr(const std::vector<std::string>& arguments) const {
        return run::program(KMR, arguments, {.directory = folder.path()}).out;
    }

    scratch::folder folder = {};
    std::string lines = {};
    kmr::output::clock clock{kmr::output::time_zone::utc};
};

// With a tag, user data that is not sound, and a cover word without an end.
bytes small_recording() {
    scan_test::frames all = scan_test::sound_frames(6);
    all[1].video = scan_test::user_data_unit(scan_test::user_data_block("XXXX", 1, {1, 2, 3}));
    auto index = scan_test::records_for(all);
    index.front().tag = "caf\xE9";
    bytes file = scan_test::recording_of(all, index);
    for (size_t place = 24; place < 40; ++place)
        file[place] ^= 0x80;
    return file;
}

// Each bit of it the other way, no bit, all bits, and all of them the other way.
std::array<uint8_t, 11> wrong_values(uint8_t right) {
    std::array<uint8_t, 11> all = {};
    for (unsigned bit = 0; bit < 8; ++bit)
        all[bit] = static_cast<uint8_t>(right ^ 1U << bit);
    all[8] = 0x00;
    all[9] = 0xFF;
    all[10] = static_cast<uint8_t>(~right);
    return all;
}

TEST_F(SchemaTest, HoldsForEveryByteThatIsWrong) {
    const bytes whole = small_recording();
    for (size_t offset = 0; offset < whole.size(); ++offset)
        for (const uint8_t wrong : wrong_values(whole[offset])) {
            bytes file = whole;
            file[offset] = wrong;
            judge(file);
        }
    EXPECT_EQ(valid("check", lines), 11 * whole.size());
}

TEST_F(SchemaTest, HoldsForEveryLength) {
    const bytes whole = small_recording();
    for (size_t length = 0; length <= whole.size(); ++length)
        judge({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)});
    EXPECT_EQ(valid("check", lines), whole.size() + 1);
}

TEST_F(SchemaTest, HoldsForEveryFinding) {
    kmr::program::judged_file file = {.path = hostile_name};
    for (size_t code = 0; code < kmr::scan::finding_code_count; ++code)
        file.judged.findings.push_back({.code = static_cast<kmr::scan::finding_code>(code),
                                        .offset = UINT64_MAX >> 1,
                                        .frame = UINT32_MAX,
                                        .time_ms = INT64_MIN});
    kmr::program::append_checked_json(lines, file, clock);
    EXPECT_EQ(valid("check", lines), 1U);
}

TEST_F(SchemaTest, HoldsForEveryVerdict) {
    folder.write("sound.kmr", scan_test::recording_of(scan_test::sound_frames(10)));
    folder.write("unfinished.kmr", scan_test::without_index(scan_test::sound_frames(10)));
    folder.write("damaged.kmr", small_recording());
    folder.write("short.kmr", bytes(10, 1));
    folder.write("zero.kmr", bytes(5000, 0));
    folder.write(hostile_name, scan_test::recording_of(scan_test::h265_frames(3)));
    for (const char* const command : {"check", "show"})
        EXPECT_EQ(valid(command, kmr({command, "--json", "sound.kmr", "unfinished.kmr", "damaged.kmr",
                                      "short.kmr", "zero.kmr", hostile_name, "missing.kmr"})),
                  7U);
}

// Torn, cut off, wrong at the beginning, of no use, and not there at all.
TEST_F(SchemaTest, HoldsForRepairs) {
    folder.write("sound.kmr", scan_test::recording_of(scan_test::sound_frames(10)));
    folder.write("unfinished.kmr", scan_test::without_index(scan_test::sound_frames(10)));
    folder.write("damaged.kmr", small_recording());
    bytes beheaded = scan_test::recording_of(scan_test::h265_frames(5));
    std::fill_n(beheaded.begin(), 120, uint8_t{0});
    folder.write("beheaded.kmr", beheaded);
    folder.write("zero.kmr", bytes(5000, 0));
    folder.write(hostile_name, {beheaded.begin(), beheaded.end() - 90});
    const std::vector<std::string> files = {"sound.kmr", "unfinished.kmr", "damaged.kmr", "beheaded.kmr",
                                            "zero.kmr",  hostile_name,     "missing.kmr"};
    for (const char* const how : {"--dry-run", "--like-recorder", "--yes", "--yes"}) {
        std::vector<std::string> arguments = {"repair", "--json", how};
        arguments.insert(arguments.end(), files.begin(), files.end());
        EXPECT_EQ(valid("repair", kmr(arguments)), files.size());
    }
}

TEST_F(SchemaTest, HoldsForFrames) {
    folder.write("damaged.kmr", small_recording());
    EXPECT_EQ(valid("frames", kmr({"frames", "--format", "json", "damaged.kmr"})), 6U);
    EXPECT_EQ(valid("frames", kmr({"frames", "--format", "json", "--user-data", "damaged.kmr"})), 6U);
}

TEST_F(SchemaTest, HoldsForTheListOfFiles) {
    folder.write("H0000020150102030405L000000", scan_test::recording_of(scan_test::sound_frames(10)));
    folder.write("unfinished.kmr", scan_test::without_index(scan_test::sound_frames(10)));
    folder.write(hostile_name, small_recording());
    folder.write_text("note.txt", "no recording");
    EXPECT_EQ(valid("ls", kmr({"ls", "--json", "."})), 3U);
}

TEST_F(SchemaTest, HoldsForTags) {
    std::string all;
    folder.write(hostile_name, small_recording());
    folder.write("none.kmr", scan_test::recording_of(scan_test::sound_frames(10)));
    folder.write("unfinished.kmr", scan_test::without_index(scan_test::sound_frames(10)));
    for (const char* const name : {hostile_name, "none.kmr", "unfinished.kmr"})
        all += kmr({"tag", "--json", name});
    EXPECT_EQ(valid("tags", all), 3U);
}

TEST_F(SchemaTest, HoldsForTheIndexFileOfADisk) {
    folder.write("Index.dat",
                 index_bytes::file({{.time = INT32_MIN, .path = hostile_name, .name = "\x80", .channel = 255},
                                    {.time = 0, .path = std::string(68, '\xFF'), .kind = 255},
                                    {.time = 2000000000, .path = ""}}));
    EXPECT_EQ(valid("query", kmr({"query", "Index.dat", "--json"})), 3U);
}

// The table of findings and the schema tell the same.
TEST(SchemaOfCheckTest, NamesEveryFindingOnce) {
    const std::string schema = scratch::read_text(KMR_SCHEMAS "check.json");
    for (const auto& kind : kmr::scan::finding_kinds()) {
        const std::string quoted = '"' + std::string(kind.code) + '"';
        size_t times = 0; // as a value, not as a name
        for (size_t at = schema.find(quoted); at != schema.npos; at = schema.find(quoted, at + 1))
            times += schema[at + quoted.size()] != ':' ? 1 : 0;
        EXPECT_EQ(times, kind.code == "encrypted" ? 2U : 1U) << quoted; // one of them is a required count
    }
}

} // namespace
