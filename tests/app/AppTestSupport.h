// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

#include <QDeadlineTimer>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>
#include <QUrl>

#include "TestSupport.h"

#include "AppModel.h"
#include "CancellationCheck.h"

namespace parcelo::test {

// What an item's state says when its file is no image the app can read.
inline const QString kUnreadable = QStringLiteral(
    "This file isn’t a supported image, or it could not be read. Try a JPEG, PNG, HEIC, TIFF or BMP.");

// The model speaks in QString paths; the shared helpers take file-system paths.
inline std::filesystem::path fsPath(const QString& path) { return QFile::encodeName(path).toStdString(); }
inline QString corpusFile(const QString& relative) { return QString::fromStdString((corpusDir() / fsPath(relative)).string()); }

// Writes the picture; the format follows the file's suffix.
inline void writeImage(const QString& path, const vips::VImage& image) { save(image, fsPath(path)); }
inline void writeText(const QString& path, const std::string& text) { writeBytes(fsPath(path), text); }

inline QList<QUrl> urls(const QStringList& paths) {
    QList<QUrl> list;
    for (const auto& path : paths) list.append(QUrl::fromLocalFile(path));
    return list;
}

// Waits, with a running event loop, until done() holds, re-checking whenever signal fires.
template <typename Signal>
bool waitUntil(const AppModel& model, Signal signal, const std::function<bool()>& done, int timeoutMs = 120'000) {
    QSignalSpy spy(&model, signal);
    QDeadlineTimer deadline(timeoutMs);
    while (!done()) {
        if (deadline.hasExpired()) return false;
        spy.wait(static_cast<int>(std::max<qint64>(deadline.remainingTime(), 1)));
    }
    return true;
}

// Holds background work at the engine's cancellation checks, on whichever thread it comes: a check
// the test set a gate at waits there until the test lets it go on; other checks pass. `arrived`
// runs on the thread of work that stops at a gate. Make the gates before the model, so that they
// outlive every job.
class CheckGates {
public:
    explicit CheckGates(std::function<void()> arrived = {}) : arrived_(std::move(arrived)) {}

    // Sets a gate at the n-th check from now; the gate's number.
    long holdAt(int n) {
        const std::lock_guard lock(mutex_);
        gates_[checks_ + n] = false;
        return checks_ + n;
    }
    // Waits until work stands at the gate; false when none came within the guard time.
    bool reached(long gate) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, kGuard, [&] { return gates_.contains(gate) && gates_[gate]; });
    }
    // Lets work at the gate go on, or takes the gate away before work reaches it.
    void release(long gate) { open([gate](long n) { return n == gate; }); }
    void releaseAll() { open([](long) { return true; }); }
    [[nodiscard]] bool holding() const {
        const std::lock_guard lock(mutex_);
        return std::ranges::any_of(gates_, [](const auto& gate) { return gate.second; });
    }
    // How many checks have come since the gates were made.
    [[nodiscard]] long checks() const {
        const std::lock_guard lock(mutex_);
        return checks_;
    }

private:
    // Guards a test that failed while work was held: the work goes on in the end.
    static constexpr std::chrono::minutes kGuard{2};

    void open(const std::function<bool(long)>& which) {
        const std::lock_guard lock(mutex_);
        std::erase_if(gates_, [&](const auto& gate) { return which(gate.first); });
        changed_.notify_all();
    }
    void hold() {
        std::unique_lock lock(mutex_);
        const long n = ++checks_;
        if (!gates_.contains(n)) return;
        gates_[n] = true;
        changed_.notify_all();
        if (arrived_) arrived_();
        changed_.wait_for(lock, kGuard, [&] { return !gates_.contains(n); });
    }

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::map<long, bool> gates_;  // by the number of the check each holds: whether work stands there
    long checks_ = 0;
    std::function<void()> arrived_;
    CancellationCheckHook hook_{[this] { hold(); }};  // last: gone before the gates are
};

// Stands in for the desktop's handlers of the schemes (browser, mail, image viewer) while it
// lives, and keeps every address it is asked to open.
class OpenedUrls : public QObject {
    Q_OBJECT

public:
    explicit OpenedUrls(const QStringList& schemes) : schemes_(schemes) {
        for (const QString& scheme : schemes_) QDesktopServices::setUrlHandler(scheme, this, "open");
    }
    ~OpenedUrls() override {
        for (const QString& scheme : schemes_) QDesktopServices::unsetUrlHandler(scheme);
    }
    OpenedUrls(const OpenedUrls&) = delete;
    OpenedUrls& operator=(const OpenedUrls&) = delete;

