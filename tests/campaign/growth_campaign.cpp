// Damaged recordings of every shape at one size and at twice that size: the work at most doubles.
#include "analyse/analyse.h"
#include "analyse/options.h"
#include "file_op/open_table.h"
#include "file_op/rebuild.h"
#include "file_op/tags.h"
#include "main/front_end.h"
#include "tests/campaign/harness.hpp"
#include "tests/campaign/memory_module.hpp"
#include "tests/campaign/services.hpp"
#include "tests/campaign/work_bound.hpp"

#include <array>
#include <functional>
#include <string>
#include <unistd.h>

namespace {

using recording::append;
using recording::bytes;
using recording::put_u32;

// --- shapes: files of about `size` bytes, the same pattern from end to end ---

recording::frame small_frame(uint32_t number) {
    return {.number = number,
            .time_stamp = 1000 + 40 * number,
            .kind = number % 4 == 1 ? 0U : 1U,
            .video = bytes(8, 0xAA)};
}

bytes repeated(size_t size, const std::function<bytes(uint32_t)>& piece) {
    bytes file = recording::file_header(1'000'000);
    for (uint32_t number = 1; file.size() < size; ++number)
        append(file, piece(number));
    return file;
}

bytes sound_frames(size_t size) {
    return repeated(size, [](uint32_t number) { return recording::frame_record(small_frame(number)); });
}

bytes with_index(size_t size) {
    bytes file = sound_frames(size * 2 / 3);
    std::vector<recording::index_record> records;
    for (uint32_t i = 0; file.size() + 80 * records.size() < size; ++i)
        records.push_back({.time = 1000 + i, .position = 88});
    append(file, recording::index_block(records));
    return file;
}

bytes noise(size_t size) {
    uint32_t state = 1;
    return repeated(size, [&](uint32_t) {
        state = state * 1664525 + 1013904223;
        return bytes(1, static_cast<uint8_t>(state >> 24));
    });
}

// Every second frame has lost its sync word.
bytes every_other_header_lost(size_t size) {
    return repeated(size, [](uint32_t number) {
        recording::frame all_i = small_frame(number);
        all_i.kind = 0;
        bytes frame = recording::frame_record(all_i);
        if (number % 2 == 0)
            put_u32(frame, 0, 0xFFFFFFFF);
        return frame;
    });
}

// Headers that overlap: each says that it is 8 bytes long.
bytes overlapping_headers(size_t size) {
    return repeated(size, [](uint32_t) {
        bytes piece(8);
        put_u32(piece, 0, 0x02000000);
        put_u32(piece, 4, 8);
        return piece;
    });
}

// Frames whose lengths disagree.
bytes lengths_disagree(size_t size) {
    return repeated(size, [](uint32_t number) {
        bytes frame = recording::frame_record(small_frame(number));
        put_u32(frame, 20, 7);
        return frame;
    });
}

// Damaged frames of no length, with an I-frame behind each.
bytes no_lengths(size_t size) {
    return repeated(size, [](uint32_t number) {
        bytes frame = recording::frame_record(small_frame(number));
        put_u32(frame, 4, 0);
        append(frame, recording::frame_record({.number = number, .kind = 0, .video = bytes(2, 1)}));
        return frame;
    });
}

// What looks like the head of an index, with an I-frame behind each.
bytes index_looks(size_t size) {
    return repeated(size, [](uint32_t number) {
        bytes frame =
            recording::frame_record({.number = number, .time_stamp = 0, .kind = 1, .video = bytes(4, 1)});
        append(frame, recording::frame_record({.number = number, .kind = 0, .video = bytes(2, 1)}));
        return frame;
    });
}

// The same with a trailer that leads back to the beginning, and so few frames counted that the walk ends soon.
bytes trailer_leads_back(size_t size) {
    bytes file = index_looks(size);
    bytes trailer(8);
    put_u32(trailer, 0, 0x0123ABCD);
    put_u32(trailer, 4, static_cast<uint32_t>(file.size() + 8 - 88));
    append(file, trailer);
    put_u32(file, 84, 40);
    return file;
}

bytes zeros(size_t size) {
    return repeated(size, [](uint32_t) { return bytes(1); });
}

struct shape {
    const char* name;
    bytes (*make)(size_t size);
};

constexpr shape shapes[] = {
    {"sound frames", sound_frames},
    {"an index", with_index},
    {"noise", noise},
    {"zeros", zeros},
    {"every other header lost", every_other_header_lost},
    {"overlapping headers", overlapping_headers},
    {"lengths disagree", lengths_disagree},
    {"frames of no length", no_lengths},
    {"frames that look like an index", index_looks},
    {"a trailer that leads back", trailer_leads_back},
};

// From below one block of any search to where its largest is passed by the double.
constexpr size_t sizes[] = {1000, 4000, 16000, 64000, 256000, 600'000};

campaign::figure worst("most growth when a file doubles, in percent", campaign::figure::kind::most);

// The calls that a service makes beyond the few that it makes for any file.
uint64_t calls_for(const services::service& service, const bytes& file) {
    service.run(bytes{});
    const uint64_t anyway = memory_module::counted().calls;
    service.run(file);
    const uint64_t calls = memory_module::counted().calls;
    return calls > anyway ? calls - anyway : 0;
}

class growth_cases : public campaign::case_list {
public:
    size_t size() const override { return std::size(shapes) * std::size(sizes) * services::all.size(); }

    std::string describe(size_t number) const override {
        const chosen at = find(number);
        return std::string(at.of.name) + ", " + at.service.name + ", " + std::to_string(at.size) + " bytes";
    }

    // Both sizes are within their bounds, which the service checks, and the larger takes at most 2.2 times the calls.
    void run(size_t number) override {
        const chosen at = find(number);
        constexpr uint64_t for_any_file = 40;
        const uint64_t single = calls_for(at.service, at.of.make(at.size));
        const uint64_t twice = calls_for(at.service, at.of.make(2 * at.size));
        if (single > for_any_file)
            worst.add(twice * 100 / single);
        campaign::expect(twice * 10 <= single * 22 + for_any_file * 10,
                         "twice the size takes at most 2.2 times the calls");
    }

private:
    struct chosen {
        const shape& of;
        const services::service& service;
        size_t size;
    };

    static chosen find(size_t number) {
        const services::service& service = services::all[number % services::all.size()];
        number /= services::all.size();
        return {shapes[number % std::size(shapes)], service, sizes[number / std::size(shapes)]};
    }
};

} // namespace

int main(int argc, char** argv) {
    growth_cases cases;
    return campaign::run(argc, argv, cases);
}
