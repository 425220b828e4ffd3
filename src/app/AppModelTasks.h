// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

// The background tasks AppModel holds, shared between its source files.

#include <stop_token>
#include <vector>

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

// One thumbnail pass: the (id, source) of every item that had no thumbnail when it began.
struct AppModel::ThumbnailPass {
    struct Job {
        QUuid id;
        QString source;
    };
    std::stop_source stop;
    std::vector<Job> jobs;
    std::size_t next = 0;
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
