#include "kmr/output/json.hpp"

#include <gtest/gtest.h>

namespace {

TEST(JsonWriterTest, WritesMembersInOrderOnOneLine) {
    std::string to = "x";
    kmr::output::json_writer json(to);
    json.begin_object()
        .member("z", uint64_t{18446744073709551615U})
        .member("a", int64_t{-9223372036854775807})
        .member("text", "Door \"1\"")
        .member("yes", true)
        .member("none", std::optional<int>())
        .key("list")
        .begin_array()
        .value(uint8_t{7})
        .value(1.5)
        .end_array()
        .null_member("nothing")
        .end_object();
    EXPECT_EQ(
        to,
        "x{\"z\":18446744073709551615,\"a\":-9223372036854775807,\"text\":\"Door \\\"1\\\"\",\"yes\":true,"
        "\"none\":null,\"list\":[7,1.5],\"nothing\":null}");
}

} // namespace
