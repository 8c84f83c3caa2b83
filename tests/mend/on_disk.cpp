#include "tests/mend/on_disk.hpp"

#include "mend/copy.hpp"
#include "mend/tags.hpp"

#include <cerrno>

namespace mend_test {

namespace mend = kmr::mend;

bool same_dates(const mend::file_dates& left, const mend::file_dates& right) {
    return mend::same_moment(left.accessed, right.accessed) &&
           mend::same_moment(left.modified, right.modified);
}

mend::outcome repair_on(mend::disk& disk, bool keep_undo) {
    auto opening = mend::recording::open(disk, path, true);
    if (!opening.result.is_done())
        return opening.result;
    if (opening.opened->look_for_undo() == mend::undo_situation::interrupted)
        if (const mend::outcome taken = opening.opened->undo(); !taken.is_done())
            return taken;
    const mend::repair_plan plan = mend::plan_repair(opening.opened->source());
    if (plan.status == mend::plan_status::unreadable)
        return {mend::mend_status::failed, plan.before.error};
    return opening.opened->apply(plan.planned, keep_undo);
}

mend::outcome undo_on(mend::disk& disk) {
    auto opening = mend::recording::open(disk, path, true);
    return opening.result.is_done() ? opening.opened->undo() : opening.result;
}

mend::outcome tag_on(mend::disk& disk, bool keep_undo) {
    auto opening = mend::recording::open(disk, path, true);
    if (!opening.result.is_done())
        return opening.result;
    const mend::tag_plan plan = mend::plan_tag(opening.opened->source(), mend::record_number{1}, "here");
    if (plan.status == mend::tag_status::unreadable)
        return {mend::mend_status::failed, plan.error};
    return opening.opened->apply(plan.planned, keep_undo);
}

mend::outcome copy_on(mend::disk& disk, bool replace) {
    auto opening = mend::recording::open(disk, path, false);
    if (!opening.result.is_done())
        return opening.result;
    const mend::span first_five = {{}, mend::span_bound{mend::span_bound::unit::frame_number, 6}};
    const mend::copy_plan plan = mend::plan_copy(opening.opened->source(), first_five);
    if (plan.status == mend::copy_status::unreadable)
        return {mend::mend_status::failed, EIO};
    mend::file_facts facts;
    if (const int error = disk.look(path, facts))
        return {mend::mend_status::failed, error};
    return mend::write_new_file(disk, copy_path, *plan.content, replace, &facts);
}

mend::outcome overwrite_on(mend::disk& disk, uint64_t offset, const bytes& with) {
    auto opening = mend::recording::open(disk, path, true);
    if (!opening.result.is_done())
        return opening.result;
    mend::changes change(opening.opened->size());
    change.write_bytes(offset, with);
    return opening.opened->apply(change);
}

mend::undo_situation situation_on(mend::disk& disk) {
    return mend::recording::open(disk, path, true).opened->look_for_undo();
}

bytes damaged_recording() {
    const auto all = scan_test::sound_frames(10);
    auto index = scan_test::records_for(all);
    index[0].tag = "door";
    bytes file = scan_test::recording_of(all, index);
    overwrite(file, 432, 20);
    recording::put_u32(file, 776 + 4, 77);
    return cut(file, 1372 - 30);
}

} // namespace mend_test
