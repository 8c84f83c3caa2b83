// A disk with somebody else at work on it, and with reads that come short.
#pragma once

#include "tests/mend/model_disk.hpp"

#include <functional>

namespace mend_test {

class meddled_disk final : public kmr::mend::disk {
public:
    explicit meddled_disk(model_disk& on) : on_(on) {}

    // What happens right before the nth call of any kind, 1-based.
    void before(int nth, std::function<void()> happens) {
        meddle_at_ = nth;
        happens_ = std::move(happens);
    }
    // The nth read gives half of what is there, and no error.
    void shorten_read(int nth) { shorten_at_ = nth; }
    int calls = 0;
    int reads = 0;

    kmr::mend::opened open(const std::string& path, kmr::mend::open_mode mode) override {
        count();
        auto found = on_.open(path, mode);
        if (found.file)
            found.file = std::make_unique<file>(*this, std::move(found.file));
        return found;
    }
    int look(const std::string& path, kmr::mend::file_facts& into) override {
        count();
        return on_.look(path, into);
    }
    int rename(const std::string& from, const std::string& to) override {
        count();
        return on_.rename(from, to);
    }
    int unlink(const std::string& path) override {
        count();
        return on_.unlink(path);
    }
    int sync_folder(const std::string& path) override {
        count();
        return on_.sync_folder(path);
    }

private:
    class file final : public kmr::mend::open_file {
    public:
        file(meddled_disk& on, std::unique_ptr<kmr::mend::open_file> what)
            : on_(on), what_(std::move(what)) {}

        kmr::scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override {
            on_.count();
            auto read = what_->read_at(offset, into);
            if (++on_.reads == on_.shorten_at_)
                read.count /= 2;
            return read;
        }
        int write_at(uint64_t offset, std::span<const uint8_t> from) override {
            on_.count();
            return what_->write_at(offset, from);
        }
        int truncate(uint64_t size) override {
            on_.count();
            return what_->truncate(size);
        }
        int sync() override {
            on_.count();
            return what_->sync();
        }
        int set_dates(const kmr::mend::file_dates& dates) override {
            on_.count();
            return what_->set_dates(dates);
        }
        int look(kmr::mend::file_facts& into) override {
            on_.count();
            return what_->look(into);
        }
        int lock() override {
            on_.count();
            return what_->lock();
        }

    private:
        meddled_disk& on_;
        std::unique_ptr<kmr::mend::open_file> what_;
    };

    void count() {
        if (++calls == meddle_at_)
            happens_();
    }

    model_disk& on_;
    int meddle_at_ = 0;
    std::function<void()> happens_ = {};
    int shorten_at_ = 0;
};

} // namespace mend_test
