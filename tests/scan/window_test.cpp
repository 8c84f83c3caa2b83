// The window on a source, and what a judgement makes of a source that fails where the window does not look.
#include "scan/window.hpp"

#include "scan/quick_look.hpp"
#include "tests/scan/compose.hpp"

#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

namespace scan = kmr::scan;
using scan_test::bytes;
using testing::ElementsAre;

// Hands out what it is told to for one read, which is known by its place and length.
class odd_source final : public scan::byte_source {
public:
    explicit odd_source(const bytes& content) : inner_(content), size_(content.size()) {}

    uint64_t size() const override { return size_; }
    scan::source_change change() const override { return changed; }
    scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override {
        reads.push_back({offset, into.size()});
        if (offset == odd_offset && (odd_length == 0 || into.size() == odd_length))
            return odd_result;
        return inner_.read_at(offset, into);
    }
    void claim(uint64_t size) { size_ = size; }

    std::vector<std::pair<uint64_t, size_t>> reads;
    uint64_t odd_offset = UINT64_MAX;
    size_t odd_length = 0; // 0: any
    scan::read_result odd_result = {};
    scan::source_change changed = scan::source_change::none;

private:
    scan::memory_source inner_;
    uint64_t size_;
};

bytes counted(size_t size) {
    bytes content(size);
    for (size_t i = 0; i < size; ++i)
        content[i] = static_cast<uint8_t>(i % 251);
    return content;
}

TEST(WindowTest, GoesBackAndForth) {
    const bytes content = counted(300'000);
    odd_source source(content);
    scan::window window(source);
    EXPECT_THAT(window.view(200'000, 2), ElementsAre(200'000 % 251, 200'001 % 251));
    EXPECT_THAT(window.view(10, 2), ElementsAre(10, 11)); // before what it holds
    EXPECT_THAT(window.view(250, 2), ElementsAre(250, 0));
    // Long steps and steps back read what is asked for; a short one on reads a piece of 64 KiB.
    EXPECT_THAT(source.reads,
                ElementsAre(testing::Pair(200'000, 2), testing::Pair(10, 2), testing::Pair(250, 65536)));
}

TEST(WindowTest, EndsWhereItsSourceEnds) {
    const bytes content = counted(100);
    odd_source source(content);
    scan::window window(source);
    EXPECT_THAT(window.view(98, 10), ElementsAre(98, 99));
    EXPECT_TRUE(window.view(100, 1).empty());
    EXPECT_TRUE(window.view(UINT64_MAX, 1).empty());
    bytes into(4);
    EXPECT_EQ(window.peek(100, into), 0U);
    EXPECT_EQ(window.peek(97, into), 3U);
    uint32_t word = 0;
    EXPECT_FALSE(window.load(97, word));
    EXPECT_TRUE(window.load(96, word));
    EXPECT_EQ(word, 0x63626160U);
}

// Where the bytes of a source of 100 end at 60.
TEST(WindowTest, StopsWhereBytesAreMissing) {
    const bytes content = counted(60);
    odd_source source(content);
    source.claim(100);
    scan::window window(source);
    bytes into(20);
    for (const bool viewed : {true, false}) {
        try {
            if (viewed)
                window.view(50, 20);
            else
                window.peek(50, into);
            FAIL();
        } catch (const scan::read_stopped& stopped) {
            EXPECT_EQ(stopped.offset, 60U);
            EXPECT_EQ(stopped.error, 0);
        }
    }
}

TEST(WindowTest, StopsWhereAReadFails) {
    const bytes content = counted(100);
    odd_source source(content);
    source.odd_offset = 40;
    source.odd_result = {.count = 0, .error = EIO};
    scan::window window(source);
    bytes into(20);
    for (const bool viewed : {true, false}) {
        try {
            if (viewed)
                window.view(40, 20);
            else
                window.peek(40, into);
            FAIL();
        } catch (const scan::read_stopped& stopped) {
            EXPECT_EQ(stopped.offset, 40U);
            EXPECT_EQ(stopped.error, EIO);
        }
    }
}

// The records of an index are read in one piece that begins with the first, at 1204 of a recording of ten frames.
TEST(AnIndexThatCannotBeReadTest, MakesARecordingUnreadable) {
    const bytes file = scan_test::recording_of(scan_test::sound_frames(10));
    odd_source source(file);
    source.odd_offset = 1204;
    source.odd_result = {.count = 0, .error = EIO};
    scan::report judged = scan::judge(source);
    EXPECT_EQ(judged.judged, scan::verdict::unreadable);
    EXPECT_EQ(judged.ended, scan::end_state::read_failed);
    EXPECT_EQ(judged.error, EIO);
    EXPECT_FALSE(judged.repair.possible);
    source.odd_result = {.count = 100};
    judged = scan::judge(source);
    EXPECT_EQ(judged.judged, scan::verdict::unreadable);
    EXPECT_EQ(judged.ended, scan::end_state::shrunk);
    EXPECT_EQ(judged.error, 0);

    const scan::quick_look look = scan::look_quickly(source);
    EXPECT_EQ(look.ended, scan::end_state::shrunk);
    source.odd_result = {.count = 0, .error = EIO};
    EXPECT_EQ(scan::look_quickly(source).ended, scan::end_state::read_failed);
    EXPECT_EQ(scan::look_quickly(source).error, EIO);
}

// A record that names no I-frame is followed to see what it names.
TEST(AnIndexThatCannotBeReadTest, NorCanWhatARecordNames) {
    bytes file = scan_test::recording_of(scan_test::sound_frames(10));
    recording::put_u32(file, 1284 + 4, 336); // a P-frame
    odd_source source(file);
    source.odd_offset = 336;
    source.odd_length = 32;
    source.odd_result = {.count = 0, .error = EIO};
    scan::report judged = scan::judge(source);
    EXPECT_EQ(judged.judged, scan::verdict::unreadable);
    EXPECT_EQ(judged.error, EIO);
    source.odd_result = {.count = 31}; // and with a part of a header it names nothing
    EXPECT_THAT(scan_test::found(scan::judge(source)),
                ElementsAre("index-entry-wrong @1284 +80 record=1 field=offset actual=336"));
}

TEST(ASourceThatChangesTest, IsUnreadableWhenItShrankOrCannotBeAsked) {
    const bytes file = scan_test::recording_of(scan_test::sound_frames(10));
    odd_source source(file);
    const struct {
        scan::source_change change;
        scan::verdict judged;
        bool changed;
        scan::end_state ended;
    } changes[] = {
        {scan::source_change::none, scan::verdict::sound, false, scan::end_state::complete},
        {scan::source_change::rewritten, scan::verdict::sound, true, scan::end_state::complete},
        {scan::source_change::grown, scan::verdict::sound, true, scan::end_state::complete},
        {scan::source_change::shrunk, scan::verdict::unreadable, true, scan::end_state::shrunk},
        {scan::source_change::unknown, scan::verdict::unreadable, true, scan::end_state::shrunk},
    };
    for (const auto& each : changes) {
        source.changed = each.change;
        const scan::report judged = scan::judge(source);
        EXPECT_EQ(judged.judged, each.judged);
        EXPECT_EQ(judged.changed, each.changed);
        EXPECT_EQ(judged.ended, each.ended);
    }
}

TEST(UnreadableTest, SaysWhy) {
    const scan::report judged = scan::unreadable(EACCES);
    EXPECT_EQ(judged.judged, scan::verdict::unreadable);
    EXPECT_EQ(judged.ended, scan::end_state::read_failed);
    EXPECT_EQ(judged.error, EACCES);
}

} // namespace
