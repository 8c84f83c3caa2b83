// Finding byte patterns and taking the stream's escapes out.
#include "UserDataOpt/user_data.h"

#include <cstddef>
#include <cstring>

const uint8_t kmr_user_data_start_h264[6] = {0x00, 0x00, 0x00, 0x01, 0x06, 0xF0};
const uint8_t kmr_user_data_start_h265[7] = {0x00, 0x00, 0x00, 0x01, 0x4E, 0x01, 0xF0};
const uint8_t ucNeedToRevert[3] = {0x00, 0x00, 0x03};

namespace {

// The first escape of a range, or -1. It is looked for by its last byte, which is much rarer than zeros: in the short
// ranges of user data memmem would spend most of its time on getting ready.
int32_t find_escape(const uint8_t* bytes, int32_t length) {
    constexpr int32_t zeros = 2;
    const uint8_t* const end = bytes + length;
    for (const uint8_t* at = bytes + zeros; length > zeros && at < end; ++at) {
        at = static_cast<const uint8_t*>(
            std::memchr(at, ucNeedToRevert[zeros], static_cast<size_t>(end - at)));
        if (at == nullptr)
            return -1;
        if (at[-1] == 0 && at[-2] == 0)
            return static_cast<int32_t>(at - bytes) - zeros;
    }
    return -1;
}

} // namespace

int32_t FindPosByFlag(const uint8_t* buf, int32_t buflen, const uint8_t* pattern, uint32_t patlen) {
    if (int64_t{patlen} > buflen)
        return -1;
    const void* hit = memmem(buf, static_cast<size_t>(buflen), pattern, patlen);
    return hit == nullptr ? -1 : static_cast<int32_t>(static_cast<const uint8_t*>(hit) - buf);
}

int32_t RevertUserData(const uint8_t* src, uint8_t* dst, int32_t srclen) {
    constexpr int32_t zeros = 2; // of an escape, which stay
    // The output has the length of the input, not of what is left of it: its readers get no other length.
    // Every dropped byte is therefore made up for by one from behind the range.
    int32_t remaining = srclen;
    int32_t escape;
    while ((escape = find_escape(src, remaining)) >= 0) {
        const int32_t kept = escape + zeros;
        std::memcpy(dst, src, static_cast<size_t>(kept));
        dst += kept;
        src += kept + 1;
        remaining -= kept;
    }
    if (remaining > 0)
        std::memcpy(dst, src, static_cast<size_t>(remaining));
    return 0;
}
