// A report that somebody watches.
#include "tests/program/viewer.hpp"
#include "tests/support/watched_terminal.hpp"

#include <gmock/gmock.h>

namespace {

TEST(TerminalTest, HasTheReportThatAFileHas) {
    const viewer::place place;
    const watched_terminal watched;
    const run::options how{.directory = place.path(), .environment = {}, .stdout_path = watched.name()};
    const run::result result = run::program(KMR_VIEWER, {"-h"}, how);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(viewer::normalised(viewer::replaced(watched.shown(), "\r\n", "\n")), place.report({"-h"}));
}

} // namespace
