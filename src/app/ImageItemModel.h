// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <functional>
#include <optional>
#include <vector>

#include <QAbstractListModel>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

#include "ImageItem.h"

namespace parcelo {

// The batch as a list for QML: one role per ImageItem field, and `ready` for an image with a
// fitted copy. AppModel is its only writer.
class ImageItemModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("AppModel owns the batch")
    /// Number of images in the batch.
    Q_PROPERTY(int count READ count NOTIFY countChanged FINAL)

public:
    enum Role {
        IdRole = Qt::UserRole + 1,
        SourceRole,
        ThumbnailRole,
        InputBytesRole,
        OutputRole,
        OutputBytesRole,
        WidthRole,
        HeightRole,
        FileExtensionRole,
        StateRole,
        FailedRole,
        CropRole,
        FileNameRole,
        PathRole,
        ReadyRole,
    };
    Q_ENUM(Role)

    // Where QML's Image finds an item's thumbnail (served from the model's ImageStore).
    static QString thumbnailUrl(const QUuid& id);
    // Every role of the item by its name: what QML reads of one image, in the list or alone.
    static QVariantMap fieldsOf(const ImageItem& item);

    using QAbstractListModel::QAbstractListModel;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;
    [[nodiscard]] int count() const { return rowCount(); }

    [[nodiscard]] const std::vector<ImageItem>& items() const { return items_; }
    [[nodiscard]] std::optional<std::size_t> position(const QUuid& id) const;

    void append(std::vector<ImageItem> added);
    // Changes the item at position in place and tells the views which row changed.
    void update(std::size_t position, const std::function<void(ImageItem&)>& change);
    void updateAll(const std::function<void(ImageItem&)>& change);
    void removeAll(const QUuid& id);
    void clear();

signals:
    void countChanged();

private:
    std::vector<ImageItem> items_;
};

}  // namespace parcelo
