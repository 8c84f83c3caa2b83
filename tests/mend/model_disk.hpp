// A disk in memory that knows what has reached it for good. Its power can be cut before or after any call that changes
// something, and any call can be made to fail.
#pragma once

#include "mend/disk.hpp"
#include "tests/support/recording_bytes.hpp"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace mend_test {

using recording::bytes;

struct power_cut {}; // thrown when the power goes

// What becomes of writes that were not synced when the power goes.
enum class unsynced : uint8_t {
    kept,
    dropped,
    even_sectors, // of 512 bytes: these reached the disk, the others did not
    odd_sectors,
    even_calls, // every other call, whole
    odd_calls,
};
inline constexpr unsynced all_fates[] = {unsynced::kept,        unsynced::dropped,    unsynced::even_sectors,
                                         unsynced::odd_sectors, unsynced::even_calls, unsynced::odd_calls};

class model_disk final : public kmr::mend::disk {
public:
    model_disk() = default;

    void put(const std::string& path, const bytes& content, const kmr::mend::file_dates& dates = {});
    void put_link(const std::string& path);
    bool has(const std::string& path) const { return names_.contains(path); }
    const bytes& content(const std::string& path) const;
    kmr::mend::file_dates dates(const std::string& path) const;
    std::vector<std::string> names() const;
    std::unique_ptr<model_disk> copy() const; // of what a reader sees; nothing is open or locked

    // Calls that change something, 1-based.
    int changing_calls = 0;
    uint64_t bytes_written = 0;
    void cut_power(int at_call, bool after) {
        cut_at_ = at_call;
        cut_after_ = after;
    }
    // The disk as it is found when the power is back.
    std::unique_ptr<model_disk> after_power_cut(unsynced files, bool folder_kept) const;

    // The nth call from now, of any kind, gives this error; and all later ones where it lasts.
    void fail(int nth, int error, bool lasts);
    bool has_failed() const { return failed_; }
    void heal() { fail_in_ = 0; }
    // Writes that would make the files longer than this together give ENOSPC.
    void set_room(uint64_t room) { room_ = room; }
    uint64_t used() const;

    kmr::mend::opened open(const std::string& path, kmr::mend::open_mode mode) override;
    int look(const std::string& path, kmr::mend::file_facts& into) override;
    int rename(const std::string& from, const std::string& to) override;
    int unlink(const std::string& path) override;
    int sync_folder(const std::string& path) override;

private:
    struct change {
        enum class kind : uint8_t { write, truncate, dates } what = kind::write;
        uint64_t offset = 0; // or the size
        bytes content = {};
        kmr::mend::file_dates dates = {};
    };
    struct stored {
        uint64_t number = 0;
        bool link = false;
        bytes now = {};
        kmr::mend::file_dates dates = {};
        bytes durable = {};
        kmr::mend::file_dates durable_dates = {};
        std::vector<change> pending = {};
        bool locked = false;
    };
    class handle;
    using name_table = std::map<std::string, std::shared_ptr<stored>>;

    static void apply(const change& what, bytes& to, kmr::mend::file_dates& dates);
    static void apply_torn(const change& what, unsynced fate, bytes& to, kmr::mend::file_dates& dates);
    template <typename Call>
    int changing(Call call);
    int disturbed();
    void record(stored& in, change what);
    timespec next_moment() { return {clock_++, 5}; }

    name_table names_ = {};
    name_table durable_names_ = {};
    uint64_t next_number_ = 1;
    time_t clock_ = 2'000'000'000;
    int cut_at_ = 0;
    bool cut_after_ = false;
    int fail_in_ = 0;
    int fail_error_ = 0;
    bool fail_lasts_ = false;
    bool failed_ = false;
    uint64_t room_ = UINT64_MAX;
};

} // namespace mend_test
