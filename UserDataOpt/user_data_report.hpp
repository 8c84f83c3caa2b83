// The report on one frame's user data, for a caller who knows where the payload ends.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace kmr {

// As AnalyzeUserDataInOneFrame, which this is the inside of, but nothing behind `payload` is read: what is missing there
// is zero. The marker lies in its first `window` bytes.
int32_t report_user_data(uint32_t position, std::span<const uint8_t> payload, size_t window);

} // namespace kmr
