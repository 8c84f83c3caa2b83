// Start-up: clears the layer's tables and loads both modules into the mount table. It knows every part of the layer,
// whose functions stand in some slots; no part of the layer knows it.
#include "libvfs/directories.hpp"
#include "libvfs/module_handles.hpp"
#include "libvfs/mount_table.hpp"
#include "libvfs/open_files.hpp"

#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <iterator>
#include <type_traits>

extern const char g_cSoName[2][32] = {"libznfs.so", "libsznfs.so"};
void* g_handle;
void* kmr::module_handles[module_count];

namespace {

constexpr char module_folder[] = "./lib";
constexpr char symbol_prefixes[2][64] = {"znfs_", "sznfs_"};
using kmr::module_count;

// What puts an address into one slot of a module's operations.
using slot_filler = void (*)(vfs_module_operations& operations, const char* operation);

// The module's own function. A symbol that the module lacks leaves the slot null, and nothing checks it: a
// module must export every operation that is looked up in it.
template <auto Slot>
void lookup(vfs_module_operations& operations, const char* operation) {
    char symbol[64] = {};
    std::snprintf(symbol, sizeof symbol, "%s%s", symbol_prefixes[operations.iIndex], operation);
    auto& slot = operations.*Slot;
    slot = reinterpret_cast<std::remove_reference_t<decltype(slot)>>(dlsym(g_handle, symbol));
}

// The layer's function in place of the module's.
template <auto Slot, auto Function>
void the_layers(vfs_module_operations& operations, const char*) {
    operations.*Slot = Function;
}

void left_null(vfs_module_operations&, const char*) {}

struct slot_row {
    const char* operation;
    slot_filler fill[module_count]; // by module number
};

using slots = vfs_module_operations;

// In the order of the lookups.
constexpr slot_row slot_rows[] = {
    {"Open", {lookup<&slots::Open>, lookup<&slots::Open>}},
    {"Read", {lookup<&slots::Read>, lookup<&slots::Read>}},
    {"Rename", {the_layers<&slots::Rename, _vfs_rename>, lookup<&slots::Rename>}},
    {"fcntl", {the_layers<&slots::fcntl, _vfs_fcntl>, lookup<&slots::fcntl>}},
    {"Seek", {lookup<&slots::Seek>, lookup<&slots::Seek>}},
    {"Close", {lookup<&slots::Close>, lookup<&slots::Close>}},
    {"Eof", {lookup<&slots::Eof>, lookup<&slots::Eof>}},
    {"SetUsrParam", {lookup<&slots::SetUsrParam>, lookup<&slots::SetUsrParam>}},
    {"Stat", {lookup<&slots::Stat>, lookup<&slots::Stat>}},
    {"Tell", {lookup<&slots::Tell>, lookup<&slots::Tell>}},
    {"Unlink", {lookup<&slots::Unlink>, lookup<&slots::Unlink>}},
    {"ChangeTime", {lookup<&slots::ChangeTime>, lookup<&slots::ChangeTime>}},
    {"Write", {lookup<&slots::Write>, lookup<&slots::Write>}},
    {"fsync", {lookup<&slots::fsync>, lookup<&slots::fsync>}},
    {"ftruncate", {lookup<&slots::ftruncate>, lookup<&slots::ftruncate>}},
    {"Statfs", {lookup<&slots::Statfs>, lookup<&slots::Statfs>}},
    {"Format", {lookup<&slots::Format>, lookup<&slots::Format>}},
    {"error", {lookup<&slots::error>, lookup<&slots::error>}},
    {"ScanDir", {the_layers<&slots::ScanDir, _vfs_ScanDir>, lookup<&slots::ScanDir>}},
    {"OpenDir", {the_layers<&slots::OpenDir, _vfs_OpenDir>, lookup<&slots::OpenDir>}},
    {"CloseDir", {the_layers<&slots::CloseDir, _vfs_CloseDir>, lookup<&slots::CloseDir>}},
    {"ReadDir", {the_layers<&slots::ReadDir, _vfs_ReadDir>, left_null}},
};

static_assert(std::size(slot_rows) == (sizeof(slots) - offsetof(slots, Open)) / sizeof(void*),
              "every slot has its row");

void load(uint32_t module) {
    vfs_mount_entry& entry = g_stvfsmnt.Entries[module];
    entry = {};
    entry.Operations.iIndex = module;
    std::memcpy(entry.cName, g_cSoName[module], std::strlen(g_cSoName[module]));
    vfs_LoadInitMdl(&entry); // without the module its paths fail, and the rest works
}

} // namespace

int32_t vfs_Init(void) {
    kmr::clear_directories();
    kmr::clear_open_files();
    g_stvfsmnt = {};
    g_stvfsmnt.iMntNum = module_count;
    for (uint32_t module = 0; module < g_stvfsmnt.iMntNum; ++module)
        load(module);
    return 0;
}

int32_t vfs_LoadInitMdl(vfs_mount_entry* entry) {
    char library[64];
    std::snprintf(library, sizeof library, "%s/%s", module_folder, entry->cName);
    g_handle = dlopen(library, RTLD_NOW);
    kmr::module_handles[entry->Operations.iIndex] = g_handle;
    if (g_handle == nullptr)
        return -1;
    for (const slot_row& row : slot_rows)
        row.fill[entry->Operations.iIndex](entry->Operations, row.operation);
    entry->iState = kmr::module_is_loaded;
    return 0;
}

int32_t vfs_DeInit(void) {
    return 0;
}
