// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <stop_token>
#include <vector>

#include <QObject>
#include <QPointF>
#include <QSettings>
#include <QThread>
#include <QThreadPool>
#include <QUrl>
#include <QUuid>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

#include "FitSettings.h"
#include "ImageItem.h"
#include "ImageItemModel.h"
#include "ImageStore.h"
#include "Requirements.h"

class QJSEngine;
class QQmlEngine;

namespace parcelo {

struct ImportSelection;
struct FitResult;

// The one model of the application: the batch and its background work, over the requirements
// it owns. Lives on the main thread. Every operation begins by checking the gate that the
// controls calling it bind to, and returns silently when it is closed; every failure ends in an
// item's state or in `message`.
class AppModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

    // ---- The batch ----

    /// The images of the batch, in the order they were added.
    Q_PROPERTY(parcelo::ImageItemModel* items READ itemModel NOTIFY itemsChanged FINAL)
    /// Id of the image shown in the preview; empty when none.
    Q_PROPERTY(QString selected READ selectedText WRITE setSelectedText NOTIFY selectedChanged FINAL)
    /// A fit run is in progress.
    Q_PROPERTY(bool busy READ busy NOTIFY busyChanged FINAL)
    /// Folders are being expanded.
    Q_PROPERTY(bool scanning READ scanning NOTIFY scanningChanged FINAL)
    /// Folder expansion or thumbnail loading is running.
    Q_PROPERTY(bool importing READ importing NOTIFY importingChanged FINAL)
    /// What is loading and how to cancel it ("Loading previews 3/10 · Clear cancels loading"); empty when nothing is.
    Q_PROPERTY(QString activity READ activity NOTIFY activityChanged FINAL)
    /// Thumbnails already there when the pass started plus those finished since.
    Q_PROPERTY(int previewsLoaded READ previewsLoaded NOTIFY previewsLoadedChanged FINAL)
    /// Fitted copies are being saved.
    Q_PROPERTY(bool exporting READ exporting NOTIFY exportingChanged FINAL)
    /// Progress of the fit run: ready plus failed items.
    Q_PROPERTY(int completed READ completed NOTIFY completedChanged FINAL)
    /// The message line under the workspace; empty when there is nothing to say.
    Q_PROPERTY(QString message READ messageText NOTIFY messageChanged FINAL)
    /// The preview shows the original instead of the fitted copy.
    Q_PROPERTY(bool previewOriginal READ previewOriginal WRITE setPreviewOriginal NOTIFY previewOriginalChanged FINAL)
    /// Folder into which the last save wrote at least one copy; empty when none.
    Q_PROPERTY(QUrl exportedDirectory READ exportedDirectoryUrl NOTIFY exportedDirectoryChanged FINAL)
    /// What the ready copies save against their originals ("4.2 MB lighter"); empty when none is ready.
    Q_PROPERTY(QString savedText READ savedText NOTIFY itemsChanged FINAL)
    /// The selected item, else the first; an empty map when the batch is empty.
    Q_PROPERTY(QVariantMap current READ currentForView NOTIFY currentChanged FINAL)

    /// The requirements and the recipe library.
    Q_PROPERTY(parcelo::Requirements* requirements READ requirementsForView CONSTANT FINAL)

    // ---- What the user may do now: every control that starts an operation binds to one ----

    /// Adding images: not while fitting, saving or scanning folders.
    Q_PROPERTY(bool canAdd READ canAdd NOTIFY gatesChanged FINAL)
    /// Removing an image or clearing the batch: not while fitting or saving.
    Q_PROPERTY(bool canRemove READ canRemove NOTIFY gatesChanged FINAL)
    /// Fitting the pending images, or retrying the failed ones, under usable requirements.
    Q_PROPERTY(bool canFit READ canFit NOTIFY gatesChanged FINAL)
    Q_PROPERTY(bool canRetry READ canRetry NOTIFY gatesChanged FINAL)
    /// Saving the ready copies.
    Q_PROPERTY(bool canSave READ canSave NOTIFY gatesChanged FINAL)
    /// The File menu's Save: still offered while a save runs, when choosing it does nothing.
    Q_PROPERTY(bool canOfferSave READ canOfferSave NOTIFY gatesChanged FINAL)
    /// Editing the requirements and applying recipes: not while fitting or saving.
    Q_PROPERTY(bool canEditRequirements READ canEditRequirements NOTIFY gatesChanged FINAL)
    /// Opening the crop editor of the current image: exact mode, and no work on the batch.
    Q_PROPERTY(bool canAdjustCrop READ canAdjustCrop NOTIFY gatesChanged FINAL)

    // ---- The batch actions under the list: which show now, and what they say ----

