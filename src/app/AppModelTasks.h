// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

// The background tasks AppModel holds, shared between its source files.

#include <map>
#include <optional>
#include <stop_token>
#include <vector>

#include <QImage>
#include <QStringList>
#include <QThread>

#include "AppModel.h"

// AppModel is confined to the thread that made it (the main thread).
#define PARCELO_ASSERT_MAIN_THREAD() \
    Q_ASSERT_X(QThread::currentThread() == thread(), Q_FUNC_INFO, "AppModel used off the main thread")

namespace parcelo {

// One folder expansion, remembered with the scan generation it started with.
struct AppModel::ScanTask {
    std::stop_source stop;
    qint64 generation = 0;
};

// What one thumbnail job hands back to the main thread.
struct ThumbnailOutcome {
    std::optional<QImage> image;
    qint64 bytes = 0;
    std::optional<QString> error;
};

inline constexpr int kThumbnailDecoders = 2;
// How far the queued jobs may run ahead of the applied ones: a large photo's slow decode holds
// the list, while the other decoder goes on with the small ones after it.
inline constexpr std::size_t kThumbnailsAhead = 8;

// One thumbnail pass: the (id, source) of every item that had no thumbnail when it began. Its
// jobs wait in the thumbnail pool, which decodes two at once, so that both cores work and a
// decoder that finishes takes the next job at once instead of waiting for the main thread.
// Outcomes are applied strictly in list order, one that finishes early waiting for those before it.
struct AppModel::ThumbnailPass {
    struct Job {
        QUuid id;
        QString source;
    };
    std::stop_source stop;
    std::vector<Job> jobs;
    std::size_t next = 0;     // the next job to queue
    std::size_t applied = 0;  // jobs whose outcome is applied: always the first ones
    std::map<std::size_t, ThumbnailOutcome> waiting;  // finished before an earlier job
};

// One fit run: the positions chosen when it began and the requirements it fits to.
struct AppModel::FitRun {
    std::stop_source stop;
    std::vector<std::size_t> positions;
    std::size_t next = 0;
    FitSettings settings;
};

// One save: the ready items as they were when it began.
struct AppModel::SaveRun {
    QString directory;
    FitSettings settings;
    std::vector<ImageItem> items;
    std::size_t next = 0;
    qsizetype saved = 0;
    QStringList failures;
};

}  // namespace parcelo
