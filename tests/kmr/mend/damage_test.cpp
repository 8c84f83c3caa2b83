// Damage in every place, alone and in pairs, mended by the program: the frames that it spared are there, to the last
// byte, and no others; the viewer walks over all of them; nothing is left to do; and all of it is taken back.
#include "tests/kmr/mend/mending.hpp"

#include <cstring>
#include <filesystem>
#include <gmock/gmock.h>
#include <map>
#include <set>
#include <sstream>

namespace {

using kmr_test::file_state;
using kmr_test::MendingTest;
using kmr_test::words;
using recording::bytes;
using testing::EndsWith;
using testing::HasSubstr;
namespace fs = std::filesystem;

constexpr int frame_count = 12;

// A kind of damage at a frame: an option of kmr_make, what stands there in front of the frame's number and behind it,
// and whether that frame is lost by it.
struct damage_kind {
    std::string name;
    std::string option;
    std::string in_front;
    std::string behind;
    bool loses_frame = true;
    bool is_in_lengths = false; // what lies beside it decides about the frame
    bool ends_file = false;

    words options(int frame) const { return {option, in_front + std::to_string(frame) + behind}; }
};

// A wrong length is proven by where the next frame begins. Bytes in front of a frame are no damage to it.
const damage_kind kinds[] = {
    {"header-zeroed", "--zero", "frame", ":32"},
    {"header-noise", "--noise", "frame", ":60:7"},
    {"sync-gone", "--overwrite", "frame", ":ff"},
    {"size-wrong", "--overwrite", "frame", "+4:ffff", false, true},
    {"5-before", "--gap-bytes", "", ":5", false},
    {"31-before", "--gap-bytes", "", ":31", false},
    {"100-before", "--gap-bytes", "", ":100", false},
    {"cut-in-header", "--truncate", "frame", "+20", true, false, true},
    {"cut-off", "--truncate", "frame", "+40", true, false, true},
};

struct damage {
    const damage_kind* kind;
    int frame;
};

struct frame_parts {
    bytes header = {};
    bytes video = {};
    bytes audio = {};
};

uint32_t u32_at(const bytes& file, size_t offset) {
    uint32_t value = 0;
    std::memcpy(&value, file.data() + offset, sizeof value);
    return value;
}

// Ordinary frames by number. Stops at the index, or at what is no frame.
std::map<uint32_t, frame_parts> frames_of(const bytes& file) {
    std::map<uint32_t, frame_parts> all;
    for (size_t offset = 88; offset + 32 <= file.size();) {
        const auto part = [&](size_t from, size_t length) {
            return bytes(file.begin() + static_cast<std::ptrdiff_t>(offset + from),
                         file.begin() + static_cast<std::ptrdiff_t>(offset + from + length));
        };
        const uint32_t size = u32_at(file, offset + 4);
        const uint32_t video = u32_at(file, offset + 20);
        const uint32_t tag = u32_at(file, offset + 28) >> 16;
        const bool is_index = tag == 0 && u32_at(file, offset + 16) == 0;
        if (u32_at(file, offset) != 0x02000000 || is_index || size < 32 + video ||
            offset + size > file.size())
            return all;
        if (tag != 0x7788)
            all[u32_at(file, offset + 12)] = {part(0, 32), part(32, video),
                                              part(32 + video, size - 32 - video)};
        offset += size;
    }
    return all;
}

bool begins_with(const bytes& whole, const bytes& with) {
    return whole.size() >= with.size() && std::equal(with.begin(), with.end(), whole.begin());
}

// Every fourth frame is an I-frame, each with a tag.
const words filled = {"--frames", "12",    "--i-interval", "4",       "--tag",   "0=one",
                      "--tag",    "1=two", "--tag",        "2=three", "--audio", "2x30"};

class DamageTest : public MendingTest {
protected:
    struct damaged_file {
        std::string name;
        std::set<int> lost = {};
        bool has_index = true;
        file_state before = {};
    };

    void use(const words& recording) {
        recording_ = recording;
        compose("original", recording_);
        original_ = frames_of(content_of("original"));
        ASSERT_EQ(original_.size(), size_t{frame_count});
        fs::create_directory_symlink(KMR_MODULES, place_.folder().path() / "lib");
    }

    void add(const std::vector<damage>& all) {
        damaged_file file;
        words options = recording_;
        for (const damage& each : all) {
            file.name += (file.name.empty() ? "" : "+") + each.kind->name + "@" + std::to_string(each.frame);
            if (each.kind->loses_frame)
                file.lost.insert(each.frame);
            for (int behind = each.frame; each.kind->ends_file && behind < frame_count; ++behind)
                file.lost.insert(behind);
            file.has_index &= !each.kind->ends_file;
            const words more = each.kind->options(each.frame);
            options.insert(options.end(), more.begin(), more.end());
        }
        compose(file.name, options);
        file.before = state_of(file.name);
        files_.push_back(std::move(file));
    }

    std::vector<std::string> run_all(words arguments) const {
        for (const damaged_file& each : files_)
            arguments.push_back(each.name);
        const auto run = kmr(arguments);
        EXPECT_EQ(run.status, 0) << run.err;
        std::vector<std::string> lines;
        std::istringstream out(run.out);
        for (std::string line; std::getline(out, line);)
            lines.push_back(line);
        return lines;
    }

