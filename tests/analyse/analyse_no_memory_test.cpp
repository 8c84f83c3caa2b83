// An analysis that gets no memory for the walk's work buffer, or none for the search.
#include "analyse/analyse.h"
#include "tests/analyse/analysis_fixture.hpp"
#include "tests/fakes/module_probe.hpp"

#include <cstdlib>

namespace {

int allocations_left = -1; // negative: as many as are wanted

} // namespace

// The linker leads the product's own allocations here; those of the C and C++ libraries go past.
extern "C" {
void* __real_malloc(size_t size);

void* __wrap_malloc(size_t size) {
    const bool granted = allocations_left < 0 || allocations_left-- > 0;
    return granted ? __real_malloc(size) : nullptr;
}
}

namespace {

namespace option = analysis::option;

class AnalyseNoMemoryTest : public analysis::AnalysisTest {
protected:
    std::string report_granted(int allocations, const analysis::bytes& recording, uint32_t options) const {
        const std::string name = put(recording);
        return analysis::printed([&] {
            allocations_left = allocations;
            EXPECT_EQ(analyse_kmr(name.c_str(), options), 0);
            allocations_left = -1;
        });
    }
};

TEST_F(AnalyseNoMemoryTest, WithoutAWorkBufferNothingIsWalked) {
    EXPECT_EQ(report_granted(0, analysis::small_recording(), option::i | option::t),
              analysis::frame_table_heading());
    EXPECT_EQ(text("EndFrame"), "0\n");
    EXPECT_FALSE(exists("Diff"));
    EXPECT_EQ(analysis::resources_in_use(), analysis::resources{});
    // Header report: Stat, Open, Seek, Read, Close; walk: Stat, Open, Close.
    EXPECT_EQ(module_probe::count(), 8);
}

TEST_F(AnalyseNoMemoryTest, WithoutMemoryForTheSearchNothingIsFound) {
    EXPECT_EQ(report_granted(1, analysis::small_recording(), 0), "Well done :)\n");
    const analysis::bytes recording = analysis::of_pieces(
        9, {analysis::bytes(50, 0xFF), recording::frame_record({.number = 5, .kind = 0})});
    EXPECT_EQ(report_granted(2, recording, 0), "");
    EXPECT_EQ(text("EndFrame"), "5\n");
    folder().write_text("EndFrame", "1\n");
    g_TempLastFrmNum = 0;
    EXPECT_EQ(report_granted(1, recording, 0), "");
    EXPECT_EQ(text("EndFrame"), "0\n");
}

} // namespace
