/* The record layouts as a C program sees them. */
#include "analyse/format/file_header.h"
#include "analyse/format/frame_header.h"
#include "analyse/format/index_block.h"

size_t c_sizeof_file_header(void);
size_t c_sizeof_frame_header(void);
size_t c_sizeof_index_record(void);
int c_is_i_frame(uint32_t kind);

size_t c_sizeof_file_header(void) {
    return sizeof(kmr_file_header);
}

size_t c_sizeof_frame_header(void) {
    return sizeof(kmr_frame_header);
}

size_t c_sizeof_index_record(void) {
    return sizeof(kmr_index_record);
}

int c_is_i_frame(uint32_t kind) {
    kmr_frame_header header = {0};
    header.FrameKind = kind;
    return kmr_is_i_frame(&header);
}
