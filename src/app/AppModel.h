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

#include "FitSettings.h"
#include "ImageItem.h"
#include "ImageItemModel.h"
#include "ImageStore.h"
#include "UploadRecipe.h"

namespace parcelo {

struct ImportSelection;
struct FitResult;

// The one model of the application: the batch, its background work, the requirements
// and the recipe library. Lives on the main thread; every operation returns silently
// when it is not allowed, and every failure ends in an item's state or in `message`.
class AppModel : public QObject {
    Q_OBJECT

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
    /// Thumbnails already there when the pass started plus those finished since.
    Q_PROPERTY(qint64 previewsLoaded READ previewsLoaded NOTIFY previewsLoadedChanged FINAL)
    /// Fitted copies are being saved.
    Q_PROPERTY(bool exporting READ exporting NOTIFY exportingChanged FINAL)
    /// Progress of the fit run: ready plus failed items.
    Q_PROPERTY(qint64 completed READ completed NOTIFY completedChanged FINAL)
    /// The message line under the workspace; empty when there is nothing to say.
    Q_PROPERTY(QString message READ messageText NOTIFY messageChanged FINAL)
    /// The preview shows the original instead of the fitted copy.
    Q_PROPERTY(bool previewOriginal READ previewOriginal WRITE setPreviewOriginal NOTIFY previewOriginalChanged FINAL)
    /// Folder into which the last save wrote at least one copy; empty when none.
    Q_PROPERTY(QUrl exportedDirectory READ exportedDirectoryUrl NOTIFY exportedDirectoryChanged FINAL)
    /// Counts derived from the items.
    Q_PROPERTY(qint64 pendingCount READ pendingCount NOTIFY itemsChanged FINAL)
    Q_PROPERTY(qint64 failedCount READ failedCount NOTIFY itemsChanged FINAL)
    Q_PROPERTY(qint64 readyCount READ readyCount NOTIFY itemsChanged FINAL)
    /// Bytes saved by the ready copies against their originals.
    Q_PROPERTY(qint64 savedBytes READ savedBytes NOTIFY itemsChanged FINAL)
    /// The selected item, else the first; an empty map when the batch is empty.
    Q_PROPERTY(QVariantMap current READ currentForView NOTIFY currentChanged FINAL)

    // ---- The requirements ----

