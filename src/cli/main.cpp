// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// parcelo-fit: makes upload-ready copies of images from the command line.
#include <unistd.h>

#include <iostream>
#include <string>
#include <vector>

#include "FitCommand.h"
#include "MemoryRelease.h"
#include "SignalStop.h"
#include "StoredRecipes.h"

int main(int argc, char* argv[]) {
    const parcelo::cli::SignalStop signalStop;  // first, before any other thread exists
    parcelo::cli::setUpAllocator();
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    return parcelo::cli::runFitCommand(arguments, {std::cout, std::cerr, ::isatty(STDERR_FILENO) == 1},
                                       parcelo::cli::storedRecipes, signalStop.token());
}
