// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QString>
#include <QStringList>

namespace parcelo {

// Batch and save limits shared by the model and the views.
inline constexpr qsizetype kBatchLimit = 500;
inline constexpr qint64 kThumbnailEdge = 400;
inline constexpr int kInspectionStemCharacters = 40;

// The texts the batch model writes into items' states and into its message line.
namespace BatchTexts {

inline const QString ready = QStringLiteral("Ready");
inline const QString cropAdjusted = QStringLiteral("Crop adjusted · ready to fit");
inline const QString fitting = QStringLiteral("Finding the best fit…");
inline const QString paused = QStringLiteral("Paused · ready to resume");

inline const QString pausedMessage =
    QStringLiteral("Paused. Finished copies are safe. Choose Fit remaining to continue.");
inline const QString duplicates =
    QStringLiteral("Those images are already in this batch. Use Clear to start a new one.");
inline const QString overBatchLimit = QStringLiteral("Add up to 500 images per batch.");
inline const QString noNewImages =
    QStringLiteral("No new supported images found. Hidden files, links and app packages are skipped.");
inline const QString cropUpdated =
    QStringLiteral("Crop updated for this image. Fit it again to check the export.");

inline QString verified(qint64 width, qint64 height, const QString& extension, const QString& limit) {
    return QStringLiteral("Verified · %1 × %2 · %3 · ≤ %4").arg(width).arg(height).arg(extension.toUpper(), limit);
}

inline QString selectionOverLimit() {
    return QStringLiteral("This selection exceeds the %1-image batch limit. No images were added. "
                          "Choose a smaller folder.")
        .arg(kBatchLimit);
}

inline QString addedFromFolders(qsizetype count, qint64 ignored) {
    QString text = QStringLiteral("Added %1 images, including subfolders.").arg(count);
    if (ignored >= 1) text += QStringLiteral(" Skipped %1 unsupported or unreadable entries.").arg(ignored);
    return text;
}

inline QString runSummary(qsizetype readyCount, qsizetype failedCount) {
    return QStringLiteral("%1 ready to save. %2 couldn’t fit; see each image for details.")
        .arg(readyCount)
        .arg(failedCount);
}

inline QString saved(qsizetype savedCount, qsizetype total, const QStringList& failures) {
    if (failures.isEmpty()) {
        return savedCount == 1 ? QStringLiteral("Saved 1 fitted copy. Your originals are untouched.")
                               : QStringLiteral("Saved %1 fitted copies. Your originals are untouched.").arg(savedCount);
    }
    return QStringLiteral("Saved %1 of %2. ").arg(savedCount).arg(total) + failures.join(QStringLiteral(" • "));
}

inline QString workingFolderFailed(const QString& reason) {
    return QStringLiteral("Couldn’t create a working folder: ") + reason;
}

inline QString inspectionFailed(const QString& reason) {
    return QStringLiteral("Couldn’t open an inspection copy: ") + reason;
}

// What the desktop failed to open, in the words of the thing that should have opened it.
inline const QString noImageViewer = QStringLiteral("no image viewer on this computer opened it.");
inline QString folderNotShown(const QString& path) {
    return QStringLiteral("Couldn’t show the folder: no file manager on this computer opened it. The copies are in ") +
           path + QLatin1Char('.');
}
inline QString addressNotOpened(const QString& address) {
    return QStringLiteral("Couldn’t open %1: no web browser on this computer opened it.").arg(address);
}
inline QString mailNotStarted(const QString& recipient) {
    return QStringLiteral("Couldn’t start an e-mail: no mail application on this computer opened it. Write to %1.")
        .arg(recipient);
}

}  // namespace BatchTexts
}  // namespace parcelo
