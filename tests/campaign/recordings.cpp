#include "tests/campaign/recordings.hpp"

#include "tests/support/run_program.hpp"
#include "tests/support/scratch.hpp"

#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace recordings {
namespace {

struct recipe {
    const char* name;
    const char* words;
};

// Every kind of segment, those with a meaning of their own first.
#define EVERY_SEGMENT                                                                                        \
    "--segment vca_size=352,288 --segment vca_target=12,7 --segment osd=OSD --segment vca=VCA "              \
    "--segment frametime=TIME --segment gps=GPS --segment plate=PLATE --segment audio=AUDIO "                \
    "--segment vca_vi=VI --segment user_define=USER "

constexpr recipe recipes[] = {
    {"h264_user_data", "--frames 4 --i-interval 2 --payload 12 --p-payload 9 --user-data all " EVERY_SEGMENT},
    {"h265_user_data",
     "--codec h265 --frames 4 --i-interval 2 --payload 12 --p-payload 9 --user-data i-frames "
     "--segment vca_target=0,3 --segment 0xfed7=000003000000000300 --segment 0x1234=00 "
     "--segment osd=NEVER"},
    {"audio", "--frames 6 --i-interval 3 --payload 20 --p-payload 8 --audio 2x6"},
    {"inserted_and_encrypted", "--frames 6 --i-interval 2 --payload 70 --p-payload 8 --insert-after every:2 "
                               "--inserted-payload 6 --encrypt i-frames"},
    {"tags", "--frames 6 --i-interval 1 --payload 8 --stamp-step 3000 --tag 0=kick-off --tag 2=goal "
             "--tag 5=AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA"},
    {"no_index", "--frames 5 --i-interval 2 --payload 16 --p-payload 8 --no-index"},
    {"torn", "--frames 5 --i-interval 2 --payload 16 --p-payload 8 --torn-last 37"},
    {"lost_and_garbage",
     "--frames 8 --i-interval 3 --payload 16 --p-payload 8 --lose 2:1 --clock-jump 5:-4000 "
     "--gap-bytes 4:21 --tag 1=behind"},
    {"clock_from_0", "--frames 4 --i-interval 2 --payload 16 --p-payload 8 --first-stamp 0 --audio 1x4"},
    {"more_records_than_a_batch", "--frames 130 --i-interval 1 --payload 4 --tag 129=last"},
};

#undef EVERY_SEGMENT

bytes composed_with(const std::string& what, const std::string& words) {
    const scratch::folder folder;
    const std::string path = folder.file("composed");
    std::vector<std::string> arguments = {what, path};
    std::istringstream all(words);
    for (std::string word; all >> word;)
        arguments.push_back(word);
    const run::result made = run::program(KMR_MAKE, arguments);
    if (made.status != 0) {
        std::fprintf(stderr, "%s: %s", words.c_str(), made.err.c_str());
        std::abort();
    }
    return scratch::read_file(path);
}

} // namespace

const std::vector<composed>& all() {
    static const std::vector<composed> composed = [] {
        std::vector<recordings::composed> made;
        for (const recipe& each : recipes)
            made.push_back({each.name, composed_with("--output", each.words)});
        return made;
    }();
    return composed;
}

const bytes& of(const std::string& name) {
    for (const composed& each : all())
        if (each.name == name)
            return each.content;
    std::abort();
}

const bytes& index_file() {
    static const bytes composed = composed_with(
        "--index-dat",
        "--made-up-records 5:100:10 --record 1,2,145,20150102.jpg,a/b.jpg --made-up-records 4:150:10");
    return composed;
}

} // namespace recordings
