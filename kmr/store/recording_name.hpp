// What the name of a recording says, by the rules of the recorder's library.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kmr::store {

std::string_view last_part(std::string_view path); // behind the last slash

// The letter of the record type: I, N, C, L or B. None where the name is no recording's.
std::optional<char> type_of(const std::string& path);

// 1 for anything on a USB medium, which the library tells by "usb" in the path; of others only the recorder's file
// system knows the channel.
std::optional<int64_t> channel_of(const std::string& path);

} // namespace kmr::store
