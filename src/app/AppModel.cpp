// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "AppModel.h"

#include <system_error>

#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTextBoundaryFinder>

#include "AppModelTasks.h"
#include "BatchTexts.h"
#include "ByteCountFormat.h"
#include "PathText.h"
#include "WorkingFolder.h"

namespace parcelo {

namespace {

QString errorText(std::errc code) { return QString::fromStdString(std::make_error_code(code).message()); }

// The first `count` user-perceived characters of text.
QString firstCharacters(const QString& text, int count) {
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype end = 0;
    for (int i = 0; i < count; ++i) {
        const qsizetype next = finder.toNextBoundary();
        if (next < 0) break;
        end = next;
    }
    return text.left(end);
}

// The original's file name without its last extension; a leading dot is part of the name.
QString stemOf(const QString& fileName) {
    const qsizetype dot = fileName.lastIndexOf(QLatin1Char('.'));
    return dot > 0 ? fileName.left(dot) : fileName;
}

}  // namespace

AppModel::AppModel(QSettings* preferences, QObject* parent) : QObject(parent), requirements_(preferences) {
    userInitiated_.setMaxThreadCount(2);
    utility_.setMaxThreadCount(kThumbnailDecoders);
    utility_.setThreadPriority(QThread::LowPriority);
    connect(&requirements_, &Requirements::settingsReplaced, this, &AppModel::discardFittedCopies);
    // The gates follow the batch's state and the requirements.
    for (const auto changed : {&AppModel::busyChanged, &AppModel::exportingChanged, &AppModel::scanningChanged,
                               &AppModel::importingChanged, &AppModel::itemsChanged})
        connect(this, changed, this, &AppModel::gatesChanged);
    connect(&requirements_, &Requirements::changed, this, &AppModel::gatesChanged);
    for (const auto changed : {&AppModel::scanningChanged, &AppModel::importingChanged, &AppModel::previewsLoadedChanged,
                               &AppModel::itemsChanged})
        connect(this, changed, this, &AppModel::activityChanged);
    connect(this, &AppModel::gatesChanged, this, [this] { requirements_.setEditable(canEditRequirements()); });
    makeWorkingFolder();
}

AppModel::~AppModel() {
    for (const auto& stop : {scanTask_ ? &scanTask_->stop : nullptr, importTask_ ? &importTask_->stop : nullptr,
                             worker_.get(), task_ ? &task_->stop : nullptr})
        if (stop) stop->request_stop();
    userInitiated_.waitForDone();
    utility_.waitForDone();
}

void AppModel::makeWorkingFolder() {
    cache_ = QDir(QDir::tempPath()).filePath(QStringLiteral("Parcelo-") + uuidText(QUuid::createUuid()));
    if (const auto failure = WorkingFolder::create(cache_)) setMessage(BatchTexts::workingFolderFailed(*failure));
}

ImageStoreProvider* AppModel::makeThumbnailProvider() const { return new ImageStoreProvider(thumbnails_); }

// ---- Published batch fields ----

void AppModel::setSelected(std::optional<QUuid> id) {
    assign(selected_, id, &AppModel::selectedChanged, &AppModel::currentChanged);
}

QString AppModel::selectedText() const { return selected_ ? uuidText(*selected_) : QString(); }

void AppModel::setSelectedText(const QString& id) {
    const QUuid parsed(id);
    setSelected(parsed.isNull() ? std::nullopt : std::optional<QUuid>(parsed));
}

void AppModel::setBusy(bool value) {
    assign(busy_, value, &AppModel::busyChanged);
}

void AppModel::setScanning(bool value) {
    assign(scanning_, value, &AppModel::scanningChanged);
}

void AppModel::setImporting(bool value) {
    assign(importing_, value, &AppModel::importingChanged);
}

void AppModel::setPreviewsLoaded(int value) {
    assign(previewsLoaded_, value, &AppModel::previewsLoadedChanged);
}

void AppModel::setExporting(bool value) {
    assign(exporting_, value, &AppModel::exportingChanged);
}

void AppModel::setCompleted(int value) {
    assign(completed_, value, &AppModel::completedChanged);
}

void AppModel::setMessage(std::optional<QString> message) {
    assign(message_, std::move(message), &AppModel::messageChanged);
}

void AppModel::setPreviewOriginal(bool original) {
    assign(previewOriginal_, original, &AppModel::previewOriginalChanged);
}

void AppModel::setExportedDirectory(std::optional<QString> directory) {
    assign(exportedDirectory_, std::move(directory), &AppModel::exportedDirectoryChanged);
}

QUrl AppModel::exportedDirectoryUrl() const {
    return exportedDirectory_ ? QUrl::fromLocalFile(*exportedDirectory_) : QUrl();
}

void AppModel::itemsDidChange() {
    emit itemsChanged();
    emit currentChanged();
}

// Which item is current never changes here; what the views show of it changes only when the
// item changed is the current one.
void AppModel::updateItem(std::size_t position, const std::function<void(ImageItem&)>& change) {
    const auto shown = current();
    const bool changesCurrent = shown && position < items().size() && shown->id == items()[position].id;
    items_.update(position, change);
    emit itemsChanged();
    if (changesCurrent) emit currentChanged();
}

// ---- Derived values ----

int AppModel::pendingCount() const {
    return static_cast<int>(std::count_if(items().begin(), items().end(), [](const ImageItem& item) { return item.isPending(); }));
}

int AppModel::failedCount() const {
    return static_cast<int>(std::count_if(items().begin(), items().end(), [](const ImageItem& item) { return item.isFailed(); }));
}

int AppModel::readyCount() const {
    return static_cast<int>(std::count_if(items().begin(), items().end(), [](const ImageItem& item) { return item.isReady(); }));
}

qint64 AppModel::savedBytes() const {
    qint64 total = 0;
    for (const auto& item : items())
        if (item.isReady()) total += std::max<qint64>(item.inputBytes - item.outputBytes, 0);
    return total;
}

std::optional<ImageItem> AppModel::current() const {
    if (items().empty()) return std::nullopt;
    if (selected_)
        if (const auto position = items_.position(*selected_)) return items()[*position];
    return items().front();
}

QString AppModel::activity() const {
    if (scanning_) return QStringLiteral("Finding images in folders… · Clear cancels importing");
    if (importing_)
        return QStringLiteral("Loading previews %1/%2 · Clear cancels loading").arg(previewsLoaded_).arg(items().size());
    return {};
}

QString AppModel::savedText() const {
    return readyCount() >= 1 ? decimalSize(savedBytes()) + QStringLiteral(" lighter") : QString();
}

QString AppModel::decimalSize(qint64 bytes) { return QString::fromStdString(formatByteCount(bytes)); }

QVariantMap AppModel::currentForView() const {
    const auto item = current();
    return item ? ImageItemModel::fieldsOf(*item) : QVariantMap();
}

void AppModel::selectNeighbour(int step) {
    PARCELO_ASSERT_MAIN_THREAD();
    const auto shown = current();
    if (!shown) return;
    const auto last = static_cast<qint64>(items().size()) - 1;
    const auto position = static_cast<qint64>(items_.position(shown->id).value_or(0));
    setSelected(items()[static_cast<std::size_t>(std::clamp<qint64>(position + step, 0, last))].id);
}

QPointF AppModel::cropOf(const QString& id) const {
    const auto position = items_.position(QUuid(id));
    const CropPosition crop = position ? items()[*position].crop : CropPosition::center();
    return {crop.x, crop.y};
}

// ---- Gates ----

bool AppModel::canAdd() const { return !busy_ && !exporting_ && !scanning_; }

bool AppModel::canRemove() const { return !busy_ && !exporting_; }

bool AppModel::canStartRun() const {
    return !busy_ && !exporting_ && !scanning_ && requirements_.usable() &&
           items().size() <= static_cast<std::size_t>(kBatchLimit);
}

bool AppModel::canFit() const { return canStartRun() && pendingCount() > 0; }

bool AppModel::canRetry() const { return canStartRun() && failedCount() > 0; }

bool AppModel::canSave() const {
    return !busy_ && !exporting_ && !scanning_ && readyCount() > 0 && requirements_.usable();
}

// A save in progress keeps the menu item: the second request is simply ignored by exportCopies().
bool AppModel::canOfferSave() const {
    return !busy_ && !scanning_ && readyCount() > 0 && requirements_.usable();
}

bool AppModel::canEditRequirements() const { return !busy_ && !exporting_; }

bool AppModel::canAdjustCrop() const { return canEditRequirements() && !importing_ && requirements_.exactCropping(); }

// ---- Batch actions: "Pause" alone while a fit run is busy, otherwise each under its own condition ----

bool AppModel::showsRetry() const { return !busy_ && failedCount() >= 1; }

bool AppModel::showsFit() const { return !busy_ && (pendingCount() > 0 || items().empty()); }

QString AppModel::fitTitle() const {
    return readyCount() >= 1 ? QStringLiteral("Fit remaining") : QStringLiteral("Make it fit");
}

bool AppModel::showsSave() const { return !busy_ && readyCount() >= 1; }

QString AppModel::saveTitle() const {
    if (exporting_) return QStringLiteral("Saving…");
    return readyCount() == 1 ? QStringLiteral("Save 1 image…") : QStringLiteral("Save %1 images…").arg(readyCount());
}

// ---- Removing and clearing ----

void AppModel::remove(const QUuid& id) {
    PARCELO_ASSERT_MAIN_THREAD();
    if (!canRemove()) return;
    if (const auto position = items_.position(id))
        if (const auto& output = items()[*position].output) QFile::remove(*output);
    items_.removeAll(id);
    thumbnails_->remove(uuidText(id));
    itemsDidChange();
    if (selected_ == id)
        setSelected(items().empty() ? std::nullopt : std::optional<QUuid>(items().front().id));
}

void AppModel::remove(const QString& id) { remove(QUuid(id)); }

void AppModel::removeCurrent() {
    if (const auto shown = current()) remove(shown->id);
}

void AppModel::clear() {
    PARCELO_ASSERT_MAIN_THREAD();
    if (!canRemove()) return;
    for (const auto& item : items())
        if (item.output) QFile::remove(*item.output);
    QDir(QDir(cache_).filePath(QStringLiteral("Inspection"))).removeRecursively();
    ++scanGeneration_;
    if (scanTask_) scanTask_->stop.request_stop();
    scanTask_.reset();
    setScanning(false);
    if (importTask_) importTask_->stop.request_stop();
    importTask_.reset();
    setImporting(false);
    items_.clear();
    thumbnails_->clear();
    itemsDidChange();
    setSelected(std::nullopt);
    setMessage(std::nullopt);
    setCompleted(0);
    setExportedDirectory(std::nullopt);
}

void AppModel::cleanUp() {
    PARCELO_ASSERT_MAIN_THREAD();
    ++scanGeneration_;
    if (scanTask_) scanTask_->stop.request_stop();
    if (importTask_) importTask_->stop.request_stop();
    if (worker_) worker_->request_stop();
    if (task_) task_->stop.request_stop();
    QDir(cache_).removeRecursively();
}

// Copies made under other requirements no longer fit: every item goes back to pending.
void AppModel::discardFittedCopies() {
    for (const auto& item : items())
        if (item.output) QFile::remove(*item.output);
    items_.updateAll([](ImageItem& item) {
        item.forgetCopy();
        item.state = BatchTexts::ready;
        item.failed = false;
    });
    itemsDidChange();
    setCompleted(0);
    setExportedDirectory(std::nullopt);
    setMessage(std::nullopt);
}

// ---- One image's crop and inspection ----

void AppModel::setCrop(const QUuid& id, const CropPosition& position) {
    PARCELO_ASSERT_MAIN_THREAD();
    if (!canAdjustCrop() || !position.isValid()) return;
    const auto found = items_.position(id);
    if (!found || items()[*found].crop == position) return;
    if (const auto& output = items()[*found].output) QFile::remove(*output);
    updateItem(*found, [&position](ImageItem& item) {
        item.crop = position;
        item.forgetCopy();
        item.failed = false;
        item.state = BatchTexts::cropAdjusted;
    });
    setCompleted(readyCount() + failedCount());
    setExportedDirectory(std::nullopt);
    setPreviewOriginal(false);
    setMessage(BatchTexts::cropUpdated);
}

void AppModel::setCrop(const QString& id, double x, double y) { setCrop(QUuid(id), CropPosition{x, y}); }

AppModel::InspectionCopy AppModel::inspectionCopy(const QUuid& id) {
    PARCELO_ASSERT_MAIN_THREAD();
    const auto found = items_.position(id);
    if (!found || !items()[*found].output) return {std::nullopt, errorText(std::errc::no_such_file_or_directory)};
    const ImageItem& item = items()[*found];
    const QString folder = QDir(cache_).filePath(QStringLiteral("Inspection"));
    if (const auto failure = WorkingFolder::createSubfolder(folder)) return {std::nullopt, *failure};
    const QString name = uuidText(QUuid::createUuid()) + QLatin1Char('-') +
                         firstCharacters(stemOf(item.fileName()), kInspectionStemCharacters) + QLatin1Char('.') +
                         item.fileExtension;
    const QString target = QDir(folder).filePath(name);
    if (const auto failure = WorkingFolder::copyPrivately(*item.output, target)) return {std::nullopt, *failure};
    return {target, QString()};
}

void AppModel::inspect(const QString& id) {
    const InspectionCopy copy = inspectionCopy(QUuid(id));
    if (!copy.location)
        setMessage(BatchTexts::inspectionFailed(copy.error));
    else if (!QDesktopServices::openUrl(QUrl::fromLocalFile(*copy.location)))
        setMessage(BatchTexts::inspectionFailed(BatchTexts::noImageViewer));
}

void AppModel::openOutside(const QUrl& target) {
    PARCELO_ASSERT_MAIN_THREAD();
    if (QDesktopServices::openUrl(target)) return;
    if (target.isLocalFile())
        setMessage(BatchTexts::folderNotShown(target.toLocalFile()));
    else if (target.scheme() == QLatin1String("mailto"))
        setMessage(BatchTexts::mailNotStarted(target.path()));
    else
        setMessage(BatchTexts::addressNotOpened(target.toString()));
}

}  // namespace parcelo
