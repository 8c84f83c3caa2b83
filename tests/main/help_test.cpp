#include "main/front_end.h"

#include <gmock/gmock.h>

namespace {

TEST(HelpTest, IsEightLinesThatBeginWithTheNameAsCalled) {
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(PromptInfo("./some where/kmr_viewer"), 0);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "./some where/kmr_viewer: version 1.0.0\n"
                                                        "-f KMR file name\n"
                                                        "-a all detail output\n"
                                                        "-s sampe info\n"
                                                        "-t Virtual Frame info\n"
                                                        "-i Only I frame info\n"
                                                        "-u UserData info\n"
                                                        "-o Output file. e.g.:-o/dbg/a.kmr\n");
}

TEST(HelpTest, NamesTheVersion) {
    EXPECT_STREQ(version, "1.0.0");
}

} // namespace
