#include "kmr/store/database_file.hpp"

#include "kmr/store/schema.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace kmr::store {
namespace {

// The head of an SQLite file, as its format is published; numbers are big-endian.
constexpr size_t head_size = 100;
constexpr std::string_view head_magic{"SQLite format 3\0", 16};
constexpr size_t write_format = 18;
constexpr size_t read_format = 19;
constexpr uint8_t with_log = 2; // write-ahead log
constexpr size_t version_offset = 60;
constexpr size_t application_offset = 68;

class descriptor {
public:
    explicit descriptor(int number) : number_(number) {}
    ~descriptor() {
        if (number_ >= 0)
            close(number_);
    }
    descriptor(const descriptor&) = delete;
    descriptor& operator=(const descriptor&) = delete;
    int number() const { return number_; }

private:
    int number_;
};

[[noreturn]] void refuse(const std::string& path, const std::string& why) {
    throw store_error(path + ": " + why);
}

[[noreturn]] void refuse_with_errno(const std::string& path) {
    refuse(path, std::strerror(errno));
}

uint32_t big_endian(const std::array<uint8_t, head_size>& head, size_t offset) {
    uint32_t value = 0;
    for (size_t place = 0; place < sizeof value; ++place)
        value = value << 8 | head[offset + place];
    return value;
}

// Looks at the bytes themselves, before SQLite opens the file: it would take up another program's database, log and
// all, and a file that is none at all says nothing useful.
void expect_ours(const std::string& path) {
    struct stat found = {};
    if (stat(path.c_str(), &found) != 0)
        refuse_with_errno(path);
    if (!S_ISREG(found.st_mode))
        refuse(path, "not a regular file");
    const descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.number() < 0)
        refuse_with_errno(path);
    std::array<uint8_t, head_size> head = {};
    const ssize_t count = pread(file.number(), head.data(), head.size(), 0);
    if (count < 0)
        refuse_with_errno(path);
    if (static_cast<size_t>(count) < head.size() ||
        std::memcmp(head.data(), head_magic.data(), head_magic.size()) != 0)
        refuse(path, "not a database");
    if (big_endian(head, application_offset) != application_id)
        refuse(path, "a database of another program");
    const uint32_t version = big_endian(head, version_offset);
    if (version > schema_version)
        refuse(path, "a database of a newer kmr (schema " + std::to_string(version) + ", this one knows " +
                         std::to_string(schema_version) + ")");
    if (version != schema_version)
        refuse(path, "damaged (schema " + std::to_string(version) + ")");
}

bool has_log(const std::string& path) {
    struct stat found = {};
    return stat((path + "-wal").c_str(), &found) == 0;
}

// The bytes of an empty database of ours.
std::vector<uint8_t> empty_database() {
    connection memory(":memory:", connection::access::memory);
    memory.run("PRAGMA application_id = " + std::to_string(application_id));
    memory.run("PRAGMA user_version = " + std::to_string(schema_version));
    memory.run(schema_sql);
    sqlite3_int64 size = 0;
    uint8_t* const bytes = sqlite3_serialize(memory.get(), "main", &size, 0);
    if (bytes == nullptr)
        throw std::bad_alloc();
    std::vector<uint8_t> result(bytes, bytes + size);
    sqlite3_free(bytes);
    result[write_format] = result[read_format] = with_log;
    return result;
}

bool write_whole(int file, const std::vector<uint8_t>& bytes) {
    size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t count = write(file, bytes.data() + written, bytes.size() - written);
        if (count < 0)
            return false;
        written += static_cast<size_t>(count);
    }
    return fsync(file) == 0;
}

// Where the file system has no files without a name.
void make_by_renaming(const std::string& path) {
    const std::string other = path + ".new-" + std::to_string(getpid());
    const descriptor file(open(other.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, 0666));
    if (file.number() < 0)
        refuse_with_errno(path);
    const bool made = write_whole(file.number(), empty_database()) &&
                      renameat2(AT_FDCWD, other.c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) == 0;
    if (made)
        return;
    const int error = errno;
    unlink(other.c_str());
    errno = error;
    if (error != EEXIST)
        refuse_with_errno(path);
}

// Under its name from the first moment on, or not at all: of several processes one makes it, and a kill leaves nothing.
void make_database(const std::string& path) {
    const size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const descriptor file(open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0666));
    if (file.number() < 0 && errno == EOPNOTSUPP)
        return make_by_renaming(path);
    if (file.number() < 0 || !write_whole(file.number(), empty_database()))
        refuse_with_errno(path);
    const std::string nameless = "/proc/self/fd/" + std::to_string(file.number());
    if (linkat(AT_FDCWD, nameless.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) != 0 && errno != EEXIST)
        refuse_with_errno(path);
}

// What a check says, on one line. It may begin with a line that names the database, as SQLite does.
std::string on_one_line(std::string words) {
    if (words.starts_with("***"))
        words.erase(0, words.find('\n') + 1); // nothing where it is the only line
    std::replace(words.begin(), words.end(), '\n', ' ');
    return words;
}

// SQLite takes some names for something else than a file: ":memory:", "file:..." with parameters.
std::string as_file_name(const std::string& path) {
    return path.starts_with('/') ? path : "./" + path;
}

// Everything that is read later is looked at here.
void expect_sound(connection& opened) {
    const std::string found = opened.text("PRAGMA quick_check(1)");
    if (found != "ok")
        throw store_error("damaged: " + on_one_line(found));
    connection ours(":memory:", connection::access::memory);
    ours.run(schema_sql);
    statement expected(ours.get(), "SELECT sql FROM sqlite_master WHERE sql IS NOT NULL");
    statement there(opened.get(), "SELECT 1 FROM sqlite_master WHERE sql = ?");
    while (expected.step()) {
        there.bind_text(expected.text(0));
        if (!there.step())
            throw store_error("damaged: its tables are not those of kmr");
        there.reset();
    }
}

connection opened_sound(const std::string& path) {
    const bool left_log = has_log(path);
    connection opened(as_file_name(path), connection::access::read_write);
    if (opened.read_only())
        throw store_error("cannot be written");
    opened.leave_log_on_close(left_log);
    expect_sound(opened);
    opened.leave_log_on_close(false);
    opened.run("PRAGMA synchronous = NORMAL"); // a kill loses nothing, a power cut at most the latest
    opened.run("PRAGMA foreign_keys = ON");
    return opened;
}

} // namespace

connection open_database(const std::string& path) {
    struct stat found = {};
    if (stat(path.c_str(), &found) != 0 && errno == ENOENT)
        make_database(path);
    expect_ours(path);
    return naming(path, [&] { return opened_sound(path); });
}

std::string database_to_read(const std::string& path) {
    expect_ours(path);
    std::string name = "file:";
    for (const char each : as_file_name(path)) {
        char escaped[4];
        std::snprintf(escaped, sizeof escaped, "%%%02x", static_cast<unsigned char>(each));
        name += escaped;
    }
    // Without a log nobody is writing, and the file is read as it stands, with no file made beside it.
    name += has_log(path) ? "?mode=ro" : "?immutable=1";
    naming(path, [&] {
        connection opened(name, connection::access::read_write);
        expect_sound(opened);
    });
    return name;
}

} // namespace kmr::store
