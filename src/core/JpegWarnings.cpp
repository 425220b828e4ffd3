// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "JpegWarnings.h"

#include <csetjmp>
#include <cstdio>
#include <memory>
#include <vector>

#include <jpeglib.h>

#include <jerror.h>

namespace parcelo::detail {

namespace {

// Warnings about the file's framing or its descriptive markers, never about the coded pixels.
bool isHarmless(int code) {
    switch (code) {
    case JWRN_EXTRANEOUS_DATA:       // stray bytes before a marker, skipped
    case JWRN_ADOBE_XFORM:           // unknown Adobe colour transform code
    case JWRN_JFIF_MAJOR:            // a later JFIF revision
        return true;
    default: return false;
    }
}

struct ScanErrors {
    jpeg_error_mgr manager{};
    std::jmp_buf jump{};
    bool harmful = false;
};

[[noreturn]] void stopScan(j_common_ptr info) { std::longjmp(reinterpret_cast<ScanErrors*>(info->err)->jump, 1); }

void noteMessage(j_common_ptr info, int level) {
    if (level < 0 && !isHarmless(info->err->msg_code)) reinterpret_cast<ScanErrors*>(info->err)->harmful = true;
}

void keepQuiet(j_common_ptr) {}

// Plain C flow only between setjmp and longjmp: nothing here has a destructor to skip.
bool scan(std::FILE* file, jpeg_decompress_struct& info, ScanErrors& errors, JSAMPLE* row) {
    if (setjmp(errors.jump) != 0) return false;
    jpeg_create_decompress(&info);
    jpeg_stdio_src(&info, file);
    jpeg_read_header(&info, TRUE);
    info.scale_num = 1;
    info.scale_denom = 8;
    info.dct_method = JDCT_IFAST;
    info.do_fancy_upsampling = FALSE;
    jpeg_start_decompress(&info);
    if (info.output_width * static_cast<JDIMENSION>(info.output_components) > JPEG_MAX_DIMENSION) return false;
    while (info.output_scanline < info.output_height) {
        JSAMPROW rows[] = {row};
        jpeg_read_scanlines(&info, rows, 1);
    }
    jpeg_finish_decompress(&info);
    return !errors.harmful;
}

}  // namespace

bool decodesWithHarmlessWarningsOnly(const std::filesystem::path& path) {
    const std::unique_ptr<std::FILE, decltype(&std::fclose)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
    if (!file) return false;
    // Room for one row of any JPEG at an eighth of its size, in up to four components.
    std::vector<JSAMPLE> row(JPEG_MAX_DIMENSION);
    jpeg_decompress_struct info{};
    ScanErrors errors;
    info.err = jpeg_std_error(&errors.manager);
    errors.manager.error_exit = stopScan;
    errors.manager.emit_message = noteMessage;
    errors.manager.output_message = keepQuiet;
    const bool clean = scan(file.get(), info, errors, row.data());
    jpeg_destroy_decompress(&info);
    return clean;
}

}  // namespace parcelo::detail