    /// Size limit per image in kilobytes of 1,000 bytes.
    Q_PROPERTY(qint64 targetKB READ targetKB WRITE setTargetKB NOTIFY targetKBChanged FINAL)
    /// Text of the custom size field.
    Q_PROPERTY(QString customKB READ customKB WRITE setCustomKB NOTIFY customKBChanged FINAL)
    /// Largest longer edge in size mode; 0 for the original size.
    Q_PROPERTY(qint64 maxEdge READ maxEdge WRITE setMaxEdge NOTIFY maxEdgeChanged FINAL)
    /// "auto", "jpeg" or "png".
    Q_PROPERTY(QString outputFormat READ outputFormatText WRITE setOutputFormatText NOTIFY outputFormatChanged FINAL)
    /// Exact-dimension mode.
    Q_PROPERTY(bool exactPixels READ exactPixels WRITE setExactPixels NOTIFY exactPixelsChanged FINAL)
    /// Text of the exact-width field, as typed.
    Q_PROPERTY(QString pixelWidth READ pixelWidth WRITE setPixelWidth NOTIFY pixelWidthChanged FINAL)
    /// Text of the exact-height field, as typed.
    Q_PROPERTY(QString pixelHeight READ pixelHeight WRITE setPixelHeight NOTIFY pixelHeightChanged FINAL)
    /// Name of the recipe in force; empty when the requirements were edited by hand.
    Q_PROPERTY(QString activeRecipeName READ activeRecipeNameText NOTIFY activeRecipeNameChanged FINAL)
    /// The user's recipes: maps of id, name, summary.
    Q_PROPERTY(QVariantList recipes READ recipesForView NOTIFY recipesChanged FINAL)
    /// The three built-in examples, in the same form.
    Q_PROPERTY(QVariantList exampleRecipes READ exampleRecipesForView CONSTANT FINAL)
    /// The FitSettings of the current requirements, with an "isValid" entry.
    Q_PROPERTY(QVariantMap fitSettings READ fitSettingsForView NOTIFY requirementsChanged FINAL)
    /// One line: "≤ 1 MB · Up to 2560 px · Auto format".
    Q_PROPERTY(QString requirementSummary READ requirementSummary NOTIFY requirementsChanged FINAL)

public:
    // Restores recipes and requirements from preferences and makes the working folder.
    explicit AppModel(QSettings* preferences, QObject* parent = nullptr);
    ~AppModel() override;
    AppModel(const AppModel&) = delete;
    AppModel& operator=(const AppModel&) = delete;

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
    [[nodiscard]] qint64 previewsLoaded() const { return previewsLoaded_; }
    [[nodiscard]] bool exporting() const { return exporting_; }
    [[nodiscard]] qint64 completed() const { return completed_; }
    [[nodiscard]] std::optional<QString> message() const { return message_; }
    [[nodiscard]] QString messageText() const { return message_.value_or(QString()); }
    void setMessage(std::optional<QString> message);
    [[nodiscard]] bool previewOriginal() const { return previewOriginal_; }
    void setPreviewOriginal(bool original);
    [[nodiscard]] std::optional<QString> exportedDirectory() const { return exportedDirectory_; }
    [[nodiscard]] QUrl exportedDirectoryUrl() const;
    [[nodiscard]] qint64 pendingCount() const;
    [[nodiscard]] qint64 failedCount() const;
    [[nodiscard]] qint64 readyCount() const;
    [[nodiscard]] qint64 savedBytes() const;
    [[nodiscard]] std::optional<ImageItem> current() const;
    [[nodiscard]] QVariantMap currentForView() const;
    // Makes the image `step` places after the current one current (before it when negative),
    // stopping at either end of the list, as Up and Down do in the list.
    Q_INVOKABLE void selectNeighbour(int step);
    // The crop position stored for the image with this id; the centre when there is none. The crop
    // editor starts from it, so that a reopened editor shows the frame where the copy is cut.
    Q_INVOKABLE QPointF cropOf(const QString& id) const;
    [[nodiscard]] FitSettings appliedSettings() const { return appliedSettings_; }
    // The working folder of this process.
    [[nodiscard]] QString cache() const { return cache_; }
    // The thumbnails for QML; the engine takes ownership of the provider.
    [[nodiscard]] ImageStoreProvider* makeThumbnailProvider() const;
    // A byte count as the views show sizes: decimal units ("4.2 MB").
    Q_INVOKABLE static QString decimalSize(qint64 bytes);

    // ---- Requirement state ----
    [[nodiscard]] qint64 targetKB() const { return targetKB_; }
    void setTargetKB(qint64 kilobytes);
    [[nodiscard]] QString customKB() const { return customKB_; }
    void setCustomKB(const QString& text);
    [[nodiscard]] qint64 maxEdge() const { return maxEdge_; }
    void setMaxEdge(qint64 edge);
    [[nodiscard]] OutputFormat outputFormat() const { return outputFormat_; }
    void setOutputFormat(OutputFormat format);
    [[nodiscard]] QString outputFormatText() const;
    void setOutputFormatText(const QString& raw);
    [[nodiscard]] bool exactPixels() const { return exactPixels_; }
    void setExactPixels(bool exact);
    [[nodiscard]] QString pixelWidth() const { return pixelWidth_; }
    void setPixelWidth(const QString& text);
    [[nodiscard]] QString pixelHeight() const { return pixelHeight_; }
    void setPixelHeight(const QString& text);
    [[nodiscard]] std::optional<QString> activeRecipeName() const { return activeRecipeName_; }
    [[nodiscard]] QString activeRecipeNameText() const { return activeRecipeName_.value_or(QString()); }
    [[nodiscard]] const std::vector<UploadRecipe>& recipes() const { return recipes_; }
    [[nodiscard]] QVariantList recipesForView() const;
    [[nodiscard]] static QVariantList exampleRecipesForView();
    [[nodiscard]] FitSettings fitSettings() const;
    [[nodiscard]] QVariantMap fitSettingsForView() const;
    [[nodiscard]] QString requirementSummary() const;

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

