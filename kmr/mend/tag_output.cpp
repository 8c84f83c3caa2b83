#include "kmr/mend/tag_output.hpp"

#include "kmr/output/json.hpp"
#include "kmr/output/numbers.hpp"
#include "kmr/output/text.hpp"

namespace kmr::program {
namespace {

using output::append_number;

constexpr int64_t ms_a_second = 1000;

class tag_table final : public tag_writer {
public:
    tag_table(output::standard_output& to, output::clock& clock) : to_(to), clock_(clock) {}

    void append(const scan::tag& each) override {
        begin();
        std::string& line = to_.buffer();
        output::append_right_number(line, each.record, number_width);
        clock_.append_iso(line += "  ", each.time * ms_a_second);
        output::append_text(line += "  ", each.text);
        line += '\n';
        to_.keep_small();
    }

    void finish(const mend::tag_list& listed) override {
        if (listed.status == mend::tag_status::ready)
            begin();
    }

private:
    static constexpr size_t number_width = 8;

    // Once, in front of the first row; where there is no index there are no rows to expect.
    void begin() {
        if (!begun_)
            to_.write("  record  time                           text\n");
        begun_ = true;
    }

    output::standard_output& to_;
    output::clock& clock_;
    bool begun_ = false;
};

class tag_object final : public tag_writer {
public:
    tag_object(std::string_view path, output::standard_output& to, output::clock& clock)
        : to_(to), clock_(clock), json_(to.buffer()) {
        json_.begin_object().member("schema", "kmr.tags/1").member("path", path).key("tags").begin_array();
    }

    void append(const scan::tag& each) override {
        json_.begin_object()
            .member("record", each.record)
            .member("time", clock_.iso(each.time * ms_a_second))
            .member("text", each.text)
            .end_object();
        to_.keep_small();
    }

    void finish(const mend::tag_list& listed) override {
        const bool known = listed.status == mend::tag_status::ready;
        json_.end_array()
            .member("records", known ? std::optional(listed.records) : std::nullopt)
            .end_object();
        to_.write("\n");
    }

private:
    output::standard_output& to_;
    output::clock& clock_;
    output::json_writer json_;
};

} // namespace

std::unique_ptr<tag_writer> tag_writer::make(bool json, std::string_view path, output::standard_output& to,
                                             output::clock& clock) {
    if (json)
        return std::make_unique<tag_object>(path, to, clock);
    return std::make_unique<tag_table>(to, clock);
}

void append_tag_change(std::string& to, const mend::tag_plan& plan, std::string_view text, bool dry_run,
                       output::clock& clock) {
    append_number(to += "record ", plan.record);
    clock.append_iso(to += ", ", plan.time * ms_a_second);
    to += ": ";
    if (plan.before == text)
        output::append_text(to += "already ", text);
    else if (plan.before.empty())
        output::append_text(to += "added ", text);
    else if (text.empty())
        output::append_text(to += "removed ", plan.before);
    else
        output::append_text(to.append(output::text(plan.before)).append(" is now "), text);
    append_number(to += "; ", plan.tags_after);
    to += plan.tags_after == 1 ? " tag" : " tags";
    to += dry_run ? "; a dry run: nothing was written\n" : "\n";
}

} // namespace kmr::program
