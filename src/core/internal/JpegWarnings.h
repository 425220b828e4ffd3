// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <filesystem>

// What a JPEG decoder's warnings mean for the picture. libjpeg warns both about damage that
// leaves grey bands or shifted blocks (a bad Huffman code, a segment cut short, a truncated
// file) and about slips that leave every pixel intact (stray bytes before a marker, an unknown
// Adobe transform code); the decode through libvips can only refuse both or accept both.
namespace parcelo::detail {

// Decodes the whole file once, cheaply (entropy data in full, pixels at an eighth of the size),
// and tells whether it ends cleanly with no warning but those that leave every pixel intact.
// False for any error, any truncation and any other warning.
bool decodesWithHarmlessWarningsOnly(const std::filesystem::path& path);

}  // namespace parcelo::detail
