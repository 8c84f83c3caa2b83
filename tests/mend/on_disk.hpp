// Repairs and the like on a model disk, as a program does them.
#pragma once

#include "mend/recording.hpp"
#include "tests/mend/mended.hpp"
#include "tests/mend/model_disk.hpp"

namespace mend_test {

inline const std::string path = "/r.kmr";
inline const std::string undo_path = "/r.kmr.kmr-undo";
inline const std::string copy_path = "/out.kmr";
inline constexpr kmr::mend::file_dates old_dates = {{1'400'000'000, 11}, {1'400'000'111, 22}};

bool same_dates(const kmr::mend::file_dates& left, const kmr::mend::file_dates& right);

// Opens, takes an interrupted change back, plans and applies.
kmr::mend::outcome repair_on(kmr::mend::disk& disk, bool keep_undo = true);
kmr::mend::outcome undo_on(kmr::mend::disk& disk);
// Sets the tag of record 1 to "here".
kmr::mend::outcome tag_on(kmr::mend::disk& disk, bool keep_undo = true);
// The first five frames, into a file of their own.
kmr::mend::outcome copy_on(kmr::mend::disk& disk, bool replace = false);
// Writes these bytes at this place, as a change of its own.
kmr::mend::outcome overwrite_on(kmr::mend::disk& disk, uint64_t offset, const bytes& with);

kmr::mend::undo_situation situation_on(kmr::mend::disk& disk);

// Damaged in the middle, cut off at the end, with a tag.
bytes damaged_recording();

} // namespace mend_test
