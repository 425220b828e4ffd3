#include "ThumbnailProvider.h"

#include "ImageItem.h"

namespace parcelo {

void ThumbnailStore::insert(const QUuid& id, const QImage& image) {
    const std::lock_guard lock(mutex_);
    images_.insert(uuidText(id), image);
}

void ThumbnailStore::remove(const QUuid& id) {
    const std::lock_guard lock(mutex_);
    images_.remove(uuidText(id));
}

void ThumbnailStore::clear() {
    const std::lock_guard lock(mutex_);
    images_.clear();
}

QImage ThumbnailStore::find(const QString& idText) const {
    const std::lock_guard lock(mutex_);
    return images_.value(idText.toUpper());
}

ThumbnailProvider::ThumbnailProvider(std::shared_ptr<const ThumbnailStore> store)
    : QQuickImageProvider(QQuickImageProvider::Image), store_(std::move(store)) {}

QImage ThumbnailProvider::requestImage(const QString& id, QSize* size, const QSize& requestedSize) {
    QImage image = store_->find(id);
    if (size) *size = image.size();
    if (!image.isNull() && requestedSize.isValid() && !requestedSize.isEmpty())
        image = image.scaled(requestedSize, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    return image;
}

}  // namespace parcelo
