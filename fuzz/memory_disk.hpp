// One recording on a disk in memory, behind the layer and its modules, with bounds of work and nothing left behind.
#pragma once

#include "fuzz/target.hpp"
#include "tests/campaign/work_bound.hpp"

namespace fuzz {

// A run of one service on a recording. At its end nothing is open, locked or in use any more, and no more calls were
// made nor bytes read than the bound says.
class memory_disk {
public:
    static constexpr char path[] = "/mnt/r.kmr";

    memory_disk(const bytes& recording, const work_bound::bound& bound);
    ~memory_disk();
    memory_disk(const memory_disk&) = delete;
    memory_disk& operator=(const memory_disk&) = delete;

    const bytes& content() const;

private:
    work_bound::bound bound_;
};

// Whether a count in the recording asks for more calls than are worth waiting for.
bool is_too_much(const work_bound::bound& bound);

} // namespace fuzz
