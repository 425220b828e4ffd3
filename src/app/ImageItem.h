// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <optional>

#include <QImage>
#include <QString>
#include <QUuid>

#include "CropPosition.h"

namespace parcelo {

// One image of the batch. Its condition (pending, ready, failed) follows from `output`
// and `failed`; it is never stored.
struct ImageItem {
    QUuid id;
    QString source;  // the original's path, as the user handed it over
    std::optional<QImage> thumbnail;
    qint64 inputBytes = 0;
    std::optional<QString> output;  // the verified copy in the working folder
    qint64 outputBytes = 0;
    qint64 width = 0;
    qint64 height = 0;
    QString fileExtension;
    QString state;
    bool failed = false;
    CropPosition crop = CropPosition::center();

    // A fresh item for a newly added original: "Ready", nothing measured, centred crop.
    static ImageItem make(const QString& source);

    [[nodiscard]] bool isPending() const { return !output && !failed; }
    [[nodiscard]] bool isReady() const { return output.has_value(); }
    [[nodiscard]] bool isFailed() const { return failed; }
    // The original's file name with its extension.
    [[nodiscard]] QString fileName() const;
    // Forgets the fitted copy, with its size and format, so that no view shows a copy that is gone.
    void forgetCopy();

    friend bool operator==(const ImageItem& a, const ImageItem& b) { return a.id == b.id; }
};

// The upper-case 8-4-4-4-12 form used for file names in the working folder.
QString uuidText(const QUuid& id);

}  // namespace parcelo
