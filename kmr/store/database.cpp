#include "kmr/store/database.hpp"

#include "base/utf8.hpp"

#include <sqlite3.h>

namespace kmr::store {
namespace {

constexpr int busy_ms = 60000; // how long a write of another process is waited for

[[noreturn]] void fail(sqlite3* connection) {
    constexpr int primary = 0xFF; // of an extended code
    const int code = sqlite3_errcode(connection) & primary;
    const std::string words = sqlite3_errmsg(connection);
    throw store_error(code == SQLITE_CORRUPT || code == SQLITE_NOTADB ? "damaged: " + words : words);
}

void expect_ok(sqlite3* connection, int status) {
    if (status != SQLITE_OK)
        fail(connection);
}

} // namespace

statement::statement(sqlite3* connection, std::string_view sql) : connection_(connection) {
    sqlite3_stmt* prepared = nullptr;
    expect_ok(connection, sqlite3_prepare_v3(connection, sql.data(), static_cast<int>(sql.size()),
                                             SQLITE_PREPARE_PERSISTENT, &prepared, nullptr));
    prepared_.reset(prepared);
}

void statement::finalizer::operator()(sqlite3_stmt* prepared) const {
    sqlite3_finalize(prepared);
}

statement& statement::bind(no_value) {
    expect_ok(connection_, sqlite3_bind_null(prepared_.get(), ++bound_));
    return *this;
}

statement& statement::bind(int64_t value) {
    expect_ok(connection_, sqlite3_bind_int64(prepared_.get(), ++bound_, value));
    return *this;
}

statement& statement::bind(std::string_view text) {
    return is_utf8(text) ? bind_text(text) : bind_bytes(text);
}

statement& statement::bind(std::span<const uint8_t> bytes) {
    expect_ok(connection_,
              sqlite3_bind_blob64(prepared_.get(), ++bound_, bytes.data(), bytes.size(), SQLITE_TRANSIENT));
    return *this;
}

statement& statement::bind(const std::optional<int64_t>& value) {
    return value ? bind(*value) : bind(no_value{});
}

statement& statement::bind_text(std::string_view text) {
    expect_ok(connection_, sqlite3_bind_text64(prepared_.get(), ++bound_, text.data(), text.size(),
                                               SQLITE_TRANSIENT, SQLITE_UTF8));
    return *this;
}

statement& statement::bind_bytes(std::string_view text) {
    return bind(std::span(reinterpret_cast<const uint8_t*>(text.data()), text.size()));
}

bool statement::step() {
    const int status = sqlite3_step(prepared_.get());
    if (status == SQLITE_ROW)
        return true;
    reset();
    if (status != SQLITE_DONE)
        fail(connection_);
    return false;
}

void statement::run() {
    step();
}

void statement::reset() {
    sqlite3_reset(prepared_.get());
    sqlite3_clear_bindings(prepared_.get());
    bound_ = 0;
}

bool statement::is_null(int column) const {
    return sqlite3_column_type(prepared_.get(), column) == SQLITE_NULL;
}

int64_t statement::number(int column) const {
    return sqlite3_column_int64(prepared_.get(), column);
}

std::optional<int64_t> statement::maybe(int column) const {
    return is_null(column) ? std::nullopt : std::optional(number(column));
}

std::string statement::text(int column) const {
    const auto found = bytes(column);
    return {reinterpret_cast<const char*>(found.data()), found.size()};
}

std::span<const uint8_t> statement::bytes(int column) const {
    const void* const found = sqlite3_column_blob(prepared_.get(), column);
    const int length = sqlite3_column_bytes(prepared_.get(), column);
    return {static_cast<const uint8_t*>(found), found == nullptr ? 0 : static_cast<size_t>(length)};
}

connection::connection(const std::string& name, access how) {
    const int memory = how == access::memory ? SQLITE_OPEN_MEMORY | SQLITE_OPEN_CREATE : 0;
    sqlite3* opened = nullptr;
    const int status = sqlite3_open_v2(name.c_str(), &opened,
                                       SQLITE_OPEN_READWRITE | SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX |
                                           SQLITE_OPEN_EXRESCODE | memory,
                                       nullptr);
    open_.reset(opened);
    if (opened == nullptr)
        throw std::bad_alloc();
    expect_ok(opened, status);
    sqlite3_busy_timeout(opened, busy_ms);
    // Nothing that somebody wrote into a schema runs with the rights of whoever opens the file.
    sqlite3_db_config(opened, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(opened, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
}

void connection::closer::operator()(sqlite3* open) const {
    sqlite3_close_v2(open);
}

void connection::run(const std::string& sql) {
    expect_ok(get(), sqlite3_exec(get(), sql.c_str(), nullptr, nullptr, nullptr));
}

int64_t connection::number(std::string_view sql) {
    statement asked(get(), sql);
    asked.step();
    return asked.number(0);
}

std::string connection::text(std::string_view sql) {
    statement asked(get(), sql);
    return asked.step() ? asked.text(0) : std::string();
}

bool connection::read_only() const {
    return sqlite3_db_readonly(get(), "main") == 1;
}

void connection::leave_log_on_close(bool leave) {
    sqlite3_db_config(get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, leave ? 1 : 0, nullptr);
}

// Immediate: what is read in it is what is written upon, and only its beginning can find another process writing.
transaction::transaction(connection& in) : in_(in) {
    in_.run("BEGIN IMMEDIATE");
}

transaction::~transaction() {
    if (!done_)
        sqlite3_exec(in_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void transaction::commit() {
    in_.run("COMMIT");
    done_ = true;
}

} // namespace kmr::store
