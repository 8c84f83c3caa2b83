// Where among the others a coded picture is shown. The library that tells it is not there everywhere.
#pragma once

#include "convert/stream_frames.hpp"

#include <cstdint>
#include <memory>
#include <span>

namespace kmr::convert {

class picture_order {
public:
    picture_order() = default;
    picture_order(const picture_order&) = delete;
    picture_order& operator=(const picture_order&) = delete;
    virtual ~picture_order() = default;

    // Rises with the time at which pictures are shown, from one that starts to the next. The bytes need readable room
    // behind them, as for any reader of that library.
    virtual int32_t of(std::span<const uint8_t> video) = 0;
};

// Null: the coding shows pictures as they stand, or nothing can tell.
std::unique_ptr<picture_order> make_picture_order(scan::video_codec codec, const parameter_sets& sets);

} // namespace kmr::convert
