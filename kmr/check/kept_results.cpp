#include "kmr/check/kept_results.hpp"

#include <filesystem>

namespace kmr::program {
namespace {

std::string_view name_of(std::string_view path) {
    return path.substr(path.rfind('/') + 1); // all of it where there is no folder
}

// Also of a file that has gone meanwhile, as those beside a database do.
std::string resolved(const std::string& path) {
    std::error_code error;
    return std::filesystem::weakly_canonical(path, error).string();
}

std::optional<store::file_stamp> stamp_of(const judged_file& file) {
    if (!file.modified)
        return {};
    return store::stamp_of(file.judged.size, *file.modified);
}

} // namespace

kept_results::kept_results(const kept_results_options& options)
    : read_all_(options.read_all), database_(options.database) {
    if (database_.empty())
        return;
    store_.emplace(database_, options.host.empty() ? store::host_name() : options.host, KMR_VERSION);
    database_ = resolved(database_);
}

bool kept_results::is_own(const std::string& path) const {
    if (!store_ || !name_of(path).starts_with(name_of(database_)))
        return false; // the folders need not be looked at
    const std::string place = resolved(path);
    for (const char* const beside : {"", "-wal", "-shm", "-journal"})
        if (place == database_ + beside)
            return true;
    return false;
}

judged_file kept_results::judge(const found_file& file, const scan::judge_options& options,
                                scan::observer& watching) {
    if (!store_)
        return judge_file(file, options, &watching);
    const auto now = file.error == 0 && !read_all_ ? store::stamp_of(file.path) : std::nullopt;
    if (now) {
        if (auto known = store_->unchanged(file.path, *now, options.most_per_code))
            return {.path = file.path, .in_folder = file.in_folder, .judged = std::move(*known)};
    }
    judged_file judged = judge_file(file, options, &watching);
    if (watching.go_on(judged.judged.size)) // else it was cut short
        store_->keep(file.path, stamp_of(judged), judged.judged, options.most_per_code);
    return judged;
}

void kept_results::finish(const std::vector<std::string>& roots) {
    if (store_)
        store_->finish(roots);
}

} // namespace kmr::program
