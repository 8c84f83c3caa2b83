// A new file, written on a disk that refuses, and from a source that fails.
#include "mend/plain_disk.hpp"
#include "tests/mend/on_disk.hpp"
#include "tests/support/scratch.hpp"

#include <cerrno>
#include <gmock/gmock.h>

namespace {

using namespace mend_test;
using kmr::mend::mend_status;
using kmr::mend::outcome;

const std::string target = "/new.kmr";

// One read of many fails, or comes short.
class failing_source final : public kmr::scan::byte_source {
public:
    failing_source(const bytes& of, uint64_t at, int error) : of_(of), at_(at), error_(error) {}
    uint64_t size() const override { return of_.size(); }
    kmr::scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override {
        if (offset <= at_ && at_ < offset + into.size())
            return {.count = 0, .error = error_};
        kmr::scan::memory_source whole(of_);
        return whole.read_at(offset, into);
    }

private:
    const bytes& of_;
    uint64_t at_;
    int error_;
};

class NewFileTest : public ::testing::Test {
protected:
    outcome write(bool replace) {
        kmr::scan::memory_source source(content_);
        return kmr::mend::write_new_file(disk_, target, source, replace);
    }

    bytes content_ = bytes(150'000, 0x5A);
    model_disk disk_;
};

// Where the new file cannot be locked nobody is told that somebody writes it, and it is written all the same.
TEST_F(NewFileTest, IsWholeOrNotThereWhicheverCallFails) {
    for (const bool there : {false, true}) {
        int done_all_the_same = 0;
        for (int nth = 1;; ++nth) {
            SCOPED_TRACE(nth);
            model_disk disk;
            if (there)
                disk.put(target, {1, 2, 3});
            disk.fail(nth, EIO, false);
            kmr::scan::memory_source source(content_);
            const outcome told = kmr::mend::write_new_file(disk, target, source, true);
            if (!disk.has_failed()) {
                EXPECT_EQ(told.status, mend_status::done);
                EXPECT_EQ(disk.content(target), content_);
                break;
            }
            EXPECT_FALSE(disk.has(target + ".kmr-new"));
            if (told.status == mend_status::done) {
                EXPECT_EQ(disk.content(target), content_);
                ++done_all_the_same;
                continue;
            }
            EXPECT_EQ(told.status, mend_status::failed);
            EXPECT_EQ(told.error, EIO);
            if (there) {
                EXPECT_TRUE(disk.content(target) == content_ || disk.content(target) == (bytes{1, 2, 3}));
            } else {
                EXPECT_TRUE(!disk.has(target) || disk.content(target) == content_);
            }
        }
        EXPECT_EQ(done_all_the_same, 1);
    }
}

TEST_F(NewFileTest, IsNotThereWhereItsSourceFails) {
    for (const int error : {0, ENXIO}) {
        failing_source source(content_, 100'000, error);
        const outcome told = kmr::mend::write_new_file(disk_, target, source, true);
        EXPECT_EQ(told.status, mend_status::failed);
        EXPECT_EQ(told.error, error == 0 ? EIO : ENXIO);
        EXPECT_TRUE(disk_.names().empty());
    }
}

TEST_F(NewFileTest, TakesThePlaceOfNoLinkAndOfAFileOnlyWhereItMay) {
    disk_.put_link(target);
    EXPECT_EQ(write(true).status, mend_status::is_a_link);
    disk_.put(target, {1});
    EXPECT_EQ(write(false).error, EEXIST);
    kmr::mend::file_facts never;
    ASSERT_EQ(disk_.look(target, never), 0);
    kmr::scan::memory_source source(content_);
    EXPECT_EQ(kmr::mend::write_new_file(disk_, target, source, true, &never).error, EEXIST);
    EXPECT_EQ(disk_.content(target), bytes{1});
    ++never.device; // of another disk, by chance with the same number
    EXPECT_EQ(kmr::mend::write_new_file(disk_, target, source, true, &never).status, mend_status::done);
    EXPECT_EQ(disk_.content(target), content_);
}

TEST_F(NewFileTest, TakesThePlaceOfNoFolder) {
    const scratch::folder folder;
    kmr::mend::plain_disk disk;
    kmr::scan::memory_source source(content_);
    EXPECT_EQ(kmr::mend::write_new_file(disk, folder.path(), source, true).status, mend_status::not_a_file);
}

// A full disk that the new file is to lie on.
TEST_F(NewFileTest, IsNotThereWithoutRoom) {
    disk_.set_room(100'000);
    EXPECT_EQ(write(false).error, ENOSPC);
    EXPECT_TRUE(disk_.names().empty());
}

} // namespace
