#include "tests/mend/model_disk.hpp"

#include <algorithm>
#include <cerrno>

namespace mend_test {

namespace mend = kmr::mend;
using mend::file_dates;

void model_disk::put(const std::string& path, const bytes& content, const file_dates& dates) {
    auto made = std::make_shared<stored>();
    made->number = next_number_++;
    made->now = made->durable = content;
    made->dates = made->durable_dates = dates;
    names_[path] = durable_names_[path] = made;
}

void model_disk::put_link(const std::string& path) {
    put(path, {});
    names_[path]->link = true;
}

const bytes& model_disk::content(const std::string& path) const {
    return names_.at(path)->now;
}

file_dates model_disk::dates(const std::string& path) const {
    return names_.at(path)->dates;
}

std::vector<std::string> model_disk::names() const {
    std::vector<std::string> found;
    for (const auto& each : names_)
        found.push_back(each.first);
    return found;
}

uint64_t model_disk::used() const {
    uint64_t sum = 0;
    for (const auto& each : names_)
        sum += each.second->now.size();
    return sum;
}

std::unique_ptr<model_disk> model_disk::copy() const {
    auto other = std::make_unique<model_disk>();
    for (const auto& [name, file] : names_) {
        other->put(name, file->now, file->dates);
        other->names_[name]->link = file->link;
    }
    return other;
}

void model_disk::apply(const change& what, bytes& to, file_dates& dates) {
    if (what.what == change::kind::truncate)
        to.resize(what.offset);
    if (what.what == change::kind::write) {
        to.resize(std::max<size_t>(to.size(), what.offset + what.content.size()));
        std::copy(what.content.begin(), what.content.end(),
                  to.begin() + static_cast<std::ptrdiff_t>(what.offset));
    }
    dates = what.dates;
}

void model_disk::apply_torn(const change& what, unsynced fate, bytes& to, file_dates& dates) {
    const uint64_t wanted = fate == unsynced::even_sectors ? 0 : 1;
    if (what.what != change::kind::write) {
        if (wanted == 0)
            apply(what, to, dates);
        return;
    }
    for (size_t i = 0; i < what.content.size();) {
        const uint64_t at = what.offset + i;
        const size_t part = std::min<size_t>(512 - at % 512, what.content.size() - i);
        if (at / 512 % 2 == wanted) {
            const auto from = what.content.begin() + static_cast<std::ptrdiff_t>(i);
            apply({.what = change::kind::write,
                   .offset = at,
                   .content = bytes(from, from + static_cast<std::ptrdiff_t>(part)),
                   .dates = what.dates},
                  to, dates);
        }
        i += part;
    }
}

std::unique_ptr<model_disk> model_disk::after_power_cut(unsynced files, bool folder_kept) const {
    auto other = std::make_unique<model_disk>();
    for (const auto& [name, file] : folder_kept ? names_ : durable_names_) {
        bytes content = file->durable;
        file_dates dates = file->durable_dates;
        for (size_t i = 0; i < file->pending.size(); ++i) {
            const change& each = file->pending[i];
            if (files == unsynced::kept || (files == unsynced::even_calls && i % 2 == 0) ||
                (files == unsynced::odd_calls && i % 2 == 1))
                apply(each, content, dates);
            if (files == unsynced::even_sectors || files == unsynced::odd_sectors)
                apply_torn(each, files, content, dates);
        }
        other->put(name, content, dates);
    }
    return other;
}

void model_disk::fail(int nth, int error, bool lasts) {
    fail_in_ = nth;
    fail_error_ = error;
    fail_lasts_ = lasts;
    failed_ = false;
}

int model_disk::disturbed() {
    if (fail_in_ == 0 || (fail_in_ > 1 && --fail_in_ >= 1))
        return 0;
    failed_ = true;
    if (!fail_lasts_)
        fail_in_ = 0;
    return fail_error_;
}

template <typename Call>
int model_disk::changing(Call call) {
    if (const int error = disturbed())
        return error;
    const bool last = ++changing_calls == cut_at_;
    if (last && !cut_after_)
        throw power_cut();
    const int error = call();
    if (last)
        throw power_cut();
    return error;
}

void model_disk::record(stored& in, change what) {
    apply(what, in.now, in.dates);
    in.pending.push_back(std::move(what));
}

class model_disk::handle final : public mend::open_file {
public:
    handle(model_disk& on, std::shared_ptr<stored> what) : on_(on), what_(std::move(what)) {}
    ~handle() override {
        if (has_lock_)
            what_->locked = false;
    }

