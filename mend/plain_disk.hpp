// The machine's own files.
#pragma once

#include "mend/disk.hpp"

namespace kmr::mend {

class plain_disk final : public disk {
public:
    opened open(const std::string& path, open_mode mode) override;
    int look(const std::string& path, file_facts& into) override;
    int rename(const std::string& from, const std::string& to) override;
    int unlink(const std::string& path) override;
    int sync_folder(const std::string& path) override;
};

} // namespace kmr::mend
