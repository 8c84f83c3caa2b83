// What somebody at a terminal sees.
#include "tests/kmr/on_terminal.hpp"

#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>

namespace {

using kmr_test::on_terminal;
using kmr_test::words;
using kmr_test::workplace;

TEST(TerminalTest, HasColorsUnlessTheyAreNotWanted) {
    const workplace place;
    place.compose("a.kmr");
    const auto out = [&](const words& arguments, const words& environment) {
        on_terminal run(place, arguments, environment);
        std::string text = run.read_until();
        run.wait_status();
        return text.substr(0, text.find(' '));
    };
    EXPECT_EQ(out({"check", "a.kmr"}, {}), "\x1b[32msound\x1b[0m");
    EXPECT_EQ(out({"check", "a.kmr"}, {"NO_COLOR=1"}), "sound");
    EXPECT_EQ(out({"check", "a.kmr"}, {"NO_COLOR="}), "\x1b[32msound\x1b[0m");
    EXPECT_EQ(out({"check", "--color", "never", "a.kmr"}, {}), "sound");
}

TEST(TerminalTest, HasNoProgressOfShortWork) {
    const workplace place;
    place.compose("a.kmr");
    on_terminal run(place, {"check", "--color", "never", "a.kmr"});
    EXPECT_EQ(run.read_until(),
              "sound            2015-01-02T03:04:05.000+00:00  0:00:00.360       10 frames  -  a.kmr\r\n");
    EXPECT_EQ(run.wait_status(), 0);
}

// Hours of work in a file that takes no room.
TEST(TerminalTest, HasProgressOfLongWorkAndEndsByAnInterrupt) {
    const workplace place;
    place.compose("a.kmr");
    place.folder().write_text("zeros", "");
    std::filesystem::resize_file(place.folder().path() / "zeros", uint64_t{1} << 40);
    for (const words& arguments : {words{"check", "a.kmr", "zeros"}, words{"frames", "zeros"}}) {
        on_terminal run(place, arguments);
        const std::string text = run.read_until(" left");
        EXPECT_NE(text.find(arguments[0] == "check" ? "\r\x1b[Kfiles 1 of 2, " : "\r\x1b[Kfiles 0 of 1, "),
                  std::string::npos)
            << text;
        EXPECT_NE(text.find(" of 1099.5 GB, "), std::string::npos) << text;
        kill(run.child(), SIGINT);
        EXPECT_EQ(run.wait_status(), -SIGINT);
    }
}

} // namespace
