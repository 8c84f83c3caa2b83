// The calls that reach the file-system module, one by one, and what becomes of the analysis when one of them fails.
#include "analyse/analyse.h"
#include "file_op/open_table.h"
#include "tests/analyse/analysis_fixture.hpp"
#include "tests/fakes/module_probe.hpp"

#include <string>
#include <vector>

namespace {

using analysis::below_heading;
using analysis::bytes;
using analysis::resources;
using analysis::resources_in_use;
using analysis::row;
using analysis::small_recording;
namespace option = analysis::option;

class ModuleCallsTest : public analysis::AnalysisTest {
protected:
    // The calls of one analysis, the file's number and the recording's path left out.
    std::vector<std::string> calls_of(const bytes& recording, uint32_t options) const {
        const std::string name = put(recording);
        module_probe::reset();
        report_of(name, options);
        std::vector<std::string> plain;
        for (std::string call : module_probe::calls()) {
            EXPECT_THAT(call, testing::StartsWith("sznfs_"));
            call.erase(0, 6);
            if (call.starts_with("Stat") || call.starts_with("Open"))
                call = call.substr(0, call.find('"')) + "path" + call.substr(call.rfind('"') + 1);
            else
                call.erase(call.find('(') + 1, call.find_first_of(",)") - call.find('(') - 1);
            if (call.starts_with("Open"))
                call.erase(call.find(" = "));
            plain.push_back(call);
        }
        return plain;
    }
};

using testing::ElementsAreArray;

TEST_F(ModuleCallsTest, OfAWholeAnalysisWithoutDetail) {
    EXPECT_THAT(calls_of(small_recording(), option::s), ElementsAreArray({
                                                            // the header report
                                                            "Stat(path) = 0",
                                                            "Open(0, path, 0)",
                                                            "Seek(, 0, 0) = 0",
                                                            "Read(, 88) = 88",
                                                            "Close() = 0",
                                                            // the walk
                                                            "Stat(path) = 0",
                                                            "Open(0, path, 0)",
                                                            "Seek(, 88, 0) = 88",
                                                            "Tell() = 88",
                                                            // a frame: its header, then its payload
                                                            "Seek(, 88, 0) = 88",
                                                            "Read(, 32) = 32",
                                                            "Tell() = 120",
                                                            "Read(, 100) = 100",
                                                            "Seek(, 220, 0) = 220",
                                                            "Read(, 32) = 32",
                                                            "Tell() = 252",
                                                            "Read(, 100) = 100",
                                                            "Seek(, 352, 0) = 352",
                                                            "Read(, 32) = 32",
                                                            "Tell() = 384",
                                                            "Read(, 100) = 100",
                                                            // the index: its header, then the trailer's magic
                                                            "Seek(, 484, 0) = 484",
                                                            "Read(, 32) = 32",
                                                            "Tell() = 516",
                                                            "Seek(, -8, 2) = 688",
                                                            "Read(, 4) = 4",
                                                            // the search for another frame
                                                            "Tell() = 692",
                                                            "Seek(, 664, 0) = 664",
                                                            "Read(, 1048576) = 32",
                                                            "Close() = 0",
                                                        }));
}

TEST_F(ModuleCallsTest, OfTheIndexDetail) {
    const std::vector<std::string> calls = calls_of(small_recording(), option::t);
    ASSERT_GE(calls.size(), 21U);
    EXPECT_THAT(std::vector<std::string>(calls.begin() + 21, calls.end()), ElementsAreArray({
                                                                               "Seek(, 484, 0) = 484",
                                                                               "Read(, 32) = 32",
                                                                               "Tell() = 516",
                                                                               "Seek(, -8, 2) = 688",
                                                                               "Read(, 4) = 4",
                                                                               // once more for the detail
                                                                               "Seek(, -8, 2) = 688",
                                                                               "Read(, 4) = 4",
                                                                               "Read(, 4) = 4",
                                                                               "Seek(, -212, 2) = 484",
                                                                               "Read(, 44) = 44",
                                                                               "Tell() = 528",
                                                                               "Read(, 80) = 80",
                                                                               "Read(, 80) = 80",
                                                                               "Tell() = 688",
                                                                               "Seek(, 660, 0) = 660",
                                                                               "Read(, 1048576) = 36",
                                                                               "Close() = 0",
                                                                           }));
}

TEST_F(ModuleCallsTest, DoNotDependOnTheRows) {
    const bytes recording = small_recording();
    const std::vector<std::string> without_rows = calls_of(recording, option::s);
    for (const uint32_t options : {0x00U, option::i, option::u, option::m, option::i | option::m})
        EXPECT_EQ(calls_of(recording, options), without_rows) << options;
    EXPECT_EQ(calls_of(recording, option::a), calls_of(recording, option::t));
}

TEST_F(ModuleCallsTest, OfAPoorFile) {
    const bytes recording = analysis::of_pieces(
        1, {analysis::index_frame_header(32), recording::frame_record({.number = 1, .time_stamp = 1000})});
    EXPECT_THAT(
        calls_of(recording, option::t),
        ElementsAreArray({
            "Stat(path) = 0",       "Open(0, path, 0)",   "Seek(, 0, 0) = 0",      "Read(, 88) = 88",
            "Close() = 0",          "Stat(path) = 0",     "Open(0, path, 0)",      "Seek(, 88, 0) = 88",
            "Tell() = 88",          "Seek(, 88, 0) = 88", "Read(, 32) = 32",       "Tell() = 120",
            "Seek(, -8, 2) = 244",  "Read(, 4) = 4",
            "Seek(, 120, 0) = 120", // back behind the header
            "Tell() = 120",         "Seek(, 92, 0) = 92", "Read(, 1048576) = 160",
            "Seek(, 120, 0) = 120", // the frame that was found
            "Read(, 32) = 32",      "Tell() = 152",       "Read(, 100) = 100",     "Seek(, 252, 0) = 252",
            "Read(, 32) = 0",       "Close() = 0",
        }));
}

TEST_F(ModuleCallsTest, OfAQuotaThatEndsTheWalk) {
    const bytes recording = analysis::unfinished({{.number = 1}, {.number = 2}});
    const std::string name = put(recording);
    module_probe::reset();
    uint32_t count = 0;
    uint32_t position = 88;
    EXPECT_EQ(rec_vca_GetVcaMsgEx(name.c_str(), &count, 0, 0, &position) >= 0, true);
    // No seek to the start: Stat, Open, Seek, Read, Tell, Read, Close.
    EXPECT_EQ(module_probe::count(), 7);
    module_probe::reset();
    count = 0xFFFFFFFF;
    rec_vca_GetVcaMsgEx(name.c_str(), &count, 0, 0, &position);
    EXPECT_EQ(module_probe::count(), 3);
    position = 0;
    count = 0xFFFFFFFF;
    module_probe::reset();
    rec_vca_GetVcaMsgEx(name.c_str(), &count, 0, 0, &position);
    EXPECT_EQ(module_probe::count(), 5);
}

TEST_F(ModuleCallsTest, OfARecordingThatIsNotThere) {
    const std::string name = path("missing");
    report_of(name, option::s);
    EXPECT_EQ(module_probe::calls(), (std::vector<std::string>{"sznfs_Stat(\"" + name + "\") = -1",
                                                               "sznfs_Stat(\"" + name + "\") = -1"}));
}

// --- failing seeks, with every option that reads something ---

struct failed_seek {
    int number;
    std::string says;
};

TEST_F(ModuleCallsTest, AFailedSeekEndsTheWalkOrWhatIsReadThenDecides) {
    const std::string name = put(small_recording());
    const std::string whole = below_heading(report_of(name, option::a));
    const std::string first = row("7", "00000058", "I", 132, 100, 0, 0, 1000, 1000, "0");
    const std::string second = row("8", "000000dc", "P", 132, 100, 0, 0, 1040, 40, "0");
    const std::string third = row("9", "00000160", "I", 132, 100, 0, 0, 3000, 1960, "0");
    const std::string index = row("0", "000001e4", "V", 212, 180, 0, 0, 0, -3000, "IFrameIndex");
    const failed_seek seeks[] = {
        {1, whole},                  // to the file header: it is there already
        {2, ""},                     // to the first frame
        {3, ""},                     // to it once more
        {4, first},                  // to the second
        {5, first + second},         // to the third
        {6, first + second + third}, // to the index
        {7, first + second + third + index + "IT IS a POOR FILE :(\n"}, // to the magic: N is read
        {8, first + second + third + index + "Well done :)\n"},         // to it once more: L is read
        {9, first + second + third + index + "decode_ReadFrameIndex 252 errWell done :)\n"}, // to the head
        {10, whole}, // to where the search starts
    };
    for (const failed_seek& each : seeks) {
        module_probe::reset();
        module_probe::fail("Seek", each.number);
        EXPECT_EQ(below_heading(report_of(name, option::a)), each.says) << each.number;
        EXPECT_EQ(resources_in_use(), resources{}) << each.number;
    }
}

TEST_F(ModuleCallsTest, AFailedSeekBackBehindAPoorIndexLeavesTheFileWhereTheMagicEnded) {
    bytes recording = small_recording();
    recording[recording.size() - 8] = 0;
    const std::string name = put(recording);
    // Seeks: file header, first frame, three frames, index, magic, back.
    module_probe::fail("Seek", 8);
    EXPECT_EQ(report_of(name, option::t), "IT IS a POOR FILE :(\n");
    EXPECT_THAT(module_probe::calls(), testing::Contains(testing::HasSubstr(", 664, 0) = 664")));
}

TEST_F(ModuleCallsTest, AFailedSeekToAFrameThatWasFoundEndsTheWalk) {
    bytes bad = recording::frame_record({.number = 1, .kind = 1});
    bad[0] = 1;
    const std::string name = put(analysis::of_pieces(
        9, {bad, recording::frame_record({.number = 2}), recording::frame_record({.number = 3})}));
    // Seeks: file header, first frame twice, the search, the frame found.
    module_probe::fail("Seek", 5);
    EXPECT_EQ(below_heading(report_of(name, option::a)),
              row("1", "00000058", "P", 132, 100, 0, 0, 1000, 1000, "-1"));
    EXPECT_FALSE(exists("Diff"));
    EXPECT_EQ(text("EndFrame"), "0\n");
}

TEST_F(ModuleCallsTest, ASeekThatOnlyReportsAFailureEndsTheWalkToo) {
    // The layer takes a position of 2 GiB and more for a failure.
    const std::string name = put(small_recording());
    module_probe::fail("Seek", 4, 0x80000000);
    EXPECT_EQ(below_heading(report_of(name, option::a)),
              row("7", "00000058", "I", 132, 100, 0, 0, 1000, 1000, "0"));
}

// --- every call fails once, then for good ---

class FailingModuleTest : public analysis::AnalysisTest {
protected:
    // A recording with everything in it: user data, garbage, a damaged and an inserted frame, an index.
    static bytes eventful_recording() {
        bytes garbage = recording::frame_record({.number = 3, .time_stamp = 1080, .kind = 1});
        garbage[3] = 0xFF;
        bytes damaged = recording::frame_record({.number = 5, .time_stamp = 1160, .kind = 1});
        damaged[20] = 99;
        const bytes user_data = {0, 0, 0, 1,    6,    0xF0, 16, 'Z', 'N', 'S', 'T', 1,
                                 0, 8, 0, 0xD9, 0xFE, 4,    0,  5,   0,   3,   0,   0xAA};
        return analysis::of_pieces(
            20, {recording::frame_record({.number = 1, .time_stamp = 1000, .kind = 0, .video = user_data}),
                 recording::frame_record({.number = 2, .time_stamp = 1040, .kind = 0, .tag = 0x7788}),
                 garbage, recording::frame_record({.number = 4, .time_stamp = 1120, .kind = 0}), damaged,
                 recording::index_block(
                     {{.time = 1420167845, .position = 88}, {.time = 1420167846, .tag = "x"}})});
    }

