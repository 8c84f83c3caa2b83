#include "kmr/store/result_store.hpp"

#include "base/utf8.hpp"
#include "kmr/store/database_file.hpp"
#include "kmr/store/recording_name.hpp"
#include "kmr/store/report_rows.hpp"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <filesystem>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_set>
#include <utility>

namespace kmr::store {
namespace {

constexpr uint64_t nanoseconds = 1000000000;

int64_t now_ns() {
    const auto since = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(since).count();
}

int64_t now_ms() {
    return now_ns() / 1000000;
}

// Clocks of file systems tick slowly: a file that was written just now may be written again without its time moving.
bool is_settled(int64_t modified_ns) {
    constexpr auto coarsest_tick = static_cast<int64_t>(2 * nanoseconds);
    const auto age =
        static_cast<int64_t>(static_cast<uint64_t>(now_ns()) - static_cast<uint64_t>(modified_ns));
    return age > coarsest_tick || age < -coarsest_tick;
}

std::optional<int64_t> cap_value(size_t most_per_code) {
    return most_per_code == SIZE_MAX ? std::nullopt : std::optional(static_cast<int64_t>(most_per_code));
}

bool is_regular_file(const std::string& path, bool& known) {
    struct stat found = {};
    const bool there = stat(path.c_str(), &found) == 0;
    known = there || errno == ENOENT || errno == ENOTDIR;
    return there && S_ISREG(found.st_mode);
}

std::string expect_text(std::string host) {
    if (host.empty() || !is_utf8(host))
        throw store_error("the name of the host is no text");
    return host;
}

const std::string select_row = std::string("SELECT id, gone_ms, modified_ns, judged_by, findings_cap, ") +
                               report_columns + " FROM recordings WHERE host = ? AND path = ?";
constexpr int first_report_column = 5;

std::string placeholders(int count) {
    std::string result;
    for (int i = 0; i < count; ++i)
        result += i == 0 ? "?" : ", ?";
    return result;
}

constexpr int place_column_count = 11; // of the columns below, in front of those of the report
const std::string place_columns = "host, path, folder, name, type, channel, checked_ms, noted_ms, "
                                  "modified_ns, judged_by, findings_cap, ";

const std::string upsert_row = "INSERT INTO recordings (" + place_columns + report_columns + ") VALUES (" +
                               placeholders(place_column_count + report_column_count) +
                               ") ON CONFLICT (host, path) DO UPDATE SET (" + place_columns + report_columns +
                               ", gone_ms) = (" + excluded_but_channel(place_columns + report_columns) +
                               ", NULL) RETURNING id";

} // namespace

// One process's view of the places that files have: absolute, without links.
class places {
public:
    std::string of(const std::string& path) {
        const size_t slash = path.rfind('/');
        const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
        if (folder != folder_) {
            folder_ = folder;
            real_ = resolved(folder);
        }
        std::string place = real_;
        if (place.empty() || place.back() != '/')
            place += '/';
        return place.append(last_part(path));
    }

    // What links lead to; a place for something that is not there as well.
    static std::string resolved(const std::string& path) {
        std::error_code error;
        std::filesystem::path real = std::filesystem::weakly_canonical(path, error);
        if (error) // a circle of links, a folder that nobody may enter
            real = std::filesystem::absolute(path, error).lexically_normal();
        return real.string();
    }

private:
    std::string folder_ = {}; // the one that was asked for last: files of one folder follow each other
    std::string real_ = {};
};

class result_store::implementation {
public:
    implementation(const std::string& file, std::string host, std::string version)
        : host_(expect_text(std::move(host))), version_(std::move(version)), database_(open_database(file)),
          select_(database_.get(), select_row), upsert_(database_.get(), upsert_row),
          select_findings_(database_.get(), std::string("SELECT ") + finding_columns +
                                                " FROM findings WHERE recording = ? ORDER BY position"),
          select_counts_(database_.get(), "SELECT code, count FROM finding_counts WHERE recording = ?"),
          insert_finding_(database_.get(), std::string("INSERT INTO findings (recording, ") +
                                               finding_columns + ") VALUES (" +
                                               placeholders(1 + finding_column_count) + ")"),
          insert_count_(database_.get(), "INSERT INTO finding_counts VALUES (?, ?, ?)"),
          begin_run_(database_.get(), "INSERT OR REPLACE INTO runs VALUES (?, ?, ?, NULL, 0, 0, 0)"),
          end_run_(database_.get(), "UPDATE runs SET ended_ms = ?, recordings = ?, read = ?, gone = ? "
                                    "WHERE host = ? AND started_ms = ? AND process = ?"),
          mark_gone_(database_.get(), "UPDATE recordings SET gone_ms = ?, noted_ms = ? WHERE id = ?") {
        begin_run_.bind(std::string_view(host_)).bind(started_ms_).bind(int64_t{getpid()}).run();
    }