    kmr::scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override {
        if (const int error = on_.disturbed())
            return {.count = 0, .error = error};
        if (offset >= what_->now.size())
            return {};
        const size_t count = std::min<size_t>(into.size(), what_->now.size() - offset);
        std::copy_n(what_->now.begin() + static_cast<std::ptrdiff_t>(offset), count, into.begin());
        return {.count = count, .error = 0};
    }

    int write_at(uint64_t offset, std::span<const uint8_t> from) override {
        return on_.changing([&] {
            const uint64_t longer = std::max<uint64_t>(offset + from.size(), what_->now.size());
            if (on_.used() - what_->now.size() + longer > on_.room_)
                return ENOSPC;
            on_.bytes_written += from.size();
            on_.record(*what_, {.what = change::kind::write,
                                .offset = offset,
                                .content = bytes(from.begin(), from.end()),
                                .dates = {what_->dates.accessed, on_.next_moment()}});
            return 0;
        });
    }

    int truncate(uint64_t size) override {
        return on_.changing([&] {
            on_.record(*what_, {.what = change::kind::truncate,
                                .offset = size,
                                .content = {},
                                .dates = {what_->dates.accessed, on_.next_moment()}});
            return 0;
        });
    }

    int sync() override {
        return on_.changing([&] {
            what_->durable = what_->now;
            what_->durable_dates = what_->dates;
            what_->pending.clear();
            return 0;
        });
    }

    int set_dates(const file_dates& dates) override {
        return on_.changing([&] {
            on_.record(*what_, {.what = change::kind::dates, .offset = 0, .content = {}, .dates = dates});
            return 0;
        });
    }

    int look(mend::file_facts& into) override {
        if (const int error = on_.disturbed())
            return error;
        into = {.kind = what_->link ? mend::file_kind::link : mend::file_kind::regular,
                .size = what_->now.size(),
                .dates = what_->dates,
                .device = 1,
                .number = what_->number};
        return 0;
    }

    int lock() override {
        if (const int error = on_.disturbed())
            return error;
        if (what_->locked)
            return EWOULDBLOCK;
        what_->locked = has_lock_ = true;
        return 0;
    }

private:
    model_disk& on_;
    std::shared_ptr<stored> what_;
    bool has_lock_ = false;
};

mend::opened model_disk::open(const std::string& path, mend::open_mode mode) {
    const bool makes = mode == mend::open_mode::make || mode == mend::open_mode::make_private;
    const auto found = names_.find(path);
    if (!makes) {
        if (const int error = disturbed())
            return {.file = nullptr, .error = error};
        if (found == names_.end())
            return {.file = nullptr, .error = ENOENT};
        if (found->second->link)
            return {.file = nullptr, .error = ELOOP};
        return {.file = std::make_unique<handle>(*this, found->second), .error = 0};
    }
    const int error = changing([&] {
        if (found != names_.end())
            return EEXIST;
        auto made = std::make_shared<stored>();
        made->number = next_number_++;
        names_[path] = made;
        return 0;
    });
    if (error != 0)
        return {.file = nullptr, .error = error};
    return {.file = std::make_unique<handle>(*this, names_[path]), .error = 0};
}

int model_disk::look(const std::string& path, mend::file_facts& into) {
    const auto found = names_.find(path);
    if (found == names_.end()) {
        const int error = disturbed();
        return error != 0 ? error : ENOENT;
    }
    return handle(*this, found->second).look(into);
}

int model_disk::rename(const std::string& from, const std::string& to) {
    return changing([&] {
        const auto found = names_.find(from);
        if (found == names_.end())
            return ENOENT;
        names_[to] = found->second;
        names_.erase(from);
        return 0;
    });
}

int model_disk::unlink(const std::string& path) {
    return changing([&] { return names_.erase(path) == 1 ? 0 : ENOENT; });
}

int model_disk::sync_folder(const std::string&) {
    return changing([&] {
        durable_names_ = names_;
        return 0;
    });
}

} // namespace mend_test