    /// "Retry failed": failed images, and no fit run.
    Q_PROPERTY(bool showsRetry READ showsRetry NOTIFY gatesChanged FINAL)
    /// "Make it fit" or "Fit remaining": images waiting (or none at all), and no fit run.
    Q_PROPERTY(bool showsFit READ showsFit NOTIFY gatesChanged FINAL)
    Q_PROPERTY(QString fitTitle READ fitTitle NOTIFY gatesChanged FINAL)
    /// "Save 3 images…", "Saving…" while saving: ready copies, and no fit run.
    Q_PROPERTY(bool showsSave READ showsSave NOTIFY gatesChanged FINAL)
    Q_PROPERTY(QString saveTitle READ saveTitle NOTIFY gatesChanged FINAL)

public:
    // Restores recipes and requirements from preferences and makes the working folder.
    explicit AppModel(QSettings* preferences, QObject* parent = nullptr);
    ~AppModel() override;
    AppModel(const AppModel&) = delete;
    AppModel& operator=(const AppModel&) = delete;
    // The singleton of `Parcelo.Model`: the model the engine was prepared with (prepareEngine).
    static AppModel* create(QQmlEngine* engine, QJSEngine*);

    // ---- Batch state ----
    [[nodiscard]] ImageItemModel* itemModel() { return &items_; }
    [[nodiscard]] const std::vector<ImageItem>& items() const { return items_.items(); }
    [[nodiscard]] std::optional<QUuid> selected() const { return selected_; }
    void setSelected(std::optional<QUuid> id);
    [[nodiscard]] QString selectedText() const;
    void setSelectedText(const QString& id);
    [[nodiscard]] bool busy() const { return busy_; }
    [[nodiscard]] bool scanning() const { return scanning_; }
    [[nodiscard]] bool importing() const { return importing_; }
    [[nodiscard]] int previewsLoaded() const { return previewsLoaded_; }
    [[nodiscard]] bool exporting() const { return exporting_; }
    [[nodiscard]] int completed() const { return completed_; }
    [[nodiscard]] std::optional<QString> message() const { return message_; }
    [[nodiscard]] QString messageText() const { return message_.value_or(QString()); }
    void setMessage(std::optional<QString> message);
    [[nodiscard]] bool previewOriginal() const { return previewOriginal_; }
    void setPreviewOriginal(bool original);
    [[nodiscard]] std::optional<QString> exportedDirectory() const { return exportedDirectory_; }
    [[nodiscard]] QUrl exportedDirectoryUrl() const;
    [[nodiscard]] int pendingCount() const;
    [[nodiscard]] int failedCount() const;
    [[nodiscard]] int readyCount() const;
    [[nodiscard]] qint64 savedBytes() const;
    [[nodiscard]] QString activity() const;
    [[nodiscard]] QString savedText() const;
    [[nodiscard]] std::optional<ImageItem> current() const;
    [[nodiscard]] QVariantMap currentForView() const;
    // Makes the image `step` places after the current one current (before it when negative),
    // stopping at either end of the list, as Up and Down do in the list.
    Q_INVOKABLE void selectNeighbour(int step);
    // The crop position stored for the image with this id; the centre when there is none. The crop
    // editor starts from it, so that a reopened editor shows the frame where the copy is cut.
    Q_INVOKABLE QPointF cropOf(const QString& id) const;
    [[nodiscard]] FitSettings appliedSettings() const { return requirements_.appliedSettings(); }
    // The working folder of this process.
    [[nodiscard]] QString cache() const { return cache_; }
    // The thumbnails for QML; the engine takes ownership of the provider.
    [[nodiscard]] ImageStoreProvider* makeThumbnailProvider() const;
    // A byte count as the views show sizes: decimal units ("4.2 MB").
    Q_INVOKABLE static QString decimalSize(qint64 bytes);

    // ---- The requirements ----
    [[nodiscard]] Requirements& requirements() { return requirements_; }
    [[nodiscard]] const Requirements& requirements() const { return requirements_; }
    [[nodiscard]] Requirements* requirementsForView() { return &requirements_; }

    // ---- Gates ----
    [[nodiscard]] bool canAdd() const;
    [[nodiscard]] bool canRemove() const;
    [[nodiscard]] bool canFit() const;
    [[nodiscard]] bool canRetry() const;
    [[nodiscard]] bool canSave() const;
    [[nodiscard]] bool canOfferSave() const;
    [[nodiscard]] bool canEditRequirements() const;
    [[nodiscard]] bool canAdjustCrop() const;

    // ---- Batch actions ----
    [[nodiscard]] bool showsRetry() const;
    [[nodiscard]] bool showsFit() const;
    [[nodiscard]] QString fitTitle() const;
    [[nodiscard]] bool showsSave() const;
    [[nodiscard]] QString saveTitle() const;

