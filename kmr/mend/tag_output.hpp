// What kmr tag prints.
#pragma once

#include "kmr/output/standard_output.hpp"
#include "kmr/output/times.hpp"
#include "mend/tags.hpp"

#include <memory>
#include <string>
#include <string_view>

namespace kmr::program {

// The tags of one recording, as they come.
class tag_writer {
public:
    tag_writer() = default;
    tag_writer(const tag_writer&) = delete;
    tag_writer& operator=(const tag_writer&) = delete;
    virtual ~tag_writer() = default;

    static std::unique_ptr<tag_writer> make(bool json, std::string_view path, output::standard_output& to,
                                            output::clock& clock);

    virtual void append(const scan::tag& each) = 0;
    virtual void finish(const mend::tag_list& listed) = 0;
};

// "record 1, 2015-01-02T03:04:06.000+00:00: added Gate; 3 tags"; a tag that is removed has no text.
void append_tag_change(std::string& to, const mend::tag_plan& plan, std::string_view text, bool dry_run,
                       output::clock& clock);

} // namespace kmr::program
