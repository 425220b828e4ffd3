// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "ImageItemModel.h"

#include <QPointF>
#include <QUrl>

namespace parcelo {

namespace {

int toRow(std::size_t position) { return static_cast<int>(position); }

QVariant fieldOf(const ImageItem& item, int role) {
    switch (role) {
    case ImageItemModel::IdRole: return uuidText(item.id);
    case ImageItemModel::SourceRole: return QUrl::fromLocalFile(item.source);
    case ImageItemModel::ThumbnailRole:
        return item.thumbnail ? ImageItemModel::thumbnailUrl(item.id) : QString();
    case ImageItemModel::InputBytesRole: return item.inputBytes;
    case ImageItemModel::OutputRole: return item.output ? QUrl::fromLocalFile(*item.output) : QUrl();
    case ImageItemModel::OutputBytesRole: return item.outputBytes;
    case ImageItemModel::WidthRole: return item.width;
    case ImageItemModel::HeightRole: return item.height;
    case ImageItemModel::FileExtensionRole: return item.fileExtension;
    case ImageItemModel::StateRole: return item.state;
    case ImageItemModel::FailedRole: return item.failed;
    case ImageItemModel::CropRole: return QPointF(item.crop.x, item.crop.y);
    case ImageItemModel::FileNameRole: return item.fileName();
    case ImageItemModel::PathRole: return item.source;
    case ImageItemModel::ReadyRole: return item.isReady();
    default: return {};
    }
}

}  // namespace

QString ImageItemModel::thumbnailUrl(const QUuid& id) {
    return QStringLiteral("image://thumbnails/") + uuidText(id);
}

int ImageItemModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : toRow(items_.size());
}

QVariant ImageItemModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid)) return {};
    return fieldOf(items_[static_cast<std::size_t>(index.row())], role);
}

QHash<int, QByteArray> ImageItemModel::roleNames() const {
    return {
        {IdRole, "id"},
        {SourceRole, "source"},
        {ThumbnailRole, "thumbnail"},
        {InputBytesRole, "inputBytes"},
        {OutputRole, "output"},
        {OutputBytesRole, "outputBytes"},
        {WidthRole, "width"},
        {HeightRole, "height"},
        {FileExtensionRole, "fileExtension"},
        {StateRole, "state"},
        {FailedRole, "failed"},
        {CropRole, "crop"},
        {FileNameRole, "fileName"},
        {PathRole, "path"},
        {ReadyRole, "ready"},
    };
}

QVariantMap ImageItemModel::fieldsOf(const ImageItem& item) {
    static const QHash<int, QByteArray> roles = ImageItemModel().roleNames();
    QVariantMap fields;
    for (auto role = roles.begin(); role != roles.end(); ++role)
        fields.insert(QString::fromLatin1(role.value()), fieldOf(item, role.key()));
    return fields;
}

std::optional<std::size_t> ImageItemModel::position(const QUuid& id) const {
    for (std::size_t i = 0; i < items_.size(); ++i)
        if (items_[i].id == id) return i;
    return std::nullopt;
}

void ImageItemModel::append(std::vector<ImageItem> added) {
    if (added.empty()) return;
    const int first = toRow(items_.size());
    beginInsertRows({}, first, first + toRow(added.size()) - 1);
    for (auto& item : added) items_.push_back(std::move(item));
    endInsertRows();
    emit countChanged();
}

void ImageItemModel::update(std::size_t position, const std::function<void(ImageItem&)>& change) {
    if (position >= items_.size()) return;
    change(items_[position]);
    const QModelIndex changed = index(toRow(position));
    emit dataChanged(changed, changed);
}

void ImageItemModel::updateAll(const std::function<void(ImageItem&)>& change) {
    if (items_.empty()) return;
    for (auto& item : items_) change(item);
    emit dataChanged(index(0), index(toRow(items_.size()) - 1));
}

void ImageItemModel::removeAll(const QUuid& id) {
    for (std::size_t i = items_.size(); i-- > 0;) {
        if (items_[i].id != id) continue;
        beginRemoveRows({}, toRow(i), toRow(i));
        items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(i));
        endRemoveRows();
    }
    emit countChanged();
}

void ImageItemModel::clear() {
    beginResetModel();
    items_.clear();
    endResetModel();
    emit countChanged();
}

}  // namespace parcelo
