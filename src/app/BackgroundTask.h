// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

#include <QFutureInterface>
#include <QFutureWatcher>
#include <QObject>
#include <QRunnable>
#include <QThreadPool>

#if defined(__SANITIZE_THREAD__)
#define PARCELO_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define PARCELO_THREAD_SANITIZER 1
#endif
#endif
#ifdef PARCELO_THREAD_SANITIZER
#include <sanitizer/tsan_interface.h>
#endif

namespace parcelo {

namespace detail {

// Qt's thread pool and its cross-thread signals order a hand-over with locks that a Qt built
// without ThreadSanitizer keeps out of its sight. These tell it about exactly those two edges,
// so that it checks everything else the work and the main thread touch.
inline void handOver([[maybe_unused]] const void* token) {
#ifdef PARCELO_THREAD_SANITIZER
    __tsan_release(const_cast<void*>(token));
#endif
}
inline void takeOver([[maybe_unused]] const void* token) {
#ifdef PARCELO_THREAD_SANITIZER
    __tsan_acquire(const_cast<void*>(token));
#endif
}

// What the work returns, handed from the pool's thread to the main thread.
template <typename Result>
struct Outcome {
    std::optional<Result> value;
};

// Runs the work on a pool thread, keeps its value in the shared outcome and reports the future
// finished; Qt deletes it on that thread when run() returns.
template <typename Work, typename Result>
class BackgroundRun : public QRunnable {
public:
    BackgroundRun(Work work, std::shared_ptr<Outcome<Result>> outcome, QFutureInterface<void> future)
        : work_(std::move(work)), outcome_(std::move(outcome)), future_(std::move(future)) {
        handOver(this);
    }

    void run() override {
        takeOver(this);  // before the first read of a member
        outcome_->value.emplace(work_());
        handOver(outcome_.get());
        future_.reportFinished();
    }

private:
    Work work_;
    std::shared_ptr<Outcome<Result>> outcome_;
    QFutureInterface<void> future_;
};

}  // namespace detail

// Runs work on pool and hands the value it returns to onDone on context's thread.
// work receives only what it captured by value; it must not throw. When context is
// destroyed first, onDone is never called.
template <typename Work, typename Done>
void runInBackground(QThreadPool& pool, QObject* context, Work work, Done onDone) {
    using Result = std::invoke_result_t<Work>;
    auto outcome = std::make_shared<detail::Outcome<Result>>();
    QFutureInterface<void> future;
    future.reportStarted();
    auto* watcher = new QFutureWatcher<void>(context);
    QObject::connect(watcher, &QFutureWatcherBase::finished, context,
                     [watcher, outcome, onDone = std::move(onDone)]() mutable {
                         watcher->deleteLater();
                         detail::takeOver(outcome.get());
                         onDone(std::as_const(*outcome->value));
                     });
    watcher->setFuture(future.future());
    pool.start(new detail::BackgroundRun<Work, Result>(std::move(work), outcome, future));
}

}  // namespace parcelo