    QList<QUrl> urls;

public slots:
    void open(const QUrl& url) { urls.append(url); }

private:
    QStringList schemes_;
};

// A real model over a private preferences file and a private temporary directory, so
// that its working folder lands where the test can see it.
class ModelSandbox {
public:
    ModelSandbox() {
        QDir(path(QString())).mkpath(QStringLiteral("tmp"));
        QDir(path(QString())).mkpath(QStringLiteral("files"));
        qputenv("TMPDIR", QFile::encodeName(path(QStringLiteral("tmp"))));
    }
    ~ModelSandbox() {
        if (model_) model_->cleanUp();
        model_.reset();
        if (originalTemp_)
            qputenv("TMPDIR", *originalTemp_);
        else
            qunsetenv("TMPDIR");
    }
    ModelSandbox(const ModelSandbox&) = delete;
    ModelSandbox& operator=(const ModelSandbox&) = delete;

    [[nodiscard]] QString path(const QString& relative) const {
        return QDir(QFile::decodeName(root_.path().c_str())).filePath(relative);
    }
    [[nodiscard]] QString file(const QString& name) const { return path(QStringLiteral("files/") + name); }
    [[nodiscard]] QSettings& preferences() { return preferences_; }

    AppModel& model() {
        if (!model_) model_ = std::make_unique<AppModel>(&preferences_);
        return *model_;
    }
    // Drops the model (as at quit) and makes a new one over the same preferences.
    AppModel& relaunch() {
        preferences_.sync();
        if (model_) model_->cleanUp();
        model_.reset();
        return model();
    }

private:
    std::optional<QByteArray> originalTemp_ =
        qEnvironmentVariableIsSet("TMPDIR") ? std::optional(qgetenv("TMPDIR")) : std::nullopt;
    ScratchFolder root_;
    QSettings preferences_{path(QStringLiteral("preferences.ini")), QSettings::IniFormat};
    std::unique_ptr<AppModel> model_;
};

// Wait, with a running event loop, for the folder scan, the thumbnail pass or the fit run to end.
inline bool scanDone(const AppModel& model) {
    return waitUntil(model, &AppModel::scanningChanged, [&model] { return !model.scanning(); });
}
inline bool thumbnailsDone(const AppModel& model) {
    return waitUntil(model, &AppModel::importingChanged, [&model] { return !model.importing(); });
}
inline bool runDone(const AppModel& model) {
    return waitUntil(model, &AppModel::busyChanged, [&model] { return !model.busy(); });
}

// Adds files directly and waits until their thumbnails are done.
inline bool addAndLoad(AppModel& model, const QStringList& paths) {
    model.add(urls(paths));
    return thumbnailsDone(model);
}

// `count` small flat images named img{first}.png, img{first+1}.png, ... in folder (made if missing).
inline QStringList makeImages(const QString& folder, int count, int first = 0) {
    QDir().mkpath(folder);
    QStringList paths;
    for (int i = first; i < first + count; ++i) {
        paths.append(QDir(folder).filePath(QStringLiteral("img%1.png").arg(i)));
        writeImage(paths.last(), flat(16, 12, {200, 120, 60}));
    }
    return paths;
}

// Exact-dimension mode with the two side fields typed as given.
inline void setExactSides(AppModel& model, const QString& width, const QString& height) {
    model.requirements().setExactPixels(true);
    model.requirements().setPixelWidth(width);
    model.requirements().setPixelHeight(height);
}

// Writes a small photo into the sandbox and adds it; the photo's path, or empty when adding failed.
inline QString addPhoto(ModelSandbox& sandbox) {
    const QString source = sandbox.file(QStringLiteral("photo.jpg"));
    writeImage(source, photoLike(300, 200));
    return addAndLoad(sandbox.model(), {source}) ? source : QString();
}

inline bool runFit(AppModel& model, bool retryFailed = false) {
    model.fit(retryFailed);
    return runDone(model);
}

inline bool exportInto(AppModel& model, const QString& folder) {
    model.exportTo(QUrl::fromLocalFile(folder));
    return waitUntil(model, &AppModel::exportingChanged, [&model] { return !model.exporting(); });
}

}  // namespace parcelo::test
