// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "CameraRaw.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>
#include <optional>
#include <vector>

namespace parcelo::detail {

namespace {

// TIFF tags and values that only camera raw files carry.
constexpr std::uint16_t kNewSubfileType = 254;
constexpr std::uint16_t kCompression = 259;
constexpr std::uint16_t kPhotometric = 262;
constexpr std::uint16_t kSubIfds = 330;
constexpr std::uint16_t kDngVersion = 50706;
constexpr std::array<std::uint32_t, 2> kRawPhotometrics{32803, 34892};  // colour filter array, linear raw
// Sony, Epson, Samsung (three), Nikon, Kodak, Pentax.
constexpr std::array<std::uint32_t, 8> kMakerCompressions{32767, 32769, 32770, 32771, 32772, 34713, 65000, 65535};
constexpr std::uint16_t kReducedImageBit = 1;

// Bounds for a hostile file: a real raw file has a few dozen entries and a few sub-directories.
constexpr std::uint32_t kMostEntries = 1'000;
constexpr std::size_t kMostSubIfds = 16;

class TiffReader {
public:
    explicit TiffReader(const std::filesystem::path& path) : file_(path, std::ios::binary) {
        std::array<std::uint8_t, 2> order{};
        read(0, order.data(), 2);
        littleEndian_ = order[0] == 'I';
    }

    std::optional<std::uint32_t> u32(std::uint64_t offset) { return number(offset, 4); }
    std::optional<std::uint32_t> u16(std::uint64_t offset) { return number(offset, 2); }
    bool bytesAt(std::uint64_t offset, std::uint8_t* out, std::size_t count) { return read(offset, out, count); }

private:
    bool read(std::uint64_t offset, std::uint8_t* out, std::size_t count) {
        file_.clear();
        file_.seekg(static_cast<std::streamoff>(offset));
        return static_cast<bool>(file_.read(reinterpret_cast<char*>(out), static_cast<std::streamsize>(count)));
    }
    std::optional<std::uint32_t> number(std::uint64_t offset, std::size_t size) {
        std::array<std::uint8_t, 4> bytes{};
        if (!read(offset, bytes.data(), size)) return std::nullopt;
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < size; ++i) value |= std::uint32_t{bytes[littleEndian_ ? i : size - 1 - i]} << (8 * i);
        return value;
    }

    std::ifstream file_;
    bool littleEndian_ = true;
};

struct Directory {
    bool raw = false;  // its own tags mark raw sensor data
    bool reducedImage = false;
    std::vector<std::uint32_t> subIfds;
};

// A SHORT or LONG value stored in the entry itself (a single one fits its four bytes).
std::optional<std::uint32_t> inlineValue(TiffReader& tiff, std::uint64_t entry) {
    const auto type = tiff.u16(entry + 2);
    if (type == 3) return tiff.u16(entry + 8);
    return tiff.u32(entry + 8);
}

std::vector<std::uint32_t> subIfdOffsets(TiffReader& tiff, std::uint64_t entry) {
    const std::uint32_t count = std::min<std::uint32_t>(tiff.u32(entry + 4).value_or(0), kMostSubIfds);
    if (count <= 1) return count == 1 ? std::vector{tiff.u32(entry + 8).value_or(0)} : std::vector<std::uint32_t>{};
    std::vector<std::uint32_t> offsets;
    const std::uint64_t list = tiff.u32(entry + 8).value_or(0);
    for (std::uint32_t i = 0; i < count; ++i) offsets.push_back(tiff.u32(list + 4 * i).value_or(0));
    return offsets;
}

Directory readDirectory(TiffReader& tiff, std::uint64_t offset) {
    Directory directory;
    const std::uint32_t entries = std::min(tiff.u16(offset).value_or(0), kMostEntries);
    for (std::uint32_t i = 0; i < entries; ++i) {
        const std::uint64_t entry = offset + 2 + 12 * std::uint64_t{i};
        const auto tag = tiff.u16(entry);
        if (!tag) break;
        const std::uint32_t value = inlineValue(tiff, entry).value_or(0);
        if (*tag == kDngVersion) directory.raw = true;
        if (*tag == kPhotometric && std::ranges::find(kRawPhotometrics, value) != kRawPhotometrics.end())
            directory.raw = true;
        if (*tag == kCompression && std::ranges::find(kMakerCompressions, value) != kMakerCompressions.end())
            directory.raw = true;
        if (*tag == kNewSubfileType) directory.reducedImage = (value & kReducedImageBit) != 0;
        if (*tag == kSubIfds) directory.subIfds = subIfdOffsets(tiff, entry);
    }
    return directory;
}

}  // namespace

bool isCameraRaw(const std::filesystem::path& path) {
    TiffReader tiff(path);
    std::array<std::uint8_t, 2> canonMark{};
    if (tiff.bytesAt(8, canonMark.data(), 2) && canonMark == std::array<std::uint8_t, 2>{'C', 'R'}) return true;
    const auto first = tiff.u32(4);
    if (!first) return false;
    const Directory ifd0 = readDirectory(tiff, *first);
    if (ifd0.raw || (ifd0.reducedImage && !ifd0.subIfds.empty())) return true;
    return std::ranges::any_of(ifd0.subIfds, [&](std::uint32_t offset) { return readDirectory(tiff, offset).raw; });
}

}  // namespace parcelo::detail
