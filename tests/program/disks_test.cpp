// Recordings on the recorder's disks, found by their short names.
#include "tests/program/recordings.hpp"
#include "tests/program/viewer.hpp"

#include <gmock/gmock.h>

namespace {

// Medium, disk 2, partition, date, time, and the record type at position 20.
const std::string short_name = "H2100020150102030405C000000";

class DisksTest : public ::testing::Test {
protected:
    void write(const std::string& path) { place.folder().write(path, recordings::all().at("sound.kmr")()); }

    // The report shows the name as it was typed.
    std::string report_of(const std::string& name) const {
        return viewer::replaced(viewer::read_golden("all_detail").report, "sound.kmr", name);
    }
    void expect_found(const std::string& name) {
        EXPECT_EQ(place.report({"-f", name, "-a"}), report_of(name));
    }
    void expect_missing(const std::string& name) {
        EXPECT_EQ(place.report({"-f", name, "-a"}),
                  viewer::replaced(viewer::read_golden("missing_recording").report, "missing.kmr", name));
    }

    viewer::place place;
};

TEST_F(DisksTest, HoldARecordingWhereItsNameSays) {
    write("disks/host02/part1/" + short_name);
    expect_found(short_name);
}

TEST_F(DisksTest, AreSearchedForARecordingThatMovedAndWasLocked) {
    write("disks/host05/part1/H2100020150102030405L000000");
    expect_found(short_name);
}

TEST_F(DisksTest, AreSearchedFromTheFirstToTheLast) {
    write("disks/host23/part1/" + short_name);
    expect_found(short_name);
    write("disks/host00/part1/Hn100020150102030405C000000");
    expect_found("Hn100020150102030405C000000");
}

// Base 36: 'n' and 'N' are 23, 'o' is 24, which no disk is any more.
TEST_F(DisksTest, AreNumberedFrom0To23) {
    for (const char* name : {"Hn100020150102030405C000000", "HN100020150102030405C000000"}) {
        write(std::string("disks/host23/part1/") + name);
        expect_found(name);
    }
    for (const char* disk : {"disks/host24/part1/", "disks/host00/part1/"})
        write(std::string(disk) + "Ho100020150102030405C000000");
    expect_missing("Ho100020150102030405C000000");
}

TEST_F(DisksTest, ShowARecordingOfAnotherTypeUnderTheLettersCAndL) {
    write("disks/host00/part1/H2100020150102030405C000000");
    expect_found("H2100020150102030405I000000");
    expect_missing("H2100020150102030405Z000000");
}

TEST_F(DisksTest, AreNamedByFullPathsToo) {
    write("disks/host03/part1/a.kmr");
    expect_found("/dev/scsi/host03/part1/a.kmr");
    expect_missing("/dev/scsi/host04/part1/a.kmr");
}

TEST_F(DisksTest, ComeBehindAFileOfThatVeryName) {
    write(short_name);
    place.folder().write("disks/host02/part1/" + short_name, {});
    expect_found(short_name);
}

TEST_F(DisksTest, HaveNoRecordingsWithUnusableNames) {
    write("disks/host02/part1/" + short_name);
    expect_missing("X2100020150102030405C000000");
    expect_missing(short_name + "0");
    expect_missing("U2100020150102030405C000000");
    expect_missing("N2100020150102030405C000000");
}

} // namespace
