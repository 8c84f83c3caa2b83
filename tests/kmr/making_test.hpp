// A command that makes a file out of a recording: what it prints, what it leaves in a folder of its own.
#pragma once

#include "tests/kmr/changed_file.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace kmr_test {

class making_test : public testing::Test {
protected:
    explicit making_test(std::string name) : name_(std::move(name)) {}

    run::result command(const words& more, run::options how = {}) const {
        words arguments = {name_};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return place_.kmr(arguments, std::move(how));
    }

    std::string text(const std::string& name) const {
        return scratch::read_text(place_.folder().path() / name);
    }
    std::vector<std::string> names() const { return names_in(place_.folder().path()); }

    // Nothing is made then, and nothing changed.
    void expect_refused(const words& arguments, const std::string& message, run::options how = {}) const {
        SCOPED_TRACE(testing::PrintToString(arguments));
        const auto before = names();
        const std::string recording = text("a.kmr");
        const auto run = command(arguments, std::move(how));
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "kmr: " + message + "\n");
        EXPECT_EQ(names(), before);
        EXPECT_EQ(text("a.kmr"), recording);
    }

    // a.kmr is never made into something else, by none of its names, and nothing is written through a link.
    void expect_no_way_onto_the_recording(const std::string& suffix) const {
        namespace fs = std::filesystem;
        const fs::path folder = place_.folder().path();
        const std::string hard = "hard" + suffix;
        const std::string soft = "soft" + suffix;
        const std::string dangling = "dangling" + suffix;
        make_old(folder / "a.kmr");
        fs::create_hard_link(folder / "a.kmr", folder / hard);
        fs::create_symlink("a.kmr", folder / soft);
        fs::create_symlink("nowhere", folder / dangling);
        fs::create_directory(folder / ("folder" + suffix));
        for (const char* const force : {"", "--force"}) {
            const auto refused = [&](const std::string& from, const std::string& to, const std::string& why) {
                words arguments = {from, "-o", to};
                if (*force != '\0')
                    arguments.emplace_back(force);
                const auto run = command(arguments);
                EXPECT_EQ(run.status, 2);
                EXPECT_EQ(run.err, "kmr: " + to + ": " + why + "\n");
            };
            refused("a.kmr", hard, "is the recording itself");
            refused(soft, hard, "is the recording itself");
            refused("a.kmr", soft, "a symbolic link: nothing is written through it");
            refused("a.kmr", dangling, "a symbolic link: nothing is written through it");
            refused("a.kmr", "folder" + suffix, "not a regular file");
            refused("a.kmr", "no/p" + suffix, "No such file or directory");
        }
        EXPECT_TRUE(is_old(folder / "a.kmr"));
        EXPECT_THAT(names(), testing::ElementsAre("a.kmr", dangling, "folder" + suffix, hard, soft));
        EXPECT_EQ(command({soft, "-o", "p" + suffix}).status, 0); // reading follows links
    }

    const workplace place_ = {};

private:
    std::string name_;
};

} // namespace kmr_test
