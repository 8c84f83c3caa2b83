#include "kmr/start_time.hpp"

#include "kmr/scan_follower.hpp"
#include "scan/quick_look.hpp"
#include "scan/scanner.hpp"

namespace kmr::program {
namespace {

// Whether frames lead to an index that nothing at the end of the file speaks of.
bool leads_to_index(scan::byte_source& source) {
    scan::scanner events(source);
    for (;;) {
        const scan::event seen = events.next();
        if (const auto* const index = std::get_if<scan::index_event>(&seen))
            return index->state == scan::index_state::whole;
        if (std::holds_alternative<scan::end_event>(seen))
            return false;
    }
}

} // namespace

std::optional<int64_t> start_of(scan::byte_source& source, session& with) {
    const scan::quick_look look = scan::look_quickly(source);
    if (look.start_certain)
        return look.start_ms;
    file_progress watching(with.err, source.size());
    followed_source followed(source, watching);
    if (!look.index.present && !leads_to_index(followed))
        return look.start_ms;
    return scan::judge(followed, {.most_per_code = 0, .payloads = false}, &watching).start_ms;
}

} // namespace kmr::program
