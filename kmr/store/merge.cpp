// Results of many machines in one database.
#include "kmr/store/database_file.hpp"
#include "kmr/store/report_rows.hpp"
#include "kmr/store/result_store.hpp"

namespace kmr::store {
namespace {

// The rows of one table by the names of its columns, so that their order in a file does not matter.
const std::string row_columns =
    std::string("host, path, folder, name, type, channel, checked_ms, noted_ms, gone_ms, "
                "modified_ns, judged_by, findings_cap, ") +
    report_columns;

void take_over(connection& into) {
    into.run("CREATE TEMP TABLE later AS SELECT theirs.id AS theirs, theirs.host, theirs.path "
             "FROM other.recordings AS theirs LEFT JOIN main.recordings AS ours USING (host, path) "
             "WHERE ours.id IS NULL OR theirs.noted_ms > ours.noted_ms");
    into.run("INSERT INTO main.recordings (" + row_columns + ") SELECT " + row_columns +
             " FROM other.recordings WHERE id IN (SELECT theirs FROM later) "
             "ON CONFLICT (host, path) DO UPDATE SET (" +
             row_columns + ") = (" + excluded_but_channel(row_columns) + ")");
    into.run("CREATE TEMP TABLE taken AS SELECT later.theirs, ours.id AS ours "
             "FROM later JOIN main.recordings AS ours USING (host, path)");
    into.run("DELETE FROM main.findings WHERE recording IN (SELECT ours FROM taken)");
    into.run("DELETE FROM main.finding_counts WHERE recording IN (SELECT ours FROM taken)");
    into.run(std::string("INSERT INTO main.findings (recording, ") + finding_columns + ") SELECT ours, " +
             finding_columns + " FROM taken JOIN other.findings ON recording = theirs");
    into.run("INSERT INTO main.finding_counts (recording, code, count) SELECT ours, code, count "
             "FROM taken JOIN other.finding_counts ON recording = theirs");
    into.run("INSERT OR REPLACE INTO main.runs (host, started_ms, process, ended_ms, recordings, read, gone) "
             "SELECT host, started_ms, process, ended_ms, recordings, read, gone FROM other.runs");
}

} // namespace

uint64_t merge(const std::string& into, const std::string& from) {
    const std::string other = database_to_read(from); // before the one to merge into is made
    connection database = open_database(into);
    return naming(into, [&] {
        statement(database.get(), "ATTACH ? AS other").bind(std::string_view(other)).run();
        transaction whole(database);
        take_over(database);
        const int64_t taken = database.number("SELECT count(*) FROM taken");
        whole.commit();
        return static_cast<uint64_t>(taken);
    });
}

} // namespace kmr::store
