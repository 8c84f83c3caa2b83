#include "tests/analyse/analysis_fixture.hpp"

#include "analyse/analyse.h"
#include "analyse/frame_user_data.h"
#include "file_op/open_table.h"
#include "tests/fakes/module_probe.hpp"

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <unistd.h>

namespace analysis {
namespace {

// Times of a report are local times; the modules are loaded from the directory that the test program is
// started in.
class environment : public ::testing::Environment {
public:
    void SetUp() override {
        setenv("TZ", "UTC", 1);
        tzset();
        vfs_Init();
    }
};

[[maybe_unused]] const ::testing::Environment* const registered =
    ::testing::AddGlobalTestEnvironment(new environment);

std::string text_of(const char* format, auto... values) {
    char text[512];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

bool is_locked(pthread_mutex_t& mutex) {
    if (pthread_mutex_trylock(&mutex) != 0)
        return true;
    pthread_mutex_unlock(&mutex);
    return false;
}

} // namespace

std::vector<unsigned>& pauses() {
    static std::vector<unsigned> all;
    return all;
}

std::string printed(const std::function<void()>& action) {
    std::fflush(stdout);
    testing::internal::CaptureStdout();
    action();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

std::string dash_line(size_t count) {
    return std::string(count, '-') + "\n";
}

std::string frame_table_heading() {
    return "\n" + dash_line(154) + "Frame Detail\n" + dash_line(154) +
           "         FrameNo\t    Addr\t    TYPE\tFrameSize\tVideoSize\tAFrameNum\tAFrameSize\tTimeStamp\t"
           "TimeDelay\t   Valid\t Encrypt\n" +
           dash_line(154);
}

std::string row(const std::string& number, const std::string& address, const std::string& type, int size,
                int video_size, int audio_count, int audio_size, int time_stamp, int delay,
                const std::string& valid, const std::string& encrypt) {
    return text_of("%16s\t%s\t%8s\t%8d\t%8d\t%8d\t%8d\t%8d\t%8d\t%8s\t%8s\n", number.c_str(), address.c_str(),
                   type.c_str(), size, video_size, audio_count, audio_size, time_stamp, delay, valid.c_str(),
                   encrypt.c_str());
}

std::string below_heading(const std::string& report) {
    const size_t at = report.find(frame_table_heading());
    return at == std::string::npos ? "no heading" : report.substr(at + frame_table_heading().size());
}

bytes unfinished(const std::vector<frame>& frames) {
    bytes file = recording::file_header(static_cast<uint32_t>(frames.size()));
    for (const frame& each : frames)
        recording::append(file, recording::frame_record(each));
    return file;
}

bytes of_pieces(uint32_t frame_count, const std::vector<bytes>& pieces) {
    bytes file = recording::file_header(frame_count);
    for (const bytes& piece : pieces)
        recording::append(file, piece);
    return file;
}

bytes index_frame_header(uint32_t length, uint32_t kind) {
    bytes header(32, 0);
    recording::put_u32(header, 0, 0x02000000);
    recording::put_u32(header, 4, length);
    recording::put_u32(header, 8, kind);
    recording::put_u32(header, 20, length - 32);
    return header;
}

bytes trailer(uint32_t length, uint32_t magic) {
    bytes words(8, 0);
    recording::put_u32(words, 0, magic);
    recording::put_u32(words, 4, length);
    return words;
}

bytes small_recording() {
    return recording::sound({{.number = 7, .time_stamp = 1000, .kind = 0},
                             {.number = 8, .time_stamp = 1040, .kind = 1},
                             {.number = 9, .time_stamp = 3000, .kind = 0}});
}

resources resources_in_use() {
    resources used;
    for (const vfs_file& entry : g_stvfile)
        used.layer_files += entry.pMdlOps != nullptr;
    for (const rec_open_entry& entry : tOpenFile)
        used.recordings += entry.uiInUse != 0;
    used.locked = is_locked(g_tFileLock) || is_locked(vfs_fd_tLock);
    return used;
}

AnalysisTest::AnalysisTest() : descriptors_(scratch::open_descriptors()) {
    module_probe::reset();
    pauses().clear();
    g_Opt = 0;
    g_lstarttime = 0;
    g_TempFirstFrmNum = 0;
    g_TempLastFrmNum = 0;
    _iFileLocation = 0;
    diffFrmNo = 0;
}

AnalysisTest::~AnalysisTest() {
    module_probe::reset();
    EXPECT_EQ(resources_in_use(), resources{});
    EXPECT_EQ(scratch::open_descriptors(), descriptors_);
}

std::string AnalysisTest::report(const bytes& content, uint32_t options) const {
    return report_of(put(content), options);
}

std::string AnalysisTest::report_of(const std::string& name, uint32_t options) const {
    return printed([&] { EXPECT_EQ(analyse_kmr(name.c_str(), options), 0); });
}

bool AnalysisTest::exists(const std::string& name) const {
    return std::filesystem::exists(folder_.path() / name);
}

} // namespace analysis

// Stands before the platform's call.
extern "C" int usleep(useconds_t microseconds) {
    analysis::pauses().push_back(microseconds);
    return 0;
}
