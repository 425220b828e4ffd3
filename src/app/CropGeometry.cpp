// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "CropGeometry.h"

#include <algorithm>

namespace parcelo {

namespace CropGeometry {

Travel travel(QSizeF imageSize, double target) {
    if (imageSize.isEmpty() || target <= 0) return Travel::none;
    const double aspect = imageSize.width() / imageSize.height();
    if (aspect > target + kAspectTolerance) return Travel::horizontal;
    if (aspect < target - kAspectTolerance) return Travel::vertical;
    return Travel::none;
}

QRectF picture(QSizeF area, QSizeF imageSize) {
    if (imageSize.isEmpty() || area.isEmpty()) return {};
    const double fit = std::min(area.width() / imageSize.width(), area.height() / imageSize.height());
    const QSizeF shown = imageSize * fit;
    return {QPointF((area.width() - shown.width()) * 0.5, (area.height() - shown.height()) * 0.5), shown};
}

QRectF frame(const QRectF& picture, double target, const CropPosition& position) {
    if (picture.isEmpty() || target <= 0) return {};
    const double width = std::min(picture.height() * target, picture.width());
    const double height = std::min(picture.width() / target, picture.height());
    const QSizeF travel = slack(picture, QRectF(0, 0, width, height));
    return {picture.left() + travel.width() * position.x, picture.top() + travel.height() * position.y, width, height};
}

QSizeF slack(const QRectF& picture, const QRectF& frame) {
    return {std::max(picture.width() - frame.width(), 0.0), std::max(picture.height() - frame.height(), 0.0)};
}

CropPosition dragged(const CropPosition& start, QPointF translation, QSizeF slack) {
    const auto along = [](double from, double moved, double travel) {
        return travel > kLeastTravel ? std::clamp(from + moved / travel, 0.0, 1.0) : 0.5;
    };
    return {along(start.x, translation.x(), slack.width()), along(start.y, translation.y(), slack.height())};
}

}  // namespace CropGeometry

QString CropGeometryForView::travel(QSizeF imageSize, double target) {
    switch (CropGeometry::travel(imageSize, target)) {
    case CropGeometry::Travel::horizontal: return QStringLiteral("horizontal");
    case CropGeometry::Travel::vertical: return QStringLiteral("vertical");
    case CropGeometry::Travel::none: break;
    }
    return QStringLiteral("none");
}

QRectF CropGeometryForView::picture(QSizeF area, QSizeF imageSize) { return CropGeometry::picture(area, imageSize); }

QRectF CropGeometryForView::frame(const QRectF& picture, double target, QPointF position) {
    return CropGeometry::frame(picture, target, {position.x(), position.y()});
}

QPointF CropGeometryForView::dragged(QPointF start, QPointF translation, const QRectF& picture, const QRectF& frame) {
    const CropPosition position =
        CropGeometry::dragged({start.x(), start.y()}, translation, CropGeometry::slack(picture, frame));
    return {position.x, position.y};
}

}  // namespace parcelo
