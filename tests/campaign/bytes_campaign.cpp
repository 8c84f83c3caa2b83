// Every byte of every recording replaced eleven ways and every length from nothing to whole, through every service;
// the same for the index file and the query.
#include "tests/campaign/harness.hpp"
#include "tests/campaign/recordings.hpp"
#include "tests/campaign/services.hpp"

#include <string>
#include <vector>

namespace {

using recording::bytes;

constexpr size_t ways = 11; // each of the 8 bits flipped, all zeros, all ones, inverted

uint8_t replaced(uint8_t byte, size_t way) {
    if (way < 8)
        return static_cast<uint8_t>(byte ^ 1U << way);
    if (way == 8)
        return 0x00;
    return way == 9 ? 0xFF : static_cast<uint8_t>(~byte);
}

// All the harm that is done to one file: first the bytes, then the lengths.
size_t harms(const bytes& file) {
    return file.size() * ways + file.size() + 1;
}

bytes harmed(const bytes& file, size_t harm) {
    bytes result = file;
    if (harm < file.size() * ways)
        result[harm / ways] = replaced(file[harm / ways], harm % ways);
    else
        result.resize(harm - file.size() * ways);
    return result;
}

std::string shown(const bytes& file, size_t harm) {
    if (harm >= file.size() * ways)
        return "cut to " + std::to_string(harm - file.size() * ways) + " bytes";
    const size_t at = harm / ways;
    return "byte " + std::to_string(at) + " " + std::to_string(file[at]) + " -> " +
           std::to_string(replaced(file[at], harm % ways));
}

// A file and what is done with it.
struct target {
    std::string name;
    const bytes* file;
    void (*run)(const bytes& file);
};

class byte_cases : public campaign::case_list {
public:
    byte_cases() {
        for (const recordings::composed& each : recordings::all())
            for (const services::service& service : services::all)
                targets_.push_back({each.name + ", " + service.name, &each.content, service.run});
        targets_.push_back({"Index.dat, query", &recordings::index_file(), services::query});
    }

    size_t size() const override {
        size_t all = 0;
        for (const target& each : targets_)
            all += harms(*each.file);
        return all;
    }
    std::string describe(size_t number) const override {
        const target& at = find(number);
        return at.name + ", " + shown(*at.file, number);
    }
    void run(size_t number) override {
        const target& at = find(number);
        at.run(harmed(*at.file, number));
    }

private:
    // Leaves in `number` which of the target's harms it is.
    const target& find(size_t& number) const {
        for (const target& each : targets_) {
            if (number < harms(*each.file))
                return each;
            number -= harms(*each.file);
        }
        return targets_.back();
    }

    std::vector<target> targets_;
};

} // namespace

int main(int argc, char** argv) {
    byte_cases cases;
    return campaign::run(argc, argv, cases);
}
