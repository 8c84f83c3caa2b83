// Memory refused while a container is written, request by request, once and for good: it is told, or the container is whole
// all the same. (Of a single request the library that writes it does not always tell.)
#include "convert/container.hpp"
#include "tests/convert/extracted.hpp"
#include "tests/convert/refused_requests.h"

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <new>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using convert_test::bytes;
using kmr::convert::container_format;
using kmr::convert::container_options;
using kmr::convert::extract_status;
using kmr::convert::extracted;
using kmr::convert::sound_coding;
using kmr::convert::stop_reason;

// Asks for no memory of its own: the library that writes into it knows no exceptions.
class fixed_sink final : public kmr::convert::byte_sink {
public:
    int write_at(uint64_t offset, std::span<const uint8_t> written) override {
        std::copy(written.begin(), written.end(), content_.begin() + static_cast<std::ptrdiff_t>(offset));
        size_ = std::max(size_, offset + written.size());
        return 0;
    }
    bytes content() const {
        return {content_.begin(), content_.begin() + static_cast<std::ptrdiff_t>(size_)};
    }

private:
    bytes content_ = bytes(size_t{1} << 20);
    uint64_t size_ = 0;
};

bytes recording_with_sound() {
    scan_test::frames some = scan_test::sound_frames(12);
    for (auto& each : some) {
        each.audio_count = 2;
        each.audio_size = 160;
    }
    some[6].time_stamp += 20; // and some silence
    for (size_t i = 7; i < some.size(); ++i)
        some[i].time_stamp += 2000;
    bytes file = scan_test::recording_of(some);
    file.at(74) = 1;
    recording::put_u32(file, 76, 8000);
    return file;
}

extracted write(const bytes& file, fixed_sink& into, const container_options& options) {
    kmr::scan::memory_source source(file);
    const auto stream = kmr::convert::make_container(into, options);
    return kmr::convert::extract(source, {}, *stream);
}

class ContainerMemoryTest : public testing::TestWithParam<container_format> {};

TEST_P(ContainerMemoryTest, IsRefusedAtEachRequest) {
    const container_options options = {
        .format = GetParam(), .sound = sound_coding::alaw, .longest_step_ms = {}};
    const bytes file = recording_with_sound();
    fixed_sink sink;
    ASSERT_EQ(write(file, sink, options).status, extract_status::done);
    const bytes whole = sink.content();
    for (const bool for_good : {false, true}) {
        int told = 0;
        int lacks_memory = 0;
        int thrown = 0;
        for (long nth = 1;; ++nth) {
            SCOPED_TRACE(nth);
            fixed_sink into;
            extracted of;
            bool is_out_of_memory = false;
            refuse_request(nth, for_good ? 1 : 0);
            try {
                of = write(file, into, options);
            } catch (const std::bad_alloc&) {
                is_out_of_memory = true;
            }
            const bool was_refused = refuse_no_more() != 0;
            thrown += is_out_of_memory ? 1 : 0;
            if (is_out_of_memory)
                continue;
            if (of.status == extract_status::done) {
                EXPECT_TRUE(into.content() == whole || (was_refused && !for_good));
            } else {
                ++told;
                EXPECT_EQ(of.status, extract_status::stopped);
                EXPECT_EQ(of.end.why, stop_reason::container);
                EXPECT_NE(of.end.words, "");
                lacks_memory += of.end.words == "Cannot allocate memory" ? 1 : 0;
            }
            if (!was_refused)
                break;
        }
        EXPECT_GT(told + thrown, 20);
        EXPECT_GE(lacks_memory, for_good ? 0 : 10);
        EXPECT_GT(thrown, 5);
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, ContainerMemoryTest,
                         testing::Values(container_format::mp4, container_format::mkv));

// With so little room the library and all that it needs cannot be loaded.
void want_a_container_in_little_room() {
    std::ifstream sizes("/proc/self/statm");
    rlim_t pages = 0;
    sizes >> pages;
    const rlim_t room = pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + (rlim_t{4} << 20);
    const rlimit little = {room, room};
    fixed_sink sink;
    if (setrlimit(RLIMIT_AS, &little) != 0)
        std::exit(2);
    const bool has_any =
        kmr::convert::has_containers() || kmr::convert::make_container(sink, container_options()) != nullptr;
    std::exit(has_any ? 1 : 0);
}

TEST(ContainerAbsenceTest, WhereTheLibraryCannotBeLoadedThereAreNone) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // in a process that has not loaded it
    EXPECT_EXIT(want_a_container_in_little_room(), testing::ExitedWithCode(0), "");
}

} // namespace
