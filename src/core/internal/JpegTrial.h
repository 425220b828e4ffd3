// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

// JPEG files made by libjpeg-turbo straight from a rendered 8-bit RGB bitmap, with the very
// options libvips' JPEG writer takes for a copy, so that they are byte for byte the files libvips
// would write, without its pipeline and writer thread. A trial that only asks whether its file
// fits is stopped as soon as the answer "too big" is certain.
namespace parcelo::detail {

// An 8-bit RGB bitmap the encoder reads from the top. row(y) gives row y's width × 3 bytes; the
// rows are asked for in order, and a row once given stays valid for the whole encode.
struct RgbRows {
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::function<const std::uint8_t*(std::int64_t y)> row;
};

struct JpegTrialSettings {
    int setting = 0;              // the encoder's 1–100 quality setting
    bool optimiseCoding = false;  // Huffman tables made for the picture, in a first pass over it
};

// The JPEG file, starting with a JFIF header that says a 1:1 pixel aspect and no unit; nothing
// as soon as the file is certain to weigh more than byteLimit bytes. Throws FitError(cannotEncode).
std::optional<std::vector<std::uint8_t>> encodeJpegWithin(const RgbRows& rows, JpegTrialSettings settings,
                                                          std::int64_t byteLimit);

// The least the file can weigh, as known after each row of blocks of the encoder's first pass:
// what a trial compares with its limit while that pass runs. Only for optimised coding, which has
// that pass; throws FitError(cannotEncode).
std::vector<std::int64_t> leastJpegBytes(const RgbRows& rows, int setting);

}  // namespace parcelo::detail
