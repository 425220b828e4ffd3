// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <memory>

#include <QList>
#include <QObject>
#include <QPointer>
#include <QQmlApplicationEngine>
#include <QSettings>
#include <QStringList>
#include <QUrl>

#include "AppModel.h"
#include "QuitSignals.h"
#include "SingleInstance.h"

class QQuickWindow;

namespace parcelo {

// Caps glibc's per-thread memory arenas for the whole process; see the definition for why.
void limitMemoryArenas();

// A path the desktop asked Parcelo to open, as a local file location: relative paths are taken
// from `folder` (the launching process's folder), and a path need not exist to be a location.
[[nodiscard]] QUrl fileLocation(const QString& path, const QString& folder);

// Parcelo's caches were once kept one folder deeper, in `cache`/Parcelo: moves what is there up
// into `cache` and removes that folder. What `cache` already holds stays, as any cache can be
// made again.
void moveOldCacheUp(const QString& cache);

// Receives the files opened from the desktop and hands them to the model once one is connected.
// Runs on the main thread only.
class AppDelegate : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    // Files that arrived while no model was connected, in arrival order.
    [[nodiscard]] const QList<QUrl>& pendingFiles() const { return pendingFiles_; }
    [[nodiscard]] AppModel* model() const { return model_; }

    // Connects the model that receives opened files, then hands it everything buffered in one add.
    void setModel(AppModel* model);

    // The desktop asks to open these paths: one add for the whole list when a model is connected,
    // else they wait in `pendingFiles`. Whatever the files are is the model's business.
    void openFiles(const QStringList& paths, const QString& folder);

    // Parcelo is about to end: the model removes its working folder.
    void applicationWillTerminate();

private:
    QList<QUrl> pendingFiles_;
    QPointer<AppModel> model_;
};

// The application object: one model for the life of the process, the one window over it, the
// delegate that brings files in, and the single-instance channel.
class ParceloApp : public QObject {
    Q_OBJECT

public:
    ParceloApp();
    ~ParceloApp() override;
    ParceloApp(const ParceloApp&) = delete;
    ParceloApp& operator=(const ParceloApp&) = delete;

    // Launches with `paths` (relative to the current folder): hands them to a Parcelo already
    // running at the instance's socket and answers false, or shows the window and answers true.
    bool start(const QStringList& paths, const QString& instanceName = SingleInstance::serverName());
    // start(), then runs until the window is closed or a quit signal arrives; the exit code.
    int exec(const QStringList& paths, const QString& instanceName);

    [[nodiscard]] AppModel* model() const { return model_.get(); }
    [[nodiscard]] AppDelegate& delegate() { return delegate_; }
    [[nodiscard]] QQuickWindow* window() const;

private:
    void showWindow();
    void raiseWindow();

    AppDelegate delegate_;
    QuitSignals quitSignals_;
    SingleInstance instance_;
    std::unique_ptr<QSettings> preferences_;
    std::unique_ptr<AppModel> model_;
    std::unique_ptr<QQmlApplicationEngine> engine_;
};

}  // namespace parcelo