    void mend_all() {
        const auto told = run_all({"repair", "--yes", "--json"});
        ASSERT_EQ(told.size(), files_.size());
        for (size_t i = 0; i < files_.size(); ++i) {
            SCOPED_TRACE(files_[i].name + ": " + told[i]);
            expect_told(told[i], files_[i]);
            expect_frames(files_[i]);
            expect_shown(files_[i]);
            if (HasFailure())
                return;
        }
        for (const std::string& line : run_all({"repair", "--yes"}))
            EXPECT_THAT(line, EndsWith(": nothing to do"));
        for (const std::string& line : run_all({"undo"}))
            EXPECT_THAT(line, EndsWith(": as it was before"));
        for (const damaged_file& each : files_) {
            SCOPED_TRACE(each.name);
            expect_state(each.name, each.before);
        }
    }

    // The tag of an I-frame goes with it, or with the index.
    void expect_told(const std::string& line, const damaged_file& file) const {
        EXPECT_THAT(line,
                    HasSubstr("\"frames_kept\":" + std::to_string(frame_count - file.lost.size()) + ","));
        size_t records = 0;
        size_t records_lost = 0;
        for (const auto& [number, frame] : original_)
            if (frame.header[8] == 0)
                ++(file.lost.contains(static_cast<int>(number) - 1) ? records_lost : records);
        EXPECT_THAT(line, HasSubstr("\"index_records\":" + std::to_string(records) + ","));
        const bool has_tags = file.has_index && recording_ == filled;
        const std::string tags = std::to_string(has_tags ? records : 0);
        const std::string lost = std::to_string(has_tags ? records_lost : 0);
        EXPECT_THAT(line, HasSubstr("\"tags_kept\":" + tags + ",\"tags_lost\":" + lost + ","));
    }

    // A frame that took stray bytes in has zeros between its video and its audio, and is otherwise what it was.
    void expect_frames(const damaged_file& file) const {
        const auto found = frames_of(content_of(file.name));
        for (const auto& [number, frame] : original_) {
            const bool lost = file.lost.contains(static_cast<int>(number) - 1);
            ASSERT_EQ(found.contains(number), !lost) << number;
            if (lost)
                continue;
            const frame_parts& there = found.at(number);
            EXPECT_TRUE(begins_with(there.video, frame.video)) << number;
            EXPECT_LE(there.video.size(), frame.video.size() + 31) << number;
            EXPECT_EQ(there.audio, frame.audio) << number;
            const bool same_size = there.video.size() == frame.video.size();
            EXPECT_EQ(there.header == frame.header, same_size) << number;
        }
        EXPECT_EQ(found.size(), frame_count - file.lost.size());
    }

    void expect_shown(const damaged_file& file) const {
        const auto shown =
            run::program(KMR_VIEWER, {"-f", file.name, "-a"}, {.directory = place_.folder().path()});
        EXPECT_THAT(shown.out, HasSubstr("\nWell done :)\n"));
        size_t rows = 0;
        std::istringstream lines(shown.out);
        for (std::string line; std::getline(lines, line);)
            rows += std::count(line.begin(), line.end(), '\t') == 10 &&
                            line.find("\t       0\t") != line.npos && is_valid(line)
                        ? 1
                        : 0;
        EXPECT_EQ(rows, frame_count - file.lost.size()) << shown.out;
    }

    // The tenth column of a row says 0 for an ordinary frame.
    static bool is_valid(const std::string& row) {
        std::istringstream fields(row);
        std::string field;
        for (int i = 0; i < 10; ++i)
            std::getline(fields, field, '\t');
        return field == "       0";
    }

    words recording_ = {};
    std::map<uint32_t, frame_parts> original_ = {};
    std::vector<damaged_file> files_ = {};
};

words video(const std::string& name) {
    return {"--video", KMR_CLIPS + name, "--size", "320x240", "--frames", "12"};
}

TEST_F(DamageTest, AloneInEveryPlace) {
    use(filled);
    for (const damage_kind& kind : kinds)
        for (int frame = kind.ends_file ? 1 : 0; frame < frame_count; ++frame)
            add({{&kind, frame}});
    mend_all();
}

// Real video: of the clips every 25th frame is an I-frame, and all have a header of their own size.
TEST_F(DamageTest, InVideoOfEitherCodec) {
    for (const std::string name : {"demo.h264", "demo.h265"}) {
        SCOPED_TRACE(name);
        files_.clear();
        fs::remove(place_.folder().path() / "lib");
        use(video(name));
        for (const damage_kind& kind : kinds)
            for (const int frame : {1, 5, 11})
                add({{&kind, frame}});
        mend_all();
    }
}

// Beside wrong lengths nothing proves a length; and of a frame alone between damage and the file's beginning or its end
// nothing tells whether it is one.
bool says_what_is_lost(const damage& first, const damage& second) {
    const bool lengths = first.kind->is_in_lengths || second.kind->is_in_lengths;
    const int apart = second.frame - first.frame;
    const bool at_an_end = first.frame == 0 || second.frame == frame_count - 1;
    return apart >= 2 || !(lengths || at_an_end);
}

TEST_F(DamageTest, InPairs) {
    use(filled);
    const damage_kind& cut = kinds[std::size(kinds) - 1];
    for (const damage_kind* first : {&kinds[0], &kinds[3], &kinds[4], &kinds[6]})
        for (const damage_kind* second : {&kinds[0], &kinds[3], &kinds[4], &kinds[6], &cut})
            for (const auto& [left, right] :
                 {std::pair(0, 1), {0, 4}, {1, 3}, {3, 4}, {4, 5}, {4, 8}, {7, 11}, {10, 11}}) {
                const damage pair[] = {{first, left}, {second, right}};
                if (says_what_is_lost(pair[0], pair[1]))
                    add({pair[0], pair[1]});
            }
    mend_all();
}

} // namespace
