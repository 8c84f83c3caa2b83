#include "kmr/store/schema.hpp"

namespace kmr::store {

// Times are milliseconds since 1970 UTC, those of files nanoseconds. A path that is not valid UTF-8 is a blob of its
// bytes: no two files share a row, and no text is anything but text.
const char* const schema_sql = R"sql(
CREATE TABLE recordings (
    id INTEGER PRIMARY KEY,
    host TEXT NOT NULL,
    path ANY NOT NULL,                  -- absolute, without links to folders
    folder ANY NOT NULL,
    name ANY NOT NULL,
    type TEXT,                          -- letter of the name: I, N, C, L or B
    channel INTEGER,                    -- what the name says of it
    checked_ms INTEGER NOT NULL,        -- when it was last read
    noted_ms INTEGER NOT NULL,          -- when this row was last written
    gone_ms INTEGER,                    -- since when it is known to be gone
    modified_ns INTEGER,                -- of the file; null: read it again
    judged_by TEXT NOT NULL,            -- version of the program
    findings_cap INTEGER,               -- findings of one code that are listed at most; null: all
    verdict TEXT NOT NULL,
    error INTEGER NOT NULL,             -- errno of an unreadable file
    shrunk INTEGER NOT NULL,            -- 1: it became shorter while it was read
    changed INTEGER NOT NULL,           -- 1: it was written while it was read
    size INTEGER NOT NULL,
    header BLOB NOT NULL,               -- what the file has of its 88 bytes
    header_state TEXT NOT NULL,         -- valid, implausible or too short
    start_ms INTEGER,
    start_from_index INTEGER NOT NULL,
    duration_ms INTEGER,
    frames INTEGER NOT NULL,
    i_frames INTEGER NOT NULL,
    p_frames INTEGER NOT NULL,
    inserted INTEGER NOT NULL,
    encrypted INTEGER NOT NULL,
    damaged INTEGER NOT NULL,
    lost INTEGER NOT NULL,
    index_present INTEGER NOT NULL,
    index_offset INTEGER NOT NULL,
    index_records INTEGER NOT NULL,
    tags INTEGER NOT NULL,
    repair_possible INTEGER NOT NULL,
    frames_kept INTEGER NOT NULL,
    bytes_kept INTEGER NOT NULL,
    bytes_lost INTEGER NOT NULL,
    codes INTEGER NOT NULL,             -- rows in finding_counts
    findings INTEGER NOT NULL,          -- rows in findings
    findings_left_out INTEGER NOT NULL, -- beyond the cap
    UNIQUE (host, path)
) STRICT;
CREATE INDEX recordings_by_channel ON recordings (channel, start_ms);
CREATE INDEX recordings_by_start ON recordings (start_ms);
CREATE INDEX recordings_by_verdict ON recordings (verdict);

-- How many findings of each code, listed or not.
CREATE TABLE finding_counts (
    recording INTEGER NOT NULL REFERENCES recordings (id) ON DELETE CASCADE,
    code TEXT NOT NULL,
    count INTEGER NOT NULL,
    PRIMARY KEY (recording, code)
) STRICT, WITHOUT ROWID;
CREATE INDEX finding_counts_by_code ON finding_counts (code);

-- The findings in the order of the output.
CREATE TABLE findings (
    recording INTEGER NOT NULL REFERENCES recordings (id) ON DELETE CASCADE,
    position INTEGER NOT NULL,
    code TEXT NOT NULL,
    severity TEXT NOT NULL,
    offset INTEGER NOT NULL,
    length INTEGER NOT NULL,
    frame INTEGER,
    time_ms INTEGER,
    expected INTEGER,
    actual INTEGER,
    lost INTEGER,
    previous INTEGER,
    leap_ms INTEGER,
    frames INTEGER,
    record INTEGER,
    field TEXT,
    missing INTEGER,
    PRIMARY KEY (recording, position)
) STRICT, WITHOUT ROWID;
CREATE INDEX findings_by_code ON findings (code);

-- One row a run; ended_ms is null while it is under way, and for ever where it was cut off.
CREATE TABLE runs (
    host TEXT NOT NULL,
    started_ms INTEGER NOT NULL,
    process INTEGER NOT NULL,
    ended_ms INTEGER,
    recordings INTEGER NOT NULL,
    read INTEGER NOT NULL,              -- how many of them were not taken from here
    gone INTEGER NOT NULL,
    PRIMARY KEY (host, started_ms, process)
) STRICT, WITHOUT ROWID;
)sql";

} // namespace kmr::store