    std::optional<scan::report> unchanged(const std::string& path, const file_stamp& now, size_t most) {
        const std::lock_guard lock(mutex_);
        select_.bind(std::string_view(host_)).bind(std::string_view(places_.of(path)));
        std::optional<scan::report> result;
        int64_t id = 0;
        bool was_gone = false;
        if (select_.step()) {
            id = select_.number(0);
            was_gone = !select_.is_null(1);
            result = take_row(id, now, most);
            select_.reset();
        }
        if (!result)
            return {};
        ++totals_.recordings;
        seen_.insert(id);
        if (was_gone)
            mark_gone_.bind(no_value{}).bind(now_ms()).bind(id).run();
        return result;
    }

    void keep(const std::string& path, const std::optional<file_stamp>& stamp, const scan::report& judged,
              size_t most) {
        const std::lock_guard lock(mutex_);
        ++totals_.recordings;
        ++totals_.read;
        if (judged.error == ENOENT || judged.error == ENOTDIR)
            return; // what was known of it stays, and is marked when the run ends
        const bool final = stamp && is_settled(stamp->modified_ns) && !judged.changed &&
                           judged.ended == scan::end_state::complete;
        const std::string place = places_.of(path);
        const std::string_view name = last_part(place);
        const std::string_view folder = std::string_view(place).substr(0, place.size() - name.size());
        const auto type = type_of(place);
        transaction whole(database_);
        const int64_t now = now_ms();
        upsert_.bind(std::string_view(host_)).bind(std::string_view(place)).bind(folder).bind(name);
        if (type)
            upsert_.bind_text({&*type, 1});
        else
            upsert_.bind(no_value{});
        upsert_.bind(channel_of(place)).bind(now).bind(now);
        upsert_.bind(final ? std::optional(stamp->modified_ns) : std::nullopt)
            .bind(std::string_view(version_))
            .bind(cap_value(most));
        bind_report(upsert_, judged);
        upsert_.step();
        const int64_t id = upsert_.number(0);
        upsert_.run();
        keep_findings(id, judged);
        whole.commit();
        seen_.insert(id);
    }

    run_totals finish(const std::vector<std::string>& roots) {
        const std::lock_guard lock(mutex_);
        transaction whole(database_);
        for (const std::string& root : roots)
            for (const int64_t id : gone_below(root)) {
                const int64_t now = now_ms();
                mark_gone_.bind(now).bind(now).bind(id).run();
                ++totals_.gone;
            }
        end_run_.bind(now_ms());
        for (const uint64_t each : {totals_.recordings, totals_.read, totals_.gone})
            end_run_.bind(static_cast<int64_t>(each));
        end_run_.bind(std::string_view(host_)).bind(started_ms_).bind(int64_t{getpid()}).run();
        whole.commit();
        return totals_;
    }

private:
    std::optional<scan::report> take_row(int64_t id, const file_stamp& now, size_t most) {
        if (select_.maybe(2) != now.modified_ns || select_.text(3) != version_)
            return {};
        const std::optional<int64_t> cap = select_.maybe(4);
        scan::report result;
        uint64_t codes = 0;
        uint64_t findings = 0;
        if (!read_report(select_, first_report_column, result, codes, findings) || result.size != now.size)
            return {};
        if (codes > 0 && !take_findings(id, codes, findings, result))
            return {};
        const bool same_cap = cap == cap_value(most);
        const auto fits = [&](uint64_t count) { return count <= most; };
        const bool all_listed = result.findings_left_out == 0;
        if (!same_cap && !(all_listed && std::all_of(result.found.begin(), result.found.end(), fits)))
            return {};
        return result;
    }

