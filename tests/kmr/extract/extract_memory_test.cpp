// Memory refused to kmr extract, request by request, once and for good: status 2 and words, or it is done all the same; the
// recording is what it was, and of the new file there is all or nothing. KMR_EVERY=1 tries every request.
#include "tests/kmr/changed_file.hpp"
#include "tests/kmr/extract/extracting.hpp"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace {

using kmr_test::is_old;
using kmr_test::make_old;
using kmr_test::read_quietly;
namespace fs = std::filesystem;

int step() {
    const char* const every = std::getenv("KMR_EVERY");
    return every != nullptr ? std::atoi(every) : 97;
}

class ExtractMemoryTest : public kmr_test::ExtractingTest {
protected:
    ExtractMemoryTest() {
        compose_clip("a.kmr", "demo.h264");
        make_old(file_);
        before_ = read_quietly(file_);
    }

    // What stands in front of main asks too, and knows no other way out.
    static bool is_ended_before_main(const run::result& run, int nth) {
        return nth < 1000 && (run.status == 127 || run.err.starts_with("terminate called"));
    }
    // Libraries that come with the one for containers have words of their own when they are loaded, and some end the
    // program: nothing is written by then. That one itself knows better, though it may pass over a single refusal.
    // Behind the last words of kmr, too, they may want memory, and without it the system's loader ends the program.
    static bool is_ended_while_loading(const run::result& run) {
        return !run.err.starts_with("kmr: ") && run.status != 0;
    }

    // One of them waits for itself for ever where it has no memory: it is ended then.
    run::result run_with(const std::string& out, const std::string& plan) const {
        try {
            return place_.kmr({"extract", "a.kmr", "-o", out},
                              {.environment = {"LD_PRELOAD=" KMR_REFUSE_MEMORY, "REFUSE=" + plan},
                               .timeout = std::chrono::seconds(10)});
        } catch (const std::runtime_error& why) {
            return {.status = -SIGKILL, .out = {}, .err = why.what()};
        }
    }

    void refuse(const std::string& out, bool loads_libraries) const {
        const std::string file = place_.folder().file(out);
        ASSERT_EQ(extract({"a.kmr", "-o", out}).status, 0);
        const recording::bytes whole = content(out);
        for (const std::string lasts : {"", "+"}) {
            int refusals = 0;
            int told = 0;
            for (int nth = 1;; nth += step(), ++refusals) {
                SCOPED_TRACE(out + " " + std::to_string(nth) + lasts);
                fs::remove(file);
                make_old(file_);
                const auto run = run_with(out, std::to_string(nth) + lasts);
                EXPECT_TRUE(is_old(file_));
                EXPECT_EQ(read_quietly(file_), before_);
                if (!fs::remove(place_.folder().path() / "refused"))
                    break;
                EXPECT_FALSE(fs::exists(file + ".kmr-new"));
                const bool is_written = fs::exists(file);
                const bool is_ended_behind = is_written && loads_libraries && run.status == 127;
                EXPECT_TRUE(is_written == (run.status == 0) || is_ended_behind) << run.status << run.err;
                told += run.status == 2 ? 1 : 0;
                if (is_written) {
                    EXPECT_TRUE(content(out) == whole || (loads_libraries && lasts.empty()));
                    EXPECT_TRUE(run.err.empty() || loads_libraries) << run.err;
                } else if (!is_ended_before_main(run, nth) &&
                           !(loads_libraries && is_ended_while_loading(run))) {
                    EXPECT_TRUE(run.status == 2 || (loads_libraries && run.status == 127)) << run.status;
                    EXPECT_TRUE(run.err.starts_with("kmr: ")) << run.err;
                }
                if (HasFailure())
                    return;
            }
            EXPECT_GT(refusals * step(), 1000);
            EXPECT_GT(told, 5);
        }
    }

    const std::string file_ = place_.folder().file("a.kmr");
    recording::bytes before_ = {};
};

TEST_F(ExtractMemoryTest, IsRefusedWhileAStreamIsWritten) {
    refuse("b.h264", false);
}

#ifndef KMR_WITHOUT_CONTAINERS
TEST_F(ExtractMemoryTest, IsRefusedWhileAContainerIsWritten) {
    refuse("b.mp4", true);
    refuse("b.mkv", true);
}
#endif

} // namespace
