#include "file_op/open_table.h"

#include "base/copy_text.hpp"
#include "base/mutex_lock.hpp"
#include "file_op/common/file_names.h"
#include "file_op/common/rec_status.h"
#include "file_op/locate.h"
#include "file_op/open_guards.hpp"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <iterator>

rec_open_entry tOpenFile[REC_MAX_OPEN];
pthread_mutex_t g_tFileLock = PTHREAD_MUTEX_INITIALIZER;
int32_t bOpenFirst = 1;
int32_t g_iStopCopyFlag = 0;

namespace {

constexpr int32_t work_buffer_limit = 0x100000;

void clear_table_once() {
    if (bOpenFirst == 0)
        return;
    std::fill(std::begin(tOpenFile), std::end(tOpenFile), rec_open_entry{});
    bOpenFirst = 0;
}

rec_open_entry* find_free_entry() {
    rec_open_entry* entry = std::find_if(std::begin(tOpenFile), std::end(tOpenFile),
                                         [](const rec_open_entry& each) { return each.uiInUse == 0; });
    return entry != std::end(tOpenFile) ? entry : nullptr;
}

rec_open_entry* find_entry(const vfs_file* handle) {
    rec_open_entry* entry =
        std::find_if(std::begin(tOpenFile), std::end(tOpenFile), [handle](const rec_open_entry& each) {
            return each.uiInUse != 0 && each.pHandle == handle;
        });
    return entry != std::end(tOpenFile) ? entry : nullptr;
}

// The borrowed flag stays as it is: only the first open clears it.
void release(rec_open_entry& entry) {
    entry.uiInUse = 0;
    entry.pHandle = nullptr;
    std::fill(std::begin(entry.cPath), std::end(entry.cPath), '\0');
    std::fill(std::begin(entry.uiState), std::end(entry.uiState), 0);
    if (entry.uiBorrowed == 0)
        std::free(entry.pFrameBuf);
    entry.pFrameBuf = nullptr;
    std::fill(std::begin(entry.uiWords), std::end(entry.uiWords), 0);
    std::free(entry.pWorkBuf);
    entry.pWorkBuf = nullptr;
}

// A name that is a path of an existing file goes before its meaning as a short name.
int32_t resolve(const char* name, vfs_stat_record* st, char (&completed)[REC_PATH_SIZE], const char*& path) {
    path = name;
    if (vfs_Stat(name, st) == 0)
        return REC_OK;
    path = completed;
    const int32_t status = Common_CompleteFileName(name, completed, nullptr, nullptr);
    if (status != REC_OK)
        return status;
    const int32_t found = rec_Stat(completed, st);
    return found == 0 ? REC_OK : found;
}

// A plain word that several threads may write, without a lock and in no order with anything else.
void write_whole(int32_t& word, int32_t value) {
    std::atomic_ref(word).store(value, std::memory_order_relaxed);
}

int32_t read_header(vfs_file* handle, kmr_file_header& header) {
    return kmr::read_record(handle, header) ? REC_OK : REC_SHORT_READ;
}

int32_t read_header_of(const char* name, kmr_file_header& header) {
    const kmr::open_stream file(vfs_fopen(0, name, "rb"));
    return file == nullptr ? REC_CANNOT_OPEN : read_header(file.get(), header);
}

} // namespace

int32_t rec_OpenFile(vfs_file** handle, const char* name, vfs_stat_record* st) {
    vfs_stat_record unwanted = {};
    char completed[REC_PATH_SIZE] = "";
    const char* path = nullptr;

    const kmr::mutex_lock lock(g_tFileLock);
    clear_table_once();
    const int32_t status = resolve(name, st != nullptr ? st : &unwanted, completed, path);
    if (status != REC_OK)
        return status;
    *handle = vfs_fopen(0, path, "rb");
    if (*handle == nullptr)
        return REC_FAILED;
    rec_open_entry* entry = find_free_entry();
    if (entry == nullptr) {
        vfs_fclose(*handle);
        *handle = nullptr;
        return REC_FAILED;
    }
    kmr::copy_text(entry->cPath, path);
    entry->uiInUse = 1;
    entry->pHandle = *handle;
    return REC_OK;
}

int32_t rec_CloseFile(vfs_file** handle) {
    if (handle == nullptr || *handle == nullptr)
        return REC_FAILED;
    const kmr::mutex_lock lock(g_tFileLock);
    rec_open_entry* entry = find_entry(*handle);
    if (entry == nullptr)
        return REC_FAILED;
    vfs_fclose(*handle);
    *handle = nullptr;
    release(*entry);
    return REC_OK;
}

int32_t rec_SetBuf(vfs_file* handle, int32_t size) {
    if (handle == nullptr || size <= 0 || size >= work_buffer_limit)
        return REC_FAILED;
    const kmr::mutex_lock lock(g_tFileLock);
    rec_open_entry* entry = find_entry(handle);
    if (entry == nullptr)
        return REC_FAILED;
    // A buffer set before is not freed: somebody may still work in it.
    entry->pWorkBuf = std::malloc(static_cast<size_t>(size));
    return entry->pWorkBuf != nullptr ? REC_OK : REC_FAILED;
}

int32_t rec_ReadFileHeader(vfs_file* handle, const char* name, kmr_file_header* header) {
    int32_t status = REC_OK;
    if (handle != nullptr) {
        vfs_fseek(handle, 0, SEEK_SET);
        status = read_header(handle, *header);
    } else {
        status = read_header_of(name, *header);
    }
    if (header->FrameRate == 0)
        header->FrameRate = KMR_DEFAULT_FRAME_RATE;
    return status;
}

int32_t rec_StopCopy(void) {
    write_whole(g_iStopCopyFlag, 1);
    return REC_OK;
}

int32_t rec_ClearStopCopyFlag(void) {
    write_whole(g_iStopCopyFlag, 0);
    return REC_OK;
}