    // False where the rows are not those that the recording counts: somebody else has changed them.
    bool take_findings(int64_t id, uint64_t codes, uint64_t findings, scan::report& into) {
        bool good = true;
        for (select_counts_.bind(id); select_counts_.step(); --codes) {
            const auto code = code_named(select_counts_.text(0));
            good = good && code;
            if (code)
                into.found[static_cast<size_t>(*code)] = static_cast<uint64_t>(select_counts_.number(1));
        }
        for (select_findings_.bind(id); select_findings_.step(); --findings) {
            scan::finding found;
            good = good && read_finding(select_findings_, 0, found);
            into.findings.push_back(found);
        }
        return good && codes == 0 && findings == 0;
    }

    void keep_findings(int64_t id, const scan::report& judged) {
        for (const char* const table : {"findings", "finding_counts"})
            statement(database_.get(), std::string("DELETE FROM ") + table + " WHERE recording = ?")
                .bind(id)
                .run();
        for (size_t code = 0; code < judged.found.size(); ++code)
            if (judged.found[code] > 0)
                insert_count_.bind(id)
                    .bind_text(scan::kind_of(static_cast<scan::finding_code>(code)).code)
                    .bind(static_cast<int64_t>(judged.found[code]))
                    .run();
        for (size_t position = 0; position < judged.findings.size(); ++position) {
            insert_finding_.bind(id);
            bind_finding(insert_finding_, position, judged.findings[position]);
            insert_finding_.run();
        }
    }

    // Rows at or below a path that this run has not met and whose file is not there.
    std::vector<int64_t> gone_below(const std::string& root) {
        const std::string place = places::resolved(root);
        const std::string from = place == "/" ? place : place + "/";
        std::string to = from;
        to.back() = '/' + 1;
        std::vector<int64_t> gone;
        statement rows(database_.get(), "SELECT id, path FROM recordings WHERE host = ? AND gone_ms IS NULL "
                                        "AND (path = ? OR path >= ? AND path < ?)");
        // Blobs are compared apart from texts.
        for (const bool as_text : {true, false}) {
            rows.bind(std::string_view(host_));
            for (const std::string& each : {place, from, to})
                as_text ? rows.bind_text(each) : rows.bind_bytes(each);
            while (rows.step()) {
                bool known = false;
                if (!seen_.contains(rows.number(0)) && !is_regular_file(rows.text(1), known) && known)
                    gone.push_back(rows.number(0));
            }
        }
        return gone;
    }

    const std::string host_;
    const std::string version_;
    const int64_t started_ms_ = now_ms();
    std::mutex mutex_ = {};
    connection database_;
    statement select_;
    statement upsert_;
    statement select_findings_;
    statement select_counts_;
    statement insert_finding_;
    statement insert_count_;
    statement begin_run_;
    statement end_run_;
    statement mark_gone_;
    places places_ = {};
    std::unordered_set<int64_t> seen_ = {};
    run_totals totals_ = {};
};

file_stamp stamp_of(uint64_t size, const timespec& modified) {
    const auto seconds = static_cast<uint64_t>(modified.tv_sec); // a date may be anything
    return {.size = size,
            .modified_ns =
                static_cast<int64_t>(seconds * nanoseconds + static_cast<uint64_t>(modified.tv_nsec))};
}

std::optional<file_stamp> stamp_of(const std::string& path) {
    struct stat found = {};
    if (stat(path.c_str(), &found) != 0 || !S_ISREG(found.st_mode))
        return {};
    return stamp_of(static_cast<uint64_t>(found.st_size), found.st_mtim);
}

result_store::result_store(const std::string& file, std::string host, std::string version)
    : file_(file),
      implementation_(std::make_unique<implementation>(file, std::move(host), std::move(version))) {}

result_store::~result_store() = default;

std::optional<scan::report> result_store::unchanged(const std::string& path, const file_stamp& now,
                                                    size_t most_per_code) {
    return naming(file_, [&] { return implementation_->unchanged(path, now, most_per_code); });
}

void result_store::keep(const std::string& path, const std::optional<file_stamp>& stamp,
                        const scan::report& judged, size_t most_per_code) {
    naming(file_, [&] { implementation_->keep(path, stamp, judged, most_per_code); });
}

run_totals result_store::finish(const std::vector<std::string>& roots) {
    return naming(file_, [&] { return implementation_->finish(roots); });
}

std::string host_name() {
    char name[HOST_NAME_MAX + 1] = "";
    gethostname(name, sizeof name - 1);
    return name;
}

} // namespace kmr::store
