/* The constants of the headers are constants in C: they size arrays and label cases. */
#include "UserDataOpt/user_data_block.h"
#include "analyse/format/file_header.h"
#include "analyse/format/frame_header.h"
#include "analyse/format/index_block.h"
#include "file_op/common/log.h"
#include "vfslist16a/index_file.h"

size_t c_size_of_all_records(void);
const char* c_name_of_word(uint32_t word);
uint32_t c_index_block_size(uint32_t record_count);

struct all_records {
    uint8_t file_header[KMR_FILE_HEADER_SIZE];
    uint8_t frame_header[KMR_FRAME_HEADER_SIZE];
    uint8_t index_head[KMR_INDEX_HEAD_SIZE];
    uint8_t index_records[KMR_MAX_TAGS][KMR_INDEX_RECORD_SIZE];
    uint8_t index_trailer[KMR_INDEX_TRAILER_SIZE];
    uint8_t tag[KMR_TAG_SIZE];
    uint8_t block_head[KMR_USER_DATA_HEAD_SIZE];
    uint8_t segment_head[KMR_SEGMENT_HEAD_SIZE];
    uint8_t index_file_header[KMR_INDEX_FILE_HEADER_SIZE];
    uint8_t index_file_record[KMR_INDEX_FILE_RECORD_SIZE];
};

size_t c_size_of_all_records(void) {
    return sizeof(struct all_records);
}

const char* c_name_of_word(uint32_t word) {
    switch (word) {
    case KMR_SYNC_WORD:
        return "sync word";
    case KMR_INDEX_MAGIC:
        return "index magic";
    case KMR_USER_DATA_MAGIC:
        return "user-data magic";
    case KMR_MAX_FRAME_SIZE:
        return "largest frame";
    case KMR_INSERTED_FRAME_TAG:
        return "inserted frame";
    case KMR_INDEX_CAPACITY_STEP:
        return "capacity step";
    case KMR_DEFAULT_FRAME_RATE:
        return "frame rate";
    case USERDATA_FLAG_VCA_SIZE:
        return "analysis size";
    case USERDATA_FLAG_VCA_TARGET:
        return "analysis target";
    case ZN_LOG_PLAIN:
        return "plain log";
    default:
        return "";
    }
}

uint32_t c_index_block_size(uint32_t record_count) {
    return kmr_index_block_size(record_count);
}