    // Runs the analysis and gives back what a close that failed has left in the layer.
    void survive(const std::string& name, uint32_t options) {
        report_of(name, options);
        resources used = resources_in_use();
        EXPECT_EQ(used.recordings, 0);
        EXPECT_FALSE(used.locked);
        if (used.layer_files != 0) {
            // The layer keeps what could not be closed.
            EXPECT_THAT(module_probe::calls(),
                        testing::Contains(testing::MatchesRegex("sznfs_Close\\([0-9]+\\) = -1")));
            module_probe::reset();
            for (vfs_file& entry : g_stvfile)
                if (entry.pMdlOps != nullptr)
                    vfs_fclose(&entry);
            EXPECT_EQ(resources_in_use(), resources{});
        }
    }
};

constexpr uint32_t everything = option::a | option::u | option::m;

TEST_F(FailingModuleTest, LeavesNothingBehindWhenOneCallFails) {
    const std::string name = put(eventful_recording());
    report_of(name, everything);
    const int calls = module_probe::count();
    ASSERT_GT(calls, 35);
    for (int nth = 1; nth <= calls; ++nth) {
        SCOPED_TRACE(nth);
        module_probe::reset();
        module_probe::fail("*", nth);
        survive(name, everything);
    }
}

TEST_F(FailingModuleTest, LeavesNothingBehindWhenAllCallsFailFromOneOn) {
    const std::string name = put(eventful_recording());
    report_of(name, everything);
    const int calls = module_probe::count();
    for (int nth = 1; nth <= calls; ++nth) {
        SCOPED_TRACE(nth);
        module_probe::reset();
        module_probe::fail_from("*", nth);
        survive(name, everything);
    }
}

TEST_F(FailingModuleTest, LeavesNothingBehindWhenReadsAreCut) {
    const std::string name = put(eventful_recording());
    for (int nth = 1; nth <= 25; ++nth) {
        SCOPED_TRACE(nth);
        for (const uint32_t moved : {1U, 3U, 31U}) {
            module_probe::reset();
            module_probe::cut("Read", nth, moved);
            survive(name, everything);
        }
        module_probe::reset();
        module_probe::fail("Read", nth, 0); // the end of the file
        survive(name, everything);
    }
}

TEST_F(FailingModuleTest, ThatGivesNonsenseIsSurvived) {
    const std::string name = put(eventful_recording());
    for (const char* operation : {"Seek", "Tell"})
        for (const int64_t nonsense : {INT64_MIN, int64_t{INT32_MIN}, int64_t{0}, int64_t{INT32_MAX}})
            for (int nth = 1; nth <= 16; ++nth) {
                SCOPED_TRACE(testing::Message() << operation << " " << nth << " gives " << nonsense);
                module_probe::reset();
                module_probe::fail(operation, nth, nonsense);
                survive(name, everything);
                module_probe::reset();
                module_probe::fail_from(operation, nth, nonsense);
                survive(name, everything);
            }
}

TEST_F(FailingModuleTest, EndsWhenTheTableOfRecordingsIsFull) {
    const std::string name = put(small_recording());
    std::vector<vfs_file*> open(REC_MAX_OPEN, nullptr);
    for (vfs_file*& each : open) {
        vfs_stat_record record{};
        ASSERT_EQ(rec_OpenFile(&each, name.c_str(), &record), 1001);
    }
    EXPECT_EQ(report_of(name, option::i), analysis::frame_table_heading());
    EXPECT_EQ(text("EndFrame"), "0\n");
    for (vfs_file*& each : open)
        EXPECT_EQ(rec_CloseFile(&each), 1001);
}

} // namespace
