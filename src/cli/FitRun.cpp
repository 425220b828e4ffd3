// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "FitRun.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

#include <nlohmann/json.hpp>

#include "ByteCountFormat.h"
#include "FitError.h"
#include "ImageFitter.h"
#include "MemoryRelease.h"

namespace parcelo::cli {

namespace fs = std::filesystem;

namespace {

using namespace std::chrono_literals;

// How often a wait for the next image wakes to refresh the progress display.
constexpr auto kProgressInterval = 200ms;
// Fitted copies waiting for their turn to be saved are held in memory. Behind one slow image
// (a 50-megapixel photo among phone snaps) the other workers go on with the images after it, as
// long as what they have fitted stays within this many bytes; at least two copies per job.
constexpr std::int64_t kBytesAhead = 64'000'000;
constexpr std::size_t kLeastCopiesAheadPerJob = 2;

std::size_t copiesAhead(const FitJob& job) {
    const auto byBytes = static_cast<std::size_t>(kBytesAhead / std::max<std::int64_t>(job.settings.targetBytes, 1));
    return std::max<std::size_t>(std::max(1u, job.jobs) * kLeastCopiesAheadPerJob, byBytes);
}

struct Cancelled {};
using Fitted = std::variant<FitResult, Failure, Cancelled>;

Failure failureOf(const FitError& error) {
    return {std::string(error.caseName()), std::string(error.errorDescription())};
}

Fitted fitOne(const fs::path& source, const FitJob& job, std::stop_token stopToken) {
    try {
        return ImageFitter::fit(source, job.settings, job.crop, std::move(stopToken));
    } catch (const FitError& error) {
        return failureOf(error);
    } catch (const CancellationError&) {
        return Cancelled{};
    } catch (const std::exception& error) {
        return Failure{"unexpected", std::string("Parcelo couldn\u2019t fit this image: ") + error.what()};
    }
}

ImageReport saveCopy(const fs::path& source, const FitResult& result, const fs::path& directory) {
    try {
        const fs::path output = ImageFitter::exportResult(result, source.filename().string(), directory);
        return {source, SavedCopy{output, result.width, result.height, result.fileExtension,
                                  static_cast<std::int64_t>(result.data.size()), result.originalBytes}};
    } catch (const fs::filesystem_error& error) {
        return {source, Failure{"writeFailed", "Couldn\u2019t save the copy: " + error.code().message()}};
    }
}

// Workers fit images in input order as far ahead of the saving as memory allows; the
// caller takes the fitted copies one by one, in order.
class Pipeline {
public:
    Pipeline(const FitJob& job, std::stop_token stopToken);
    ~Pipeline();
    Pipeline(const Pipeline&) = delete;
    Pipeline& operator=(const Pipeline&) = delete;

    // The fit of image `index`, or nothing when the run was stopped first.
    std::optional<Fitted> take(std::size_t index, const ProgressHandler& progress);

private:
    void work();
    bool mayStartNext() const;

    const FitJob& job_;
    std::stop_token stopToken_;
    std::size_t window_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::optional<Fitted>> fitted_;
    std::size_t nextToStart_ = 0;
    std::size_t nextToTake_ = 0;
    bool finished_ = false;
    MemoryRelease memoryRelease_;
    std::vector<std::jthread> workers_;  // last, so that they end before the state they use
};

Pipeline::Pipeline(const FitJob& job, std::stop_token stopToken)
    : job_(job), stopToken_(std::move(stopToken)), window_(copiesAhead(job)),
      fitted_(job.sources.size()) {
    const std::size_t workers = std::min<std::size_t>(std::max(1u, job.jobs), job.sources.size());
    shareCoresAmongFits(static_cast<unsigned>(workers));
    for (std::size_t i = 0; i < workers; ++i) workers_.emplace_back([this] { work(); });
}

Pipeline::~Pipeline() {
    {
        const std::lock_guard lock(mutex_);
        finished_ = true;
    }
    changed_.notify_all();
    workers_.clear();  // joins
}

bool Pipeline::mayStartNext() const {
    return nextToStart_ < fitted_.size() && nextToStart_ < nextToTake_ + window_;
}

void Pipeline::work() {
    for (;;) {
        std::size_t index = 0;
        {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [this] { return finished_ || mayStartNext() || nextToStart_ >= fitted_.size(); });
            if (finished_ || stopToken_.stop_requested() || nextToStart_ >= fitted_.size()) return;
            index = nextToStart_++;
        }
        Fitted fitted = fitOne(job_.sources[index], job_, stopToken_);
        memoryRelease_.afterFit();
        {
            const std::lock_guard lock(mutex_);
            fitted_[index] = std::move(fitted);
        }
        changed_.notify_all();
    }
}

std::optional<Fitted> Pipeline::take(std::size_t index, const ProgressHandler& progress) {
    std::unique_lock lock(mutex_);
    progress(index);
    while (!fitted_[index]) {
        if (stopToken_.stop_requested()) return std::nullopt;
        if (changed_.wait_for(lock, kProgressInterval) == std::cv_status::timeout) progress(index);
    }
    Fitted fitted = std::move(*fitted_[index]);
    fitted_[index].reset();
    nextToTake_ = index + 1;
    lock.unlock();
    changed_.notify_all();
    return fitted;
}

// The --format name of what a copy was saved as.
std::string formatName(const std::string& fileExtension) { return fileExtension == "jpg" ? "jpeg" : fileExtension; }

}  // namespace

std::string upperCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; });
    return text;
}

bool runFits(const FitJob& job, std::stop_token stopToken, const ReportHandler& report,
             const ProgressHandler& progress) {
    Pipeline pipeline(job, stopToken);
    for (std::size_t index = 0; index < job.sources.size(); ++index) {
        std::optional<Fitted> fitted = pipeline.take(index, progress);
        if (!fitted || std::holds_alternative<Cancelled>(*fitted) || stopToken.stop_requested()) return false;
        const fs::path& source = job.sources[index];
        if (const auto* failure = std::get_if<Failure>(&*fitted)) report({source, *failure});
        else report(saveCopy(source, std::get<FitResult>(*fitted), job.outputDirectory));
    }
    return true;
}

std::string textLine(const ImageReport& report) {
    const std::string sourceName = report.source.filename().string();
    if (const auto* failure = std::get_if<Failure>(&report.outcome)) return sourceName + ": " + failure->message;
    const auto& copy = std::get<SavedCopy>(report.outcome);
    return sourceName + " \u2192 " + copy.output.filename().string() + " \u00b7 " + std::to_string(copy.width) +
           " \u00d7 " + std::to_string(copy.height) + " \u00b7 " + upperCase(copy.fileExtension) + " \u00b7 " +
           formatByteCount(copy.bytes);
}

std::string jsonLine(const ImageReport& report) {
    nlohmann::json line{{"source", report.source.string()}, {"output", nullptr}, {"width", nullptr},
                        {"height", nullptr}, {"format", nullptr}, {"bytes", nullptr},
                        {"originalBytes", nullptr}, {"error", nullptr}};
    if (const auto* failure = std::get_if<Failure>(&report.outcome)) {
        line["error"] = {{"case", failure->caseName}, {"message", failure->message}};
    } else {
        const auto& copy = std::get<SavedCopy>(report.outcome);
        line["output"] = copy.output.string();
        line["width"] = copy.width;
        line["height"] = copy.height;
        line["format"] = formatName(copy.fileExtension);
        line["bytes"] = copy.bytes;
        line["originalBytes"] = copy.originalBytes;
    }
    // File names need not be UTF-8; a stray byte must not cost the whole line.
    return line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace parcelo::cli
