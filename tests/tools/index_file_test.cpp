// The recorder's index file.
#include "tests/tools/composer.hpp"
#include "tests/tools/hex_bytes.hpp"

#include <gmock/gmock.h>

namespace {

using recording::bytes;

bytes text_field(const std::string& text, size_t size) {
    bytes field(text.begin(), text.end());
    field.resize(size, 0);
    return field;
}

bytes record(const std::string& first_12_bytes, const std::string& name, const std::string& path) {
    bytes all = hex(first_12_bytes);
    recording::append(all, text_field(name, 104));
    recording::append(all, text_field(path, 68));
    return all;
}

TEST(IndexFileTest, HasAHeadAndTheRecordsInTheirOrder) {
    const composer make;
    bytes expected(72, 0);
    recording::append(expected, record("03 04 0000 64000000 00000000", "a.kmr", "2015/a.kmr"));
    recording::append(expected, record("FF FF 0000 FFFFFFFF 00000000", "b.jpg", "x,y"));
    EXPECT_EQ(
        make.index_file_of({"--record", "3,4,100,a.kmr,2015/a.kmr", "--record", "255,255,-1,b.jpg,x,y"}),
        expected);
}

TEST(IndexFileTest, NamesAndPathsMayFillTheirFields) {
    const composer make;
    const std::string name(104, 'n');
    const std::string path(68, 'p');
    bytes expected(72, 0);
    recording::append(expected, record("00 00 0000 00000000 00000000", name, path));
    EXPECT_EQ(make.index_file_of({"--record", "0,0,0," + name + "," + path}), expected);
}

TEST(IndexFileTest, TakesRecordsFromAList) {
    const composer make;
    make.folder().write_text("list", "# a comment\n\n1,2,50,a,pa\n1,2,2147483647,b,pb\n");
    EXPECT_EQ(make.index_file_of({"--records", "list"}),
              make.index_file_of({"--record", "1,2,50,a,pa", "--record", "1,2,2147483647,b,pb"}));
}

TEST(IndexFileTest, MakesUpRecords) {
    const composer make;
    EXPECT_EQ(make.index_file_of({"--made-up-records", "2:1000:60"}),
              make.index_file_of(
                  {"--record", "0,0,1000,H1100020150102030405I000000,20150102/H1100020150102030405I000000",
                   "--record", "1,0,1060,H1100020150102030405I000001,20150102/H1100020150102030405I000001"}));
    EXPECT_EQ(make.index_file_of({"--made-up-records", "20000:0:1"}).size(), 72u + 20000u * 184u);
}

TEST(IndexFileTest, RefusesToMakeUpRecordsOfAnotherForm) {
    const composer make;
    for (const std::string text : {"", "2", "2:1000", "2:1000:60:1"}) {
        const run::result done = make.run_with({"--index-dat", "x", "--made-up-records", text});
        EXPECT_EQ(done.status, 2) << text;
        EXPECT_THAT(done.err, ::testing::StartsWith("kmr_make: --made-up-records: ")) << text;
    }
    EXPECT_EQ(make.run_with({"--index-dat", "x", "--made-up-records", "2:1000"}).err,
              "kmr_make: --made-up-records: '2:1000' is not of the form COUNT:FIRST_TIME:STEP\n"
              "See kmr_make --help.\n");
    EXPECT_TRUE(make.files().empty());
}

TEST(IndexFileTest, MayBeEmptyOrDamaged) {
    const composer make;
    EXPECT_EQ(make.index_file_of({}), bytes(72, 0));
    EXPECT_EQ(make.index_file_of({"--record", "1,2,3,a,b", "--truncate", "end-1"}).size(), 72u + 183u);
    EXPECT_EQ(make.index_file_of({"--overwrite", "0:FF"}).at(0), 0xFF);
}

TEST(IndexFileTest, RefusesWhatIsNoRecord) {
    const composer make;
    for (const std::string text :
         {"", "1,2,3,a", "256,0,0,a,b", "0,256,0,a,b", "0,0,2147483648,a,b", "x,0,0,a,b"}) {
        const run::result done = make.run_with({"--index-dat", "x", "--record", text});
        EXPECT_EQ(done.status, 2) << text;
        EXPECT_THAT(done.err, ::testing::StartsWith("kmr_make: --record: "));
    }
    EXPECT_EQ(make.run_with({"--index-dat", "x", "--record", "0,0,0," + std::string(105, 'n') + ",p"}).status,
              2);
    EXPECT_EQ(make.run_with({"--index-dat", "x", "--record", "0,0,0,n," + std::string(69, 'p')}).status, 2);
    EXPECT_TRUE(make.files().empty());
}

TEST(IndexFileTest, NamesTheLineThatIsWrong) {
    const composer make;
    make.folder().write_text("list", "1,2,50,a,pa\nnonsense\n");
    EXPECT_EQ(make.run_with({"--index-dat", "x", "--records", "list"}).err,
              "kmr_make: --records: list, line 2: 'nonsense' is not of the form CHANNEL,KIND,TIME,NAME,PATH\n"
              "See kmr_make --help.\n");
}

} // namespace