    Q_INVOKABLE void settingsChanged();
    Q_INVOKABLE bool saveRecipe(const QString& name);
    void applyRecipe(const UploadRecipe& recipe);
    Q_INVOKABLE void applyRecipe(const QString& id);
    void deleteRecipe(const Uuid& id);
    Q_INVOKABLE void deleteRecipe(const QString& id);

signals:
    void itemsChanged();
    void selectedChanged();
    void currentChanged();
    void busyChanged();
    void scanningChanged();
    void importingChanged();
    void previewsLoadedChanged();
    void exportingChanged();
    void completedChanged();
    void messageChanged();
    void previewOriginalChanged();
    void exportedDirectoryChanged();
    void targetKBChanged();
    void customKBChanged();
    void maxEdgeChanged();
    void outputFormatChanged();
    void exactPixelsChanged();
    void pixelWidthChanged();
    void pixelHeightChanged();
    void activeRecipeNameChanged();
    void recipesChanged();
    void requirementsChanged();
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
    void setPreviewsLoaded(qint64 value);
    void setExporting(bool value);
    void setCompleted(qint64 value);
    void setExportedDirectory(std::optional<QString> directory);
    void setActiveRecipeName(std::optional<QString> name);
    void itemsDidChange();
    void updateItem(std::size_t position, const std::function<void(ImageItem&)>& change);

    void makeWorkingFolder();
    void appendImages(const QList<QUrl>& urls);
    void startExpansion(const QList<QUrl>& urls);
    void applyExpansion(const ImportSelection& selection);
    void applyExpansionFailure(const std::optional<QString>& error);
    void loadThumbnails();
    void startThumbnailJob(const std::shared_ptr<ThumbnailPass>& pass);
    void startFitJob(const std::shared_ptr<FitRun>& run);
    void applyFitResult(std::size_t position, const FitResult& result);
    void finishRun(const std::shared_ptr<FitRun>& run);
    void startSaveJob(const std::shared_ptr<SaveRun>& save);
    void finishSave(const std::shared_ptr<SaveRun>& save);
    [[nodiscard]] bool exactWithoutSides() const;
    [[nodiscard]] std::set<std::filesystem::path> standardizedSources() const;

    void restoreRecipes();
    void restoreRequirements();
    void persistSettings();
    void persistRecipes();
    void discardFittedCopies();

    QSettings* defaults_;
    ImageItemModel items_;
    std::shared_ptr<ImageStore> thumbnails_ = std::make_shared<ImageStore>();
    std::optional<QUuid> selected_;
    bool busy_ = false;
    bool scanning_ = false;
    bool importing_ = false;
    qint64 previewsLoaded_ = 0;
    bool exporting_ = false;
    qint64 completed_ = 0;
    std::optional<QString> message_;
    bool previewOriginal_ = false;
    std::optional<QString> exportedDirectory_;

    qint64 targetKB_ = 1000;
    QString customKB_ = QStringLiteral("1000");
    qint64 maxEdge_ = 2560;
    OutputFormat outputFormat_ = OutputFormat::automatic;
    bool exactPixels_ = false;
    QString pixelWidth_ = QStringLiteral("600");
    QString pixelHeight_ = QStringLiteral("600");
    std::optional<QString> activeRecipeName_;
    std::vector<UploadRecipe> recipes_;
    FitSettings appliedSettings_{1'000'000, 2560, OutputFormat::automatic, 0, 0};

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
