// Watches and disturbs the file-system modules of a test.
//
// The test modules (tests/fakes/lib) hand every call on to the plain-file modules and tell the probe of it; the probe
// is a shared library of its own, so that both modules and the test program see the same one.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace module_probe {

// Forgets the log and every plan.
void reset();

// Every call that reached a test module since reset, in order: the name with its prefix, the arguments without buffers,
// records and handles, and the result.
//   znfs_Open(0, "/dev/scsi/host00/part1/x", 0) = 3      sznfs_Read(3, 32) = 32      sznfs_Seek(3, -8, 2) = 92
//   sznfs_Stat("/tmp/x") = 0      sznfs_Close(3) = 0      sznfs_ftruncate(3, 1000) = 0
//   sznfs_ChangeTime("/tmp/x", 5, 6) = 0      sznfs_OpenDir("/tmp") = handle (or null)      sznfs_CloseDir() = 0
//   znfs_Init(0)      znfs_Mount("/dev/scsi/host00/part1") = 0      znfs_BlockStat("/dev/sda1/", 3, 2) = 2
std::vector<std::string> calls();

// The nth call from now (1-based) of `operation` (name without prefix; "*": any operation) is not performed and gives
// `result` (null where it returns a pointer).
void fail(const std::string& operation, int nth, int64_t result = -1);

// From the nth call from now of `operation` on, every call of it fails that way.
void fail_from(const std::string& operation, int nth, int64_t result = -1);

// The nth Read or Write from now moves at most `bytes` bytes.
void cut(const std::string& operation, int nth, uint32_t bytes);

// The process ends at once (_exit(77)), as in a power cut, instead of the nth call from now of any operation.
void stop_before(int nth);

// Number of calls of any operation since reset.
int count();

} // namespace module_probe