    // ---- Operations ----
    Q_INVOKABLE void chooseFiles();
    Q_INVOKABLE void chooseFolders();
    Q_INVOKABLE void add(const QList<QUrl>& urls);
    Q_INVOKABLE void fit(bool retryFailed);
    Q_INVOKABLE void pause();
    Q_INVOKABLE void exportCopies();
    Q_INVOKABLE void exportTo(const QUrl& folder);
    void remove(const QUuid& id);
    Q_INVOKABLE void remove(const QString& id);
    // Removes the current image, as Delete does in the list.
    Q_INVOKABLE void removeCurrent();
    Q_INVOKABLE void clear();
    Q_INVOKABLE void cleanUp();
    void setCrop(const QUuid& id, const CropPosition& position);
    Q_INVOKABLE void setCrop(const QString& id, double x, double y);
    // A fresh duplicate of the item's fitted copy in "Inspection"; the error's
    // description instead when there is no such item, no copy, or copying fails.
    struct InspectionCopy {
        std::optional<QString> location;
        QString error;
    };
    [[nodiscard]] InspectionCopy inspectionCopy(const QUuid& id);
    // Makes an inspection copy and opens it in the desktop's image viewer; says so in the
    // message line when there is no copy or nothing opens it.
    Q_INVOKABLE void inspect(const QString& id);
    // Opens a saved folder, a web address or a new e-mail in the desktop's application for it;
    // says so in the message line when none opens it.
    Q_INVOKABLE void openOutside(const QUrl& target);


signals:
    void itemsChanged();
    void selectedChanged();
    void currentChanged();
    void busyChanged();
    void scanningChanged();
    void importingChanged();
    void activityChanged();
    void previewsLoadedChanged();
    void exportingChanged();
    void completedChanged();
    void messageChanged();
    void previewOriginalChanged();
    void exportedDirectoryChanged();
    // Any of the gates may have changed.
    void gatesChanged();
    // The view shows the open panel ("Choose images or folders") and calls add().
    void chooseFilesRequested();
    // The same for folders alone, where the desktop's chooser picks files or folders, not both.
    void chooseFoldersRequested();
    // The view shows the folder chooser ("Save fitted copies") and calls exportTo().
    void exportFolderRequested();

private:
    struct ScanTask;
    struct ThumbnailPass;
    struct FitRun;
    struct SaveRun;

    // Every published field changes through here: only on the main thread, and announced on
    // every assignment, even of an equal value, so that views never miss a change.
    template <typename T, typename... Signals>
    void assign(T& field, T value, Signals... changed) {
        Q_ASSERT_X(QThread::currentThread() == thread(), Q_FUNC_INFO, "AppModel used off the main thread");
        field = std::move(value);
        ((this->*changed)(), ...);
    }

    // Batch setters: each assignment notifies.
    void setBusy(bool value);
    void setScanning(bool value);
    void setImporting(bool value);
    void setPreviewsLoaded(int value);
    void setExporting(bool value);
    void setCompleted(int value);
    void setExportedDirectory(std::optional<QString> directory);
    void itemsDidChange();
    void updateItem(std::size_t position, const std::function<void(ImageItem&)>& change);

    void makeWorkingFolder();
    void appendImages(const QList<QUrl>& urls);
    void startExpansion(const QList<QUrl>& urls);
    void applyExpansion(const ImportSelection& selection);
    void applyExpansionFailure(const std::optional<QString>& error);
    void loadThumbnails();
    void startThumbnailJobs(const std::shared_ptr<ThumbnailPass>& pass);
    void applyThumbnails(ThumbnailPass& pass);
    void startFitJob(const std::shared_ptr<FitRun>& run);
    void applyFitResult(std::size_t position, const FitResult& result);
    void finishRun(const std::shared_ptr<FitRun>& run);
    void startSaveJob(const std::shared_ptr<SaveRun>& save);
    void finishSave(const std::shared_ptr<SaveRun>& save);
    // A run may start now, under the current requirements.
    [[nodiscard]] bool canStartRun() const;
    [[nodiscard]] std::set<std::filesystem::path> standardizedSources() const;

    void discardFittedCopies();

    ImageItemModel items_;
    std::shared_ptr<ImageStore> thumbnails_ = std::make_shared<ImageStore>();
    std::optional<QUuid> selected_;
    bool busy_ = false;
    bool scanning_ = false;
    bool importing_ = false;
    int previewsLoaded_ = 0;
    bool exporting_ = false;
    int completed_ = 0;
    std::optional<QString> message_;
    bool previewOriginal_ = false;
    std::optional<QString> exportedDirectory_;

    Requirements requirements_;

    QString cache_;
    qint64 scanGeneration_ = 0;
    std::shared_ptr<ScanTask> scanTask_;
    std::shared_ptr<ThumbnailPass> importTask_;
    std::shared_ptr<FitRun> task_;
    std::shared_ptr<std::stop_source> worker_;
    std::shared_ptr<SaveRun> save_;
    // "User-initiated" work (expansion, fitting, saving) and "utility" work (thumbnails).
    QThreadPool userInitiated_;
    QThreadPool utility_;
};

}  // namespace parcelo
