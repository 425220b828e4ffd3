#pragma once

#include <memory>
#include <mutex>

#include <QHash>
#include <QImage>
#include <QQuickImageProvider>
#include <QUuid>

namespace parcelo {

// The thumbnails of the batch by item id. The model writes on the main thread; QML may
// read from its image loader thread.
class ThumbnailStore {
public:
    void insert(const QUuid& id, const QImage& image);
    void remove(const QUuid& id);
    void clear();
    [[nodiscard]] QImage find(const QString& idText) const;

private:
    mutable std::mutex mutex_;
    QHash<QString, QImage> images_;
};

// Serves "image://thumbnails/{ID}" to QML from the store the model fills.
class ThumbnailProvider : public QQuickImageProvider {
public:
    explicit ThumbnailProvider(std::shared_ptr<const ThumbnailStore> store);

    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;

private:
    std::shared_ptr<const ThumbnailStore> store_;
};

}  // namespace parcelo
