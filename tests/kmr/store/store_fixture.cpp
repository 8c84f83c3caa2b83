#include "tests/kmr/store/store_fixture.hpp"

#include <sqlite3.h>
#include <stdexcept>

namespace store_test {

recording::bytes sound_recording() {
    return scan_test::recording_of(scan_test::sound_frames(10));
}

recording::bytes unfinished_recording() {
    return scan_test::without_index(scan_test::sound_frames(10));
}

recording::bytes torn_recording() {
    recording::bytes file = sound_recording();
    file.at(336 + 3) = 0xEE; // of the sync word
    return file;
}

recording::bytes wrong_index_recording() {
    recording::bytes file = sound_recording();
    const size_t second_record = 1160 + 44 + 80;
    recording::put_u32(file, second_record + 4, 625); // the I-frame stands at 624
    return file;
}

recording::bytes many_findings_recording(size_t count) {
    scan_test::frames all = scan_test::sound_frames(count + 1);
    for (size_t place = 0; place < all.size(); ++place)
        all[place].number = static_cast<uint32_t>(1 + 2 * place);
    return scan_test::recording_of(all);
}

std::vector<std::string> told_by(const kmr::scan::report& of) {
    std::vector<std::string> told = scan_test::found(of);
    const auto tell = [&](const std::string& name, uint64_t value) {
        told.push_back(name + '=' + std::to_string(value));
    };
    told.emplace_back(kmr::scan::name_of(of.judged));
    told.push_back("start " + (of.start_ms ? std::to_string(*of.start_ms) : "none"));
    told.push_back("duration " + (of.duration_ms ? std::to_string(*of.duration_ms) : "none"));
    told.emplace_back(reinterpret_cast<const char*>(&of.header.header), sizeof of.header.header);
    tell("header state", static_cast<uint64_t>(of.header.state));
    tell("header length", of.header.length);
    tell("size", of.size);
    tell("changed", of.changed);
    tell("ended", static_cast<uint64_t>(of.ended));
    tell("start from index", of.start_from_index);
    tell("total", of.frames.total);
    tell("i", of.frames.i);
    tell("p", of.frames.p);
    tell("inserted", of.frames.inserted);
    tell("encrypted", of.frames.encrypted);
    tell("damaged", of.frames.damaged);
    tell("lost", of.frames.lost);
    tell("index", of.index.present);
    tell("index offset", of.index.offset);
    tell("records", of.index.records);
    tell("tags", of.index.tags);
    tell("possible", of.repair.possible);
    tell("frames kept", of.repair.frames_kept);
    tell("bytes kept", of.repair.bytes_kept);
    tell("bytes lost", of.repair.bytes_lost);
    tell("left out", of.findings_left_out);
    for (const uint64_t each : of.found)
        tell("found", each);
    return told;
}

std::vector<std::string> folder_with_database::ask(const std::string& sql) const {
    sqlite3* opened = nullptr;
    std::vector<std::string> rows;
    const auto add = [](void* to, int columns, char** values, char**) {
        std::string row;
        for (int column = 0; column < columns; ++column) {
            row += column == 0 ? "" : "|";
            row += values[column] == nullptr ? "-" : values[column];
        }
        static_cast<std::vector<std::string>*>(to)->push_back(row);
        return 0;
    };
    sqlite3_open_v2(database().c_str(), &opened, SQLITE_OPEN_READWRITE, nullptr);
    sqlite3_busy_timeout(opened, 60000);
    const int status = sqlite3_exec(opened, sql.c_str(), add, &rows, nullptr);
    const std::string message = sqlite3_errmsg(opened);
    sqlite3_close(opened);
    if (status != SQLITE_OK)
        throw std::runtime_error(message);
    return rows;
}

} // namespace store_test
