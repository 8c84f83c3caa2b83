// What holds after any damage: no error stays, nothing is left to do, no frame that was whole is lost unless it is told,
// and what was written is taken back to the last bit.
#include "tests/mend/on_disk.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <gmock/gmock.h>
#include <random>

namespace {

using namespace mend_test;
using kmr::mend::plan_status;
using kmr::mend::repair_plan;
namespace scan = kmr::scan;

class random_damage {
public:
    explicit random_damage(uint32_t seed) : random_(seed) {}

    bytes recording() {
        auto all = below(2) == 0 ? scan_test::sound_frames(20) : scan_test::h265_frames(20);
        for (auto& each : all) {
            each.audio_count = static_cast<uint16_t>(audio_);
            each.audio_size = 20;
            each.time_stamp += below(3);
        }
        all[below(20)].tag = below(3) == 0 ? uint16_t{0x7788} : uint16_t{0};
        auto index = scan_test::records_for(all);
        index[below(index.size())].tag = "here";
        return scan_test::recording_of(all, index);
    }

    void hurt(bytes& file) {
        const size_t at = place(file);
        const size_t length = std::min<size_t>(1 + below(below(3) == 0 ? 400 : 40), file.size() - at);
        switch (below(10)) {
        case 0:
            overwrite(file, at, length, static_cast<uint8_t>(below(256)));
            break;
        case 1:
            for (size_t i = at; i < at + length; ++i)
                file[i] = static_cast<uint8_t>(below(256));
            break;
        case 2:
            file = inserted(file, at, length, static_cast<uint8_t>(below(256)));
            break;
        case 3:
            file = removed(file, at, length);
            break;
        case 4:
            file = cut(file, std::max<size_t>(at, 88));
            break;
        case 5:
            file = doubled(file, at, length);
            break;
        case 6:
            set_words(file, below(2) == 0 ? 12 : 16);
            break;
        case 7:
            claim(file);
            break;
        default:
            file[at] = static_cast<uint8_t>(below(256));
            break;
        }
    }

    uint32_t below(size_t limit) { return static_cast<uint32_t>(random_() % limit); }

private:
    static bytes doubled(const bytes& file, size_t at, size_t length) {
        bytes longer = file;
        const auto from = file.begin() + static_cast<std::ptrdiff_t>(at);
        longer.insert(longer.begin() + static_cast<std::ptrdiff_t>(at), from,
                      from + static_cast<std::ptrdiff_t>(length));
        return longer;
    }

    static std::vector<size_t> headers_of(const bytes& file) {
        const uint8_t sync[] = {0, 0, 0, 2};
        std::vector<size_t> headers;
        for (auto from = file.begin();; ++from) {
            from = std::search(from, file.end(), std::begin(sync), std::end(sync));
            if (file.end() - from < 32)
                return headers;
            headers.push_back(static_cast<size_t>(from - file.begin()));
        }
    }

    // Of one to four headers in a row.
    void set_words(bytes& file, size_t field) {
        const std::vector<size_t> headers = headers_of(file);
        if (headers.empty())
            return;
        const size_t first = below(headers.size());
        const size_t end = std::min<size_t>(first + 1 + below(4), headers.size());
        for (size_t i = first; i < end; ++i) {
            const uint32_t word = recording::get_u32(file, headers[i] + field);
            const uint32_t words[] = {0, below(SIZE_MAX), word + below(400) - 200, word + 100'000};
            recording::put_u32(file, headers[i] + field, words[below(4)]);
        }
    }

    // A header that reaches to another one, or to the end.
    void claim(bytes& file) {
        std::vector<size_t> places = headers_of(file);
        if (places.empty())
            return;
        places.push_back(file.size());
        const size_t first = below(places.size() - 1);
        const size_t at = places[first];
        const size_t length = places[first + 1 + below(places.size() - 1 - first)] - at;
        const uint32_t audio = static_cast<uint32_t>(audio_ * 20);
        recording::put_u32(file, at + 4, static_cast<uint32_t>(length));
        recording::put_u32(file, at + 20, static_cast<uint32_t>(length) - 32 - audio);
    }

    // More often than not within a header.
    size_t place(const bytes& file) {
        const uint8_t sync[] = {0, 0, 0, 2};
        const size_t from = below(file.size());
        const auto hit = std::search(file.begin() + static_cast<std::ptrdiff_t>(from), file.end(),
                                     std::begin(sync), std::end(sync));
        const size_t at = static_cast<size_t>(hit - file.begin()) + below(32);
        return below(3) == 0 || at >= file.size() ? from : at;
    }

    std::mt19937 random_;
    size_t audio_ = random_() % 3;
};

void expect_taken_back(const bytes& damaged, const bytes& expected) {
    model_disk disk;
    disk.put(path, damaged, old_dates);
    EXPECT_TRUE(repair_on(disk).is_done());
    EXPECT_EQ(disk.content(path), expected);
    EXPECT_TRUE(undo_on(disk).is_done());
    EXPECT_EQ(disk.content(path), damaged);
}

void expect_mendable(const bytes& damaged) {
    const repair_plan plan = plan_of(damaged);
    if (plan.before.judged == scan::verdict::not_a_recording || plan.status == plan_status::no_picture_size)
        return;
    ASSERT_TRUE(plan.status == plan_status::ready || plan.status == plan_status::nothing_to_do)
        << static_cast<int>(plan.status);
    EXPECT_EQ(plan.errors_left, 0U);
    if (plan.status == plan_status::nothing_to_do)
        return;
    EXPECT_GE(plan.frames_kept + plan.frames_covered, plan.before.frames.total);
    const bytes after = with_changes(damaged, plan.planned);
    EXPECT_EQ(plan_of(after).status, plan_status::nothing_to_do);
    EXPECT_EQ(scan_test::judge(after).frames.total, plan.frames_kept + plan.covers);
    expect_taken_back(damaged, after);
}

TEST(MendPropertyTest, AnyDamage) {
    const char* wanted = std::getenv("KMR_MEND_SEEDS"); // how many; first one behind a colon
    uint32_t seeds = 1500;
    uint32_t first = 0;
    if (wanted != nullptr)
        std::sscanf(wanted, "%u:%u", &seeds, &first);
    for (uint32_t seed = first; seed < first + seeds; ++seed) {
        SCOPED_TRACE(seed);
        random_damage damage(seed);
        bytes file = damage.recording();
        for (uint32_t times = 1 + damage.below(3); times > 0; --times)
            damage.hurt(file);
        expect_mendable(file);
        if (testing::Test::HasFailure()) {
            for (const std::string& each : told(plan_of(file)))
                std::printf("  %s\n", each.c_str());
            for (const std::string& each : scan_test::found(file))
                std::printf("  found %s\n", each.c_str());
            const auto plan = plan_of(file);
            for (const std::string& each : scan_test::found(with_changes(file, plan.planned)))
                std::printf("  after %s\n", each.c_str());
            return;
        }
    }
}

} // namespace
