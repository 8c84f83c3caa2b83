#include "kmr/store/recording_name.hpp"

#include "file_op/common/file_names.h"

namespace kmr::store {

std::string_view last_part(std::string_view path) {
    const size_t slash = path.rfind('/');
    return slash == path.npos ? path : path.substr(slash + 1);
}

std::optional<char> type_of(const std::string& path) {
    constexpr size_t optical_lead = 2; // on an optical disc 'C' and the drive stand before the name
    std::string name(last_part(path));
    if (name.size() > KMR_NAME_LENGTH + 1 && name.front() == 'C')
        name.erase(0, optical_lead);
    if (Common_IsValidFileName(name.c_str()) == 0)
        return {};
    return name[KMR_NAME_RECORD_TYPE];
}

std::optional<int64_t> channel_of(const std::string& path) {
    if (path.find("usb") != path.npos)
        return 1;
    return {};
}

} // namespace kmr::store
