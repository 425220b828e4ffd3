// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "ImageStore.h"

namespace parcelo {

void ImageStore::insert(const QString& key, const QImage& image) {
    const std::lock_guard lock(mutex_);
    images_.insert(key, image);
}

void ImageStore::remove(const QString& key) {
    const std::lock_guard lock(mutex_);
    images_.remove(key);
}

void ImageStore::clear() {
    const std::lock_guard lock(mutex_);
    images_.clear();
}

QImage ImageStore::find(const QString& key) const {
    const std::lock_guard lock(mutex_);
    return images_.value(key);
}

ImageStoreProvider::ImageStoreProvider(std::shared_ptr<ImageStore> store)
    : QQuickImageProvider(QQuickImageProvider::Image), store_(std::move(store)) {}

QImage ImageStoreProvider::requestImage(const QString& id, QSize* size, const QSize& requestedSize) {
    QImage image = store_->find(id);
    if (size) *size = image.size();
    if (!image.isNull() && requestedSize.isValid() && !requestedSize.isEmpty())
        image = image.scaled(requestedSize, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    return image;
}

}  // namespace parcelo
