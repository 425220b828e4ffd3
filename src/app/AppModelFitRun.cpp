// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// The fit run and the saving of fitted copies.

#include <filesystem>

#include <QDir>
#include <QFile>

#include "AppModel.h"
#include "AppModelTasks.h"
#include "BackgroundTask.h"
#include "BatchTexts.h"
#include "ByteCountFormat.h"
#include "FitError.h"
#include "ImageFitter.h"
#include "PathText.h"
#include "WorkingFolder.h"

namespace parcelo {

namespace {

// What one fit hands back to the main thread.
struct FitOutcome {
    std::optional<FitResult> result;
    std::optional<QString> error;  // absent with no result: the fit was cancelled
};

QString describe(const FitError& error) {
    return QString::fromUtf8(error.errorDescription().data(), static_cast<qsizetype>(error.errorDescription().size()));
}

FitOutcome fitInBackground(const QString& source, const FitSettings& settings, const CropPosition& crop,
                           std::stop_token stopToken) {
    try {
        return {ImageFitter::fit(toFsPath(source), settings, crop, stopToken), std::nullopt};
    } catch (const CancellationError&) {
        return {};
    } catch (const FitError& error) {
        return {std::nullopt, describe(error)};
    } catch (const std::exception& error) {
        return {std::nullopt, QString::fromUtf8(error.what())};
    }
}

// Reads a ready copy back, verifies it against the save's requirements and writes it into
// directory under a name that replaces nothing. Returns the reason when any step fails.
std::optional<QString> saveInBackground(const ImageItem& item, const FitSettings& settings,
                                        const QString& directory) {
    QFile file(*item.output);
    if (!file.open(QIODevice::ReadOnly)) return file.errorString();
    const QByteArray bytes = file.readAll();
    FitResult result{{bytes.begin(), bytes.end()}, item.width, item.height, item.fileExtension.toStdString(),
                     item.inputBytes};
    try {
        ImageFitter::verify(result, settings);
        ImageFitter::exportResult(result, QFile::encodeName(item.fileName()).toStdString(), toFsPath(directory));
    } catch (const FitError& error) {
        return describe(error);
    } catch (const std::filesystem::filesystem_error& error) {
        return QString::fromStdString(error.code().message());
    } catch (const std::exception& error) {
        return QString::fromUtf8(error.what());
    }
    return std::nullopt;
}

}  // namespace

void AppModel::fit(bool retryFailed) {
    PARCELO_ASSERT_MAIN_THREAD();
    if (!(retryFailed ? canRetry() : canFit())) return;
    auto run = std::make_shared<FitRun>();
    for (std::size_t i = 0; i < items().size(); ++i)
        if (!items()[i].output && items()[i].failed == retryFailed) run->positions.push_back(i);
    if (run->positions.empty()) return;
    for (const std::size_t position : run->positions)
        items_.update(position, [](ImageItem& item) {
            item.failed = false;
            item.state = BatchTexts::ready;
        });
    itemsDidChange();
    setCompleted(readyCount() + failedCount());
    setMessage(std::nullopt);
    setBusy(true);
    run->settings = requirements_.fitSettings();
    requirements_.setAppliedSettings(run->settings);
    task_ = run;
    startFitJob(run);
}

void AppModel::pause() {
    PARCELO_ASSERT_MAIN_THREAD();
    if (worker_) worker_->request_stop();
    if (task_) task_->stop.request_stop();
}

// Fits the run's next image, or finishes the run when none is left or it was paused.
void AppModel::startFitJob(const std::shared_ptr<FitRun>& run) {
    if (run->stop.stop_requested() || run->next == run->positions.size()) return finishRun(run);
    const std::size_t position = run->positions[run->next++];
    const ImageItem item = items()[position];
    setSelected(item.id);
    updateItem(position, [](ImageItem& changed) { changed.state = BatchTexts::fitting; });
    auto worker = std::make_shared<std::stop_source>();
    worker_ = worker;
    runInBackground(
        userInitiated_, this,
        [source = item.source, settings = run->settings, crop = item.crop, stopToken = worker->get_token()] {
            return fitInBackground(source, settings, crop, stopToken);
        },
        [this, run, position](const FitOutcome& outcome) {
            std::optional<QString> error = outcome.error;
            const bool cancelled = outcome.result ? run->stop.stop_requested() : !error;
            if (!cancelled && outcome.result) {
                error = WorkingFolder::writeCopy(QDir(cache_).filePath(uuidText(items()[position].id) + QLatin1Char('.') +
                                                              QString::fromStdString(outcome.result->fileExtension)),
                                        outcome.result->data);
                if (!error) applyFitResult(position, *outcome.result);
            }
            if (cancelled) {
                updateItem(position, [](ImageItem& changed) { changed.state = BatchTexts::paused; });
                return finishRun(run);
            }
            if (error) {
                updateItem(position, [&error](ImageItem& changed) {
                    changed.state = *error;
                    changed.failed = true;
                });
                setCompleted(completed_ + 1);
            }
            worker_.reset();
            startFitJob(run);
        });
}

void AppModel::applyFitResult(std::size_t position, const FitResult& result) {
    const QString extension = QString::fromStdString(result.fileExtension);
    const QString limit = QString::fromStdString(formatByteCount(requirements_.fitSettings().targetBytes));
    updateItem(position, [&](ImageItem& item) {
        item.output = QDir(cache_).filePath(uuidText(item.id) + QLatin1Char('.') + extension);
        item.outputBytes = static_cast<qint64>(result.data.size());
        item.inputBytes = result.originalBytes;
        item.width = result.width;
        item.height = result.height;
        item.fileExtension = extension;
        item.state = BatchTexts::verified(result.width, result.height, extension, limit);
    });
    setCompleted(completed_ + 1);
}

void AppModel::finishRun(const std::shared_ptr<FitRun>& run) {
    const bool cancelled = run->stop.stop_requested();
    setBusy(false);
    task_.reset();
    worker_.reset();
    if (cancelled)
        setMessage(BatchTexts::pausedMessage);
    else if (failedCount() >= 1)
        setMessage(BatchTexts::runSummary(readyCount(), failedCount()));
    const auto firstReady =
        std::find_if(items().begin(), items().end(), [](const ImageItem& item) { return item.isReady(); });
    if (firstReady != items().end()) setSelected(firstReady->id);
}

// ---- Saving ----

void AppModel::exportCopies() {
    PARCELO_ASSERT_MAIN_THREAD();
    if (!canSave()) return;
    emit exportFolderRequested();
}

void AppModel::exportTo(const QUrl& folder) {
    PARCELO_ASSERT_MAIN_THREAD();
    if (!canSave()) return;
    auto save = std::make_shared<SaveRun>();
    save->directory = folder.isLocalFile() ? folder.toLocalFile() : folder.toString();
    save->settings = requirements_.fitSettings();
    setExportedDirectory(std::nullopt);
    setExporting(true);
    std::copy_if(items().begin(), items().end(), std::back_inserter(save->items),
                 [](const ImageItem& item) { return item.isReady(); });
    save_ = save;
    startSaveJob(save);
}

// Saves the next captured copy, or reports the save when all are done.
void AppModel::startSaveJob(const std::shared_ptr<SaveRun>& save) {
    if (save->next == save->items.size()) return finishSave(save);
    const ImageItem item = save->items[save->next++];
    runInBackground(
        userInitiated_, this,
        [item, settings = save->settings, directory = save->directory] {
            return saveInBackground(item, settings, directory);
        },
        [this, save, name = item.fileName()](const std::optional<QString>& failure) {
            if (failure)
                save->failures.append(name + QStringLiteral(": ") + *failure);
            else
                ++save->saved;
            startSaveJob(save);
        });
}

void AppModel::finishSave(const std::shared_ptr<SaveRun>& save) {
    setExporting(false);
    save_.reset();
    if (save->saved >= 1) setExportedDirectory(save->directory);
    setMessage(BatchTexts::saved(save->saved, static_cast<qsizetype>(save->items.size()), save->failures));
}

}  // namespace parcelo
