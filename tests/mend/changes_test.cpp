// Planned writes: their number, their content, and a source that does not hold what they take from it.
#include "mend/changes.hpp"
#include "tests/mend/mended.hpp"

#include <cerrno>
#include <gmock/gmock.h>

namespace {

using namespace mend_test;
using kmr::mend::changed_source;
using kmr::mend::changes;

class broken_source final : public kmr::scan::byte_source {
public:
    uint64_t size() const override { return 100; }
    kmr::scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override {
        if (offset >= 50)
            return {.count = 0, .error = ENXIO};
        std::fill(into.begin(), into.end(), uint8_t{3});
        return {.count = into.size(), .error = 0};
    }
};

TEST(ChangesTest, AreNoneOrAShorterFileOrWrites) {
    changes none(10);
    EXPECT_TRUE(none.write_bytes(3, {}));
    EXPECT_TRUE(none.empty());
    changes shorter(10);
    shorter.set_new_size(9);
    EXPECT_FALSE(shorter.empty());
    changes zeros(10);
    EXPECT_TRUE(zeros.write_zeros(2, 3));
    EXPECT_FALSE(zeros.empty());
    EXPECT_EQ(zeros.bytes_written(), 3U);
}

TEST(ChangesTest, AreNotMoreThanMemoryIsGivenTo) {
    changes many(changes::most_writes);
    const bytes one = {1};
    for (size_t i = 0; i < changes::most_writes; ++i) {
        ASSERT_TRUE(many.write_bytes(i, one));
    }
    EXPECT_FALSE(many.write_bytes(5, one));
    EXPECT_FALSE(many.write_zeros(5, 1));
    EXPECT_FALSE(many.move_bytes(5, 4, 1));
    EXPECT_TRUE(many.write_zeros(5, 0)) << "nothing is no write";
    EXPECT_EQ(many.writes().size(), changes::most_writes);
}

TEST(ChangesTest, ReadAsTheFileWillBe) {
    const bytes old = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
    changes planned(10);
    planned.set_new_size(14);
    planned.write_bytes(1, bytes{11, 12});
    planned.move_bytes(8, 2, 4);
    planned.write_zeros(12, 2);
    EXPECT_EQ(with_changes(old, planned), (bytes{0, 11, 12, 3, 4, 5, 6, 7, 2, 3, 4, 5, 0, 0}));
    kmr::scan::memory_source source(old);
    changed_source after(source, planned);
    bytes part(4);
    EXPECT_EQ(after.read_at(14, part).count, 0U);
    EXPECT_EQ(after.read_at(12, part).count, 2U);
}

// A file that became longer holds nothing between its old end and what is written further on.
TEST(ChangesTest, EndWhereNothingIsKnown) {
    const bytes old(10, 7);
    kmr::scan::memory_source source(old);
    changes planned(10);
    planned.set_new_size(30);
    planned.write_zeros(20, 10);
    changed_source after(source, planned);
    bytes all(30);
    EXPECT_EQ(after.read_at(0, all).count, 10U);
}

TEST(ChangesTest, FailWhereTheirSourceFails) {
    broken_source source;
    changes planned(100);
    planned.move_bytes(10, 60, 5);
    bytes part(5);
    EXPECT_EQ(planned.content_of(planned.writes()[0], 0, source, part), ENXIO);
    changed_source after(source, planned);
    EXPECT_EQ(after.read_at(10, part).error, ENXIO);
    EXPECT_EQ(after.read_at(70, part).error, ENXIO);
    EXPECT_EQ(after.read_at(0, part).error, 0);
    const bytes short_one(62, 1);
    kmr::scan::memory_source cut_source(short_one);
    EXPECT_EQ(planned.content_of(planned.writes()[0], 0, cut_source, part), EIO);
}

} // namespace
