// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <type_traits>
#include <utility>

#include <QFutureWatcher>
#include <QObject>
#include <QThreadPool>
#include <QtConcurrent/QtConcurrentRun>

namespace parcelo {

// Runs work on pool and hands the value it returns to onDone on context's thread.
// work receives only what it captured by value; it must not throw. When context is
// destroyed first, onDone is never called.
template <typename Work, typename Done>
void runInBackground(QThreadPool& pool, QObject* context, Work work, Done onDone) {
    using Result = std::invoke_result_t<Work>;
    auto* watcher = new QFutureWatcher<Result>(context);
    QObject::connect(watcher, &QFutureWatcherBase::finished, context,
                     [watcher, onDone = std::move(onDone)]() mutable {
                         watcher->deleteLater();
                         onDone(watcher->result());
                     });
    watcher->setFuture(QtConcurrent::run(&pool, std::move(work)));
}

}  // namespace parcelo
