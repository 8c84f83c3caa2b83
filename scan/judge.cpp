#include "scan/judge.hpp"

#include "scan/judgement.hpp"
#include "scan/scanner.hpp"
#include "scan/window.hpp"

#include <variant>

namespace kmr::scan {
namespace {

struct offset_of {
    uint64_t operator()(const header_event&) const { return 0; }
    uint64_t operator()(const auto& each) const { return each.offset; }
};

// Whether the scan came to its end. Throws read_stopped from the index.
bool walk(byte_source& source, judgement& into, const std::optional<index_event>& known_index,
          observer& watching) {
    scanner events(source);
    for (;;) {
        const event seen = events.next();
        std::visit([&](const auto& each) { into.take(each); }, seen);
        if (std::holds_alternative<end_event>(seen))
            return true;
        if (std::holds_alternative<header_event>(seen)) {
            if (const auto index = known_index ? known_index : events.expected_index())
                into.expect_index(*index);
        }
        if (!watching.go_on(std::visit(offset_of{}, seen)))
            return false;
    }
}

struct pass_result {
    report judged = {};
    std::optional<index_event> unexpected_index = {};
};

pass_result pass(byte_source& source, const judge_options& options,
                 const std::optional<index_event>& known_index, observer& watching) {
    judgement into(source, options, watching);
    pass_result result;
    try {
        if (walk(source, into, known_index, watching))
            result.unexpected_index = into.unexpected_index();
        result.judged = into.finish();
    } catch (const read_stopped& stopped) {
        into.take(end_event{.offset = stopped.offset,
                            .state = stopped.error == 0 ? end_state::shrunk : end_state::read_failed,
                            .error = stopped.error});
        result.judged = into.finish();
    }
    return result;
}

// A second pass is made for the records alone.
class record_listener final : public observer {
public:
    explicit record_listener(observer& to) : to_(to) {}
    void on_record(const record_match& found) override { to_.on_record(found); }

private:
    observer& to_;
};

void note_change(const byte_source& source, report& judged) {
    const source_change change = source.change();
    judged.changed = change != source_change::none;
    if (change != source_change::shrunk && change != source_change::unknown)
        return;
    judged.judged = verdict::unreadable;
    judged.repair = {};
    if (judged.ended == end_state::complete)
        judged.ended = end_state::shrunk;
}

} // namespace

report judge(byte_source& source, const judge_options& options, observer* watching) {
    observer nobody;
    observer& watcher = watching != nullptr ? *watching : nobody;
    pass_result result = pass(source, options, {}, watcher);
    // An index that its trailer does not name from the end of the file is known only when the frames have gone by.
    if (result.unexpected_index) {
        record_listener records(watcher);
        result = pass(source, options, result.unexpected_index, records);
    }
    note_change(source, result.judged);
    return std::move(result.judged);
}

report unreadable(int error) {
    report judged;
    judged.ended = end_state::read_failed;
    judged.error = error;
    return judged;
}

} // namespace kmr::scan
