// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <semaphore>
#include <vector>

#include <QDeadlineTimer>
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

// Holds background work at the engine's cancellation checks: the n-th check to come (counted
// from when the gates are made, on any thread) waits at gate n until the test lets it go on;
// later checks pass. Make the gates before the model, so that they outlive every job.
class CheckGates {
public:
    explicit CheckGates(int count) : gates_(static_cast<std::size_t>(count)) {}

    // Waits until work stands at gate n (from 1); false when none came within the guard time.
    bool reached(int n) { return gates_.at(static_cast<std::size_t>(n - 1)).arrived.try_acquire_for(kGuard); }
    void release(int n) { gates_.at(static_cast<std::size_t>(n - 1)).go.release(); }
    // How many checks have come since the gates were made.
    [[nodiscard]] int checks() const { return checks_.load(); }

private:
    struct Gate {
        std::binary_semaphore arrived{0};
        std::binary_semaphore go{0};
    };
    // Guards a test that failed while work was held: the work goes on in the end.
    static constexpr std::chrono::minutes kGuard{2};

    void hold() {
        const auto n = static_cast<std::size_t>(checks_.fetch_add(1));
        if (n >= gates_.size()) return;
        gates_[n].arrived.release();
        [[maybe_unused]] const bool released = gates_[n].go.try_acquire_for(kGuard);
    }

    std::vector<Gate> gates_;
    std::atomic<int> checks_{0};
    CancellationCheckHook hook_{[this] { hold(); }};  // last: gone before the gates are
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
