// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// The engine's preview of each file, one after another in one process, as the list's thumbnails
// (400) and the preview stage (1,600) ask for them; run beside vipsthumbnail at the same size.
//
//   parcelo-preview EDGE FILE...

#include <cstdio>
#include <cstdlib>
#include <exception>

#include "ImageFitter.h"

int main(int argc, char* argv[]) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: parcelo-preview EDGE FILE...\n");
        return 2;
    }
    const long edge = std::strtol(argv[1], nullptr, 10);
    int failed = 0;
    for (int index = 2; index < argc; ++index) {
        try {
            const parcelo::Bitmap bitmap = parcelo::ImageFitter::preview(argv[index], edge);
            if (bitmap.rgba.empty()) ++failed;
        } catch (const std::exception& error) {
            std::fprintf(stderr, "parcelo-preview: %s: %s\n", argv[index], error.what());
            ++failed;
        }
    }
    return failed == 0 ? 0 : 1;
}
