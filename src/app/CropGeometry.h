// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QObject>
#include <QPointF>
#include <QRectF>
#include <QSizeF>
#include <QtQml/qqmlregistration.h>

#include "CropPosition.h"

namespace parcelo {

// Where the crop editor draws the picture and the frame, and how a drag moves the frame.
// Plain functions of sizes and positions, touching no pixels.
namespace CropGeometry {

// Aspect ratios closer than this count as the same shape.
inline constexpr double kAspectTolerance = 0.001;
// A frame with less travel than this, in points, stays centred on that axis.
inline constexpr double kLeastTravel = 0.5;

// Which way the frame can move over a picture of imageSize for a target of width ÷ height.
enum class Travel { none, horizontal, vertical };
Travel travel(QSizeF imageSize, double target);

// The picture scaled to fit the area, aspect kept, centred.
QRectF picture(QSizeF area, QSizeF imageSize);

// The largest rectangle of the target shape inside the picture, placed by position:
// x = 0 at the picture's left edge, 1 at its right edge; y likewise from top to bottom.
QRectF frame(const QRectF& picture, double target, const CropPosition& position);

// How far the frame can travel inside the picture on each axis.
QSizeF slack(const QRectF& picture, const QRectF& frame);

// The position after dragging the frame by translation from start: the frame follows the pointer
// one to one, clamped at the picture's edges; an axis without travel stays centred.
CropPosition dragged(const CropPosition& start, QPointF translation, QSizeF slack);

}  // namespace CropGeometry

// The crop geometry for QML, as the singleton `CropGeometry` of `Parcelo.Model`.
class CropGeometryForView : public QObject {
    Q_OBJECT
    QML_NAMED_ELEMENT(CropGeometry)
    QML_SINGLETON

public:
    using QObject::QObject;

    // "horizontal", "vertical" or "none".
    Q_INVOKABLE static QString travel(QSizeF imageSize, double target);
    Q_INVOKABLE static QRectF picture(QSizeF area, QSizeF imageSize);
    Q_INVOKABLE static QRectF frame(const QRectF& picture, double target, QPointF position);
    // The position, as a point of x and y, after a drag by translation from start.
    Q_INVOKABLE static QPointF dragged(QPointF start, QPointF translation, const QRectF& picture, const QRectF& frame);
};

}  // namespace parcelo
