// Where results are kept: made whole or not at all, and refused unless it is ours and sound.
#pragma once

#include "kmr/store/database.hpp"

#include <string>

namespace kmr::store {

// Opens the database, making it where there is none; nothing is written into one that is refused. Throws store_error.
connection open_database(const std::string& path);

// Looks at one that stays as it is, and gives the name by which it can be attached. Throws store_error.
std::string database_to_read(const std::string& path);

} // namespace kmr::store
