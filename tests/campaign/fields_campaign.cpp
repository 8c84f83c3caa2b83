// Every field of a recording that says how much there is of something, set to the values where arithmetic goes wrong:
// each alone, and every two of them together.
#include "analyse/format/file_header.h"
#include "analyse/format/index_block.h"
#include "tests/campaign/harness.hpp"
#include "tests/campaign/recordings.hpp"
#include "tests/campaign/services.hpp"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace {

using recording::bytes;
using recording::get_u32;

struct field {
    std::string name;
    size_t offset;
    size_t width;
    size_t behind; // bytes of the file behind the structure that the field belongs to
};

constexpr size_t values = 8;

size_t value_of(const field& of, size_t which) {
    const std::array<size_t, values> all = {0,          1,          of.behind - 1, of.behind, of.behind + 1,
                                            0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
    return all[which];
}

void set(bytes& file, const field& to, size_t value) {
    for (size_t i = 0; i < to.width; ++i)
        file[to.offset + i] = static_cast<uint8_t>(value >> 8 * i);
}

class field_finder {
public:
    explicit field_finder(const bytes& file) : file_(file) {}

    std::vector<field> find() {
        take("file header", 80, {{"TotalSize", 0, 4}, {"FrameCount", 4, 4}}, KMR_FILE_HEADER_SIZE);
        const size_t index = index_block();
        size_t at = KMR_FILE_HEADER_SIZE;
        for (int number = 0; at + KMR_FRAME_HEADER_SIZE <= index; ++number) {
            const size_t next = find_header(at + 1);
            // All frames are alike; the first two and the last two stand for them.
            if (number < 2 || find_header(next + 1) >= index)
                take_frame("frame " + std::to_string(number), at);
            at = next;
        }
        if (index < file_.size())
            take_index(index);
        return fields_;
    }

private:
    struct part {
        const char* name;
        size_t offset;
        size_t width;
    };

    void take(const std::string& structure, size_t at, const std::vector<part>& parts, size_t behind) {
        for (const part& each : parts)
            if (at + each.offset + each.width <= file_.size())
                fields_.push_back({structure + "." + each.name, at + each.offset, each.width,
                                   file_.size() - std::min(file_.size(), behind)});
    }

    size_t index_block() const {
        const size_t size = file_.size();
        if (get_u32(file_, size - 8) != KMR_INDEX_MAGIC)
            return size;
        return size - get_u32(file_, size - 4);
    }

    size_t find_header(size_t from) const {
        for (size_t at = from; at + 4 <= file_.size(); ++at)
            if (get_u32(file_, at) == KMR_SYNC_WORD)
                return at;
        return file_.size();
    }

    void take_frame(const std::string& name, size_t at) {
        take(name, at,
             {{"FrameSize", 4, 4}, {"VideoSize", 20, 4}, {"AFrameNum", 24, 2}, {"AFrameSize", 26, 2}},
             at + KMR_FRAME_HEADER_SIZE);
        const size_t payload = at + KMR_FRAME_HEADER_SIZE;
        const auto magic = std::search(file_.begin() + static_cast<std::ptrdiff_t>(payload), file_.end(),
                                       std::begin("ZNST"), std::end("ZNST") - 1);
        const auto block = static_cast<size_t>(magic - file_.begin());
        if (block < payload + 16)
            take_user_data(name + " user data", block);
    }

    void take_user_data(const std::string& name, size_t block) {
        take(name, block, {{"size", static_cast<size_t>(-1), 1}, {"count", 4, 2}, {"length", 6, 2}},
             block + 8);
        take(name + " segment 0", block + 8, {{"length", 2, 2}}, block + 12);
    }

    void take_index(size_t at) {
        take("index head", at,
             {{"FrameSize", 4, 4},
              {"tags", 12, 4},
              {"VideoSize", 20, 4},
              {"RecordCount", 32, 4},
              {"RecordSize", 36, 4},
              {"MemoryNum", 40, 4}},
             at + KMR_INDEX_HEAD_SIZE);
        take("record 0", at + KMR_INDEX_HEAD_SIZE, {{"IPos", 4, 4}}, at + KMR_INDEX_HEAD_SIZE + 80);
        take("trailer", file_.size() - 8, {{"Length", 4, 4}}, 0);
    }

    const bytes& file_;
    std::vector<field> fields_;
};

struct target {
    const recordings::composed* recording;
    std::vector<field> fields;

    size_t singles() const { return fields.size() * values; }
    size_t pairs() const { return fields.size() * (fields.size() - 1) / 2 * values * values; }
};

// One field with a value, or two.
struct setting {
    size_t field;
    size_t value;
};

class field_cases : public campaign::case_list {
public:
    field_cases() {
        for (const recordings::composed& each : recordings::all())
            targets_.push_back({&each, field_finder(each.content).find()});
    }

    size_t size() const override {
        size_t all = 0;
        for (const target& each : targets_)
            all += (each.singles() + each.pairs()) * services::all.size();
        return all;
    }

    std::string describe(size_t number) const override {
        const chosen at = find(number);
        std::string text = at.from->recording->name + ", " + at.service->name;
        for (const setting& each : at.settings) {
            const field& of = at.from->fields[each.field];
            text += ", " + of.name + "=" + std::to_string(value_of(of, each.value));
        }
        return text;
    }

    void run(size_t number) override {
        const chosen at = find(number);
        bytes file = at.from->recording->content;
        for (const setting& each : at.settings)
            set(file, at.from->fields[each.field], value_of(at.from->fields[each.field], each.value));
        at.service->run(file);
    }

private:
    struct chosen {
        const target* from;
        const services::service* service;
        std::vector<setting> settings;
    };

    chosen find(size_t number) const {
        const services::service& service = services::all[number % services::all.size()];
        number /= services::all.size();
        for (const target& each : targets_) {
            if (number < each.singles())
                return {&each, &service, {{number / values, number % values}}};
            number -= each.singles();
            if (number < each.pairs())
                return {&each, &service, pair(number)};
            number -= each.pairs();
        }
        return {};
    }

    static std::vector<setting> pair(size_t number) {
        const size_t first_value = number % values;
        const size_t second_value = number / values % values;
        number /= values * values;
        size_t second = 1;
        for (; number >= second; ++second)
            number -= second;
        return {{number, first_value}, {second, second_value}};
    }

    std::vector<target> targets_;
};

} // namespace

int main(int argc, char** argv) {
    field_cases cases;
    return campaign::run(argc, argv, cases);
}
