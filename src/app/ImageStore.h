// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <memory>
#include <mutex>

#include <QHash>
#include <QImage>
#include <QQuickImageProvider>

namespace parcelo {

// Decoded pictures by key, for QML to show: the batch's thumbnails, the previews on screen.
// Written on the main thread; QML's image loader reads from a thread of its own.
class ImageStore {
public:
    void insert(const QString& key, const QImage& image);
    void remove(const QString& key);
    void clear();
    [[nodiscard]] QImage find(const QString& key) const;

private:
    mutable std::mutex mutex_;
    QHash<QString, QImage> images_;
};

// Serves "image://{provider}/{key}" from a store, scaled down to the size QML asks for.
class ImageStoreProvider : public QQuickImageProvider {
public:
    explicit ImageStoreProvider(std::shared_ptr<ImageStore> store = std::make_shared<ImageStore>());

    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;
    [[nodiscard]] const std::shared_ptr<ImageStore>& store() const { return store_; }

private:
    std::shared_ptr<ImageStore> store_;
};

}  // namespace parcelo
