// SQLite as values: a connection, statements that give themselves back, errors as exceptions.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace kmr::store {

// What went wrong with the database.
class store_error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// What SQLite says does not name the file.
template <typename Call>
auto naming(const std::string& file, Call call) {
    try {
        return call();
    } catch (const store_error& error) {
        throw store_error(file + ": " + error.what());
    }
}

struct no_value {};

// A prepared statement: bind from the left, step, read columns from the left.
class statement {
public:
    statement(sqlite3* connection, std::string_view sql);

    statement& bind(no_value);
    statement& bind(int64_t value);
    statement& bind(std::string_view text); // as text when it is valid UTF-8, else as a blob of its bytes
    statement& bind(std::span<const uint8_t> bytes);
    statement& bind(const std::optional<int64_t>& value);
    statement& bind_text(std::string_view text);  // whatever its bytes are
    statement& bind_bytes(std::string_view text); // a blob

    bool step(); // true: a row is there. Begins anew, with nothing bound, when the last row has gone by.
    void run();  // a statement without rows, or the end of one whose only row was taken
    void reset();

    bool is_null(int column) const;
    int64_t number(int column) const;
    std::optional<int64_t> maybe(int column) const;
    std::string text(int column) const;
    std::span<const uint8_t> bytes(int column) const; // until the next step

private:
    struct finalizer {
        void operator()(sqlite3_stmt* prepared) const;
    };

    sqlite3* connection_;
    std::unique_ptr<sqlite3_stmt, finalizer> prepared_;
    int bound_ = 0;
};

class connection {
public:
    // `name` is that of a file, or "file:..." with parameters.
    enum class access : uint8_t { read_write, memory };
    connection(const std::string& name, access how);

    sqlite3* get() const { return open_.get(); }
    void run(const std::string& sql); // one or more statements without values
    int64_t number(std::string_view sql);
    std::string text(std::string_view sql);
    bool read_only() const;
    void leave_log_on_close(bool leave); // whether the last one to close leaves the write-ahead log as it is

private:
    struct closer {
        void operator()(sqlite3* open) const;
    };
    std::unique_ptr<sqlite3, closer> open_;
};

// Everything or nothing: undone unless it is committed.
class transaction {
public:
    explicit transaction(connection& in);
    ~transaction();
    transaction(const transaction&) = delete;
    transaction& operator=(const transaction&) = delete;
    void commit();

private:
    connection& in_;
    bool done_ = false;
};

} // namespace kmr::store
