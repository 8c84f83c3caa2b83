#include "analyse/vca/vca.h"

#include "base/byte_order.h"

#include <cstring>

constexpr vca_analys_size kmr_default_analys_size = {176, 144, 176, 144};

constinit vca_analys_size g_stVcaAnalysSize = kmr_default_analys_size;

int32_t GetAnalysSize(const uint8_t* segment) {
    constexpr size_t segment_head_size = 4;
    uint16_t flag;
    std::memcpy(&flag, segment, sizeof flag);
    if (flag == USERDATA_FLAG_VCA_SIZE)
        std::memcpy(&g_stVcaAnalysSize, segment + segment_head_size,
                    sizeof g_stVcaAnalysSize.width + sizeof g_stVcaAnalysSize.height);
    return 0;
}

vca_analys_size* GetVISize() {
    return &g_stVcaAnalysSize;
}
