// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// Adding images to the batch: direct files, folder expansion and the thumbnail pass.

#include <filesystem>
#include <system_error>

#include "AppModel.h"
#include "AppModelTasks.h"
#include "BackgroundTask.h"
#include "BatchTexts.h"
#include "FitError.h"
#include "ImageFitter.h"
#include "ImageImport.h"
#include "PathText.h"
#include "PreviewLoader.h"

namespace parcelo {

namespace {

// What a folder expansion hands back to the main thread.
struct ExpansionOutcome {
    std::optional<ImportSelection> selection;
    std::optional<QString> error;  // absent with no selection: the expansion was cancelled
};

// A location whose properties cannot be read counts as no directory; links are not followed.
bool isDirectory(const QUrl& url) {
    if (!url.isLocalFile()) return false;
    std::error_code error;
    return std::filesystem::is_directory(std::filesystem::symlink_status(toFsPath(url.toLocalFile()), error));
}

ExpansionOutcome expandInBackground(const std::vector<std::filesystem::path>& urls,
                                    const std::set<std::filesystem::path>& excluding, qint64 limit,
                                    std::stop_token stopToken) {
    try {
        return {ImageImport::expand(urls, excluding, limit, stopToken), std::nullopt};
    } catch (const CancellationError&) {
        return {};
    } catch (const std::exception& error) {
        return {std::nullopt, QString::fromUtf8(error.what())};
    }
}

// A job still queued when its pass is replaced ends here, before it touches the file.
ThumbnailOutcome makeThumbnail(const QString& source, std::stop_token stopToken) {
    if (stopToken.stop_requested()) return {};
    const std::filesystem::path path = toFsPath(source);
    std::error_code sizeError;
    const auto size = std::filesystem::file_size(path, sizeError);
    ThumbnailOutcome outcome{std::nullopt, sizeError ? 0 : static_cast<qint64>(size), std::nullopt};
    try {
        outcome.image = imageOf(ImageFitter::preview(path, kThumbnailEdge, stopToken));
    } catch (const FitError& error) {
        outcome.error = QString::fromUtf8(error.errorDescription().data(),
                                          static_cast<qsizetype>(error.errorDescription().size()));
    } catch (const CancellationError&) {
        // The pass was replaced; its owner drops this job's outcome.
    } catch (const std::exception& error) {
        outcome.error = QString::fromUtf8(error.what());
    }
    return outcome;
}

}  // namespace

void AppModel::chooseFiles() {
    PARCELO_ASSERT_MAIN_THREAD();
    if (!canAdd()) return;
    emit chooseFilesRequested();
}

void AppModel::chooseFolders() {
    PARCELO_ASSERT_MAIN_THREAD();
    if (!canAdd()) return;
    emit chooseFoldersRequested();
}

void AppModel::add(const QList<QUrl>& urls) {
    PARCELO_ASSERT_MAIN_THREAD();
    if (!canAdd()) return;
    if (std::none_of(urls.begin(), urls.end(), isDirectory))
        appendImages(urls);
    else
        startExpansion(urls);
}

std::set<std::filesystem::path> AppModel::standardizedSources() const {
    std::set<std::filesystem::path> sources;
    for (const auto& item : items()) sources.insert(ImageImport::standardized(toFsPath(item.source)));
    return sources;
}

void AppModel::startExpansion(const QList<QUrl>& urls) {
    auto scan = std::make_shared<ScanTask>();
    scan->generation = ++scanGeneration_;
    std::vector<std::filesystem::path> paths;
    for (const auto& url : urls)
        if (url.isLocalFile()) paths.push_back(toFsPath(url.toLocalFile()));
    const qint64 room = std::max<qint64>(kBatchLimit - static_cast<qint64>(items().size()), 0);
    if (importTask_) importTask_->stop.request_stop();
    importTask_.reset();
    setScanning(true);
    setImporting(true);
    setMessage(std::nullopt);
    scanTask_ = scan;
    runInBackground(
        userInitiated_, this,
        [paths, excluding = standardizedSources(), room, stopToken = scan->stop.get_token()] {
            return expandInBackground(paths, excluding, room, stopToken);
        },
        [this, scan](const ExpansionOutcome& outcome) {
            if (scan->generation != scanGeneration_) return;
            if (outcome.selection && !scan->stop.stop_requested())
                applyExpansion(*outcome.selection);
            else if (!outcome.selection)
                applyExpansionFailure(outcome.error);
        });
}

void AppModel::applyExpansion(const ImportSelection& selection) {
    setScanning(false);
    setImporting(false);
    scanTask_.reset();
    if (selection.stoppedAtLimit) {
        setMessage(BatchTexts::selectionOverLimit());
        loadThumbnails();
        return;
    }
    QList<QUrl> found;
    for (const auto& path : selection.urls) found.append(QUrl::fromLocalFile(fromFsPath(path)));
    appendImages(found);
    if (!importing_) loadThumbnails();
    if (selection.urls.empty())
        setMessage(BatchTexts::noNewImages);
    else
        setMessage(BatchTexts::addedFromFolders(static_cast<qsizetype>(selection.urls.size()),
                                                selection.skipped + selection.unreadable));
}

// A cancelled expansion (no error text) leaves the message as it is.
void AppModel::applyExpansionFailure(const std::optional<QString>& error) {
    setScanning(false);
    setImporting(false);
    scanTask_.reset();
    if (error) setMessage(*error);
    loadThumbnails();
}

void AppModel::appendImages(const QList<QUrl>& urls) {
    std::set<std::filesystem::path> seen = standardizedSources();
    std::vector<ImageItem> kept;
    for (const auto& url : urls) {
        if (!url.isLocalFile()) continue;
        if (seen.insert(ImageImport::standardized(toFsPath(url.toLocalFile()))).second)
            kept.push_back(ImageItem::make(url.toLocalFile()));
    }
    if (kept.empty()) return setMessage(BatchTexts::duplicates);
    if (items().size() + kept.size() > static_cast<std::size_t>(kBatchLimit))
        return setMessage(BatchTexts::overBatchLimit);
    items_.append(std::move(kept));
    itemsDidChange();
    loadThumbnails();
    if (!selected_) setSelected(items().front().id);
    setCompleted(readyCount() + failedCount());
    setExportedDirectory(std::nullopt);
    setMessage(std::nullopt);
}

void AppModel::loadThumbnails() {
    if (importTask_) importTask_->stop.request_stop();
    auto pass = std::make_shared<ThumbnailPass>();
    for (const auto& item : items())
        if (!item.thumbnail) pass->jobs.push_back({item.id, item.source});
    setImporting(true);
    setPreviewsLoaded(static_cast<int>(items().size() - pass->jobs.size()));
    importTask_ = pass;
    startThumbnailJobs(pass);
}

// Keeps the pool a few jobs ahead of the list, or ends the pass once every job's outcome is
// applied.
void AppModel::startThumbnailJobs(const std::shared_ptr<ThumbnailPass>& pass) {
    if (pass->stop.stop_requested()) return;
    if (pass->applied == pass->jobs.size()) {
        setImporting(false);
        importTask_.reset();
        return;
    }
    for (; pass->next < pass->jobs.size() && pass->next - pass->applied < kThumbnailsAhead; ++pass->next) {
        runInBackground(
            utility_, this,
            [source = pass->jobs[pass->next].source, stopToken = pass->stop.get_token()] {
                return makeThumbnail(source, stopToken);
            },
            [this, pass, index = pass->next](const ThumbnailOutcome& outcome) {
                if (pass->stop.stop_requested()) return;
                pass->waiting.emplace(index, outcome);
                applyThumbnails(*pass);
                startThumbnailJobs(pass);
            });
    }
}

// Applies the outcomes that are next in list order, so thumbnails appear top to bottom and
// previewsLoaded counts them in order.
void AppModel::applyThumbnails(ThumbnailPass& pass) {
    for (auto found = pass.waiting.find(pass.applied); found != pass.waiting.end() && !pass.stop.stop_requested();
         found = pass.waiting.find(pass.applied)) {
        const ThumbnailOutcome outcome = std::move(found->second);
        pass.waiting.erase(found);
        const QUuid id = pass.jobs[pass.applied++].id;
        if (const auto position = items_.position(id)) {
            if (outcome.image) thumbnails_->insert(uuidText(id), *outcome.image);
            const bool markFailed = outcome.error && !items()[*position].output && !busy_;
            updateItem(*position, [&outcome, markFailed](ImageItem& item) {
                item.thumbnail = outcome.image;
                item.inputBytes = outcome.bytes;
                if (!markFailed) return;
                item.failed = true;
                item.state = *outcome.error;
            });
        }
        setPreviewsLoaded(previewsLoaded_ + 1);
    }
}

}  // namespace parcelo
