// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "VipsRuntime.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>

#include "ImageFitter.h"

namespace parcelo::detail {

namespace {

void discardLogMessage(const gchar*, GLogLevelFlags, const gchar*, gpointer) {}

void silenceLibraryWarnings() {
    // Loaders report damaged files through GLib's log; the engine reports them as errors instead.
    constexpr auto levels = static_cast<GLogLevelFlags>(G_LOG_LEVEL_WARNING | G_LOG_LEVEL_MESSAGE |
                                                        G_LOG_LEVEL_INFO | G_LOG_LEVEL_DEBUG);
    for (const char* domain : {"VIPS", "GLib", "GLib-GObject", "GModule"})
        g_log_set_handler(domain, levels, discardLogMessage, nullptr);
}

// Only the loaders of the seven source formats ever see a user's file. libvips picks a loader
// by content for a whole-file decode, so without this a file swapped between its check and its
// decode, or a TIFF that a higher-priority loader also claims, would meet PDF, SVG or slide
// readers the engine never checked it for.
void allowOnlySourceLoaders() {
    vips_operation_block_set("VipsForeignLoad", TRUE);
    for (const char* loader : {"VipsForeignLoadJpeg", "VipsForeignLoadPng", "VipsForeignLoadNsgif",
                               "VipsForeignLoadTiff", "VipsForeignLoadHeif", "VipsForeignLoadMagick"})
        vips_operation_block_set(loader, FALSE);
}

}  // namespace

void ensureVipsStarted() {
    static std::once_flag started;
    std::call_once(started, [] {
        // VIPS_WARNING also keeps ImageMagick's loader quiet, which logs outside GLib.
        setenv("VIPS_WARNING", "0", 0);
        if (VIPS_INIT("parcelo") != 0) vips_error_clear();
        vips_cache_set_max(0);
        vips_cache_set_max_mem(0);
        silenceLibraryWarnings();
        allowOnlySourceLoaders();
    });
}

void clearVipsError() { vips_error_clear(); }

namespace {

std::mutex mutedMutex;
int mutedCount = 0;
int savedStandardError = -1;

}  // namespace

MutedStandardError::MutedStandardError(bool active) : active_(active) {
    if (!active_) return;
    const std::lock_guard lock(mutedMutex);
    if (mutedCount++ > 0) return;
    std::fflush(stderr);
    savedStandardError = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere >= 0) {
        ::dup2(nowhere, STDERR_FILENO);
        ::close(nowhere);
    }
}

MutedStandardError::~MutedStandardError() {
    if (!active_) return;
    const std::lock_guard lock(mutedMutex);
    if (--mutedCount > 0 || savedStandardError < 0) return;
    std::fflush(stderr);
    ::dup2(savedStandardError, STDERR_FILENO);
    ::close(savedStandardError);
    savedStandardError = -1;
}

}  // namespace parcelo::detail

namespace parcelo {

void shareCoresAmongFits(unsigned fits) {
    detail::ensureVipsStarted();
    if (std::getenv("VIPS_CONCURRENCY") != nullptr) return;
    const unsigned cores = std::max(1u, std::thread::hardware_concurrency());
    vips_concurrency_set(static_cast<int>(std::max(1u, cores / std::max(1u, fits))));
}

}  // namespace parcelo
