// How results lie in a database; docs/fleet.md describes it for those who ask it questions.
#pragma once

#include <cstdint>

namespace kmr::store {

inline constexpr uint32_t application_id = 0x6B6D7262; // "kmrb"
inline constexpr uint32_t schema_version = 1;

extern const char* const schema_sql;

} // namespace kmr::store
