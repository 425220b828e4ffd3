// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "ParceloApp.h"

#include <malloc.h>

#include <QDir>
#include <QGuiApplication>
#include <QIcon>
#include <QQuickWindow>
#include <QStandardPaths>

#include "AppEngine.h"
#include "AppLinks.h"

namespace parcelo {

namespace {

// The application's name, which also names its folders and the preferences' organization.
const QString kName = QStringLiteral("Parcelo");

}  // namespace

// Decoding a large progressive JPEG takes tens of megabytes on a worker thread, and glibc keeps
// freed memory in an arena per thread: without a cap the peak grows with every thread that ever
// decoded (426 MB against 293 MB for a batch of 150 photos).
void limitMemoryArenas() { mallopt(M_ARENA_MAX, 2); }

QUrl fileLocation(const QString& path, const QString& folder) {
    return QUrl::fromLocalFile(QDir(folder).absoluteFilePath(path));
}

void AppDelegate::setModel(AppModel* model) {
    model_ = model;
    if (!model_ || pendingFiles_.isEmpty()) return;
    const QList<QUrl> taken = std::exchange(pendingFiles_, {});
    model_->add(taken);
}

void AppDelegate::openFiles(const QStringList& paths, const QString& folder) {
    QList<QUrl> urls;
    for (const QString& path : paths)
        if (!path.isEmpty()) urls.append(fileLocation(path, folder));
    if (urls.isEmpty()) return;
    if (model_)
        model_->add(urls);
    else
        pendingFiles_.append(urls);
}

void AppDelegate::applicationWillTerminate() {
    if (model_) model_->cleanUp();
}

void moveOldCacheUp(const QString& cache) {
    QDir old(QDir(cache).filePath(kName));
    if (!old.exists()) return;
    for (const QString& entry : old.entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot))
        QDir().rename(old.filePath(entry), QDir(cache).filePath(entry));
    old.removeRecursively();
}

ParceloApp::ParceloApp() {
    limitMemoryArenas();
    // Without an organization name, what Qt keeps for Parcelo (caches above all) goes into one
    // folder named after it, ~/.cache/Parcelo, instead of ~/.cache/Parcelo/Parcelo. The
    // preferences keep their place: their store names both.
    QGuiApplication::setOrganizationName({});
    QGuiApplication::setApplicationName(kName);
    QGuiApplication::setApplicationVersion(AppLinks::version());
    QGuiApplication::setDesktopFileName(QString::fromLatin1(kDesktopId));
    QGuiApplication::setWindowIcon(QIcon(QStringLiteral(":/icons/app.parcelo.Parcelo.svg")));
}

ParceloApp::~ParceloApp() {
    // The window and its views go before the model they read.
    engine_.reset();
}

QQuickWindow* ParceloApp::window() const {
    if (!engine_ || engine_->rootObjects().isEmpty()) return nullptr;
    return qobject_cast<QQuickWindow*>(engine_->rootObjects().constFirst());
}

bool ParceloApp::start(const QStringList& paths, const QString& instanceName) {
    QStringList absolute;
    for (const QString& path : paths)
        if (!path.isEmpty()) absolute.append(fileLocation(path, QDir::currentPath()).toLocalFile());
    if (SingleInstance::forward(absolute, instanceName)) return false;

    connect(&quitSignals_, &QuitSignals::received, qApp, &QCoreApplication::quit);
    // A quit signal may come before the window was first shown: the working folder goes either way.
    connect(qApp, &QCoreApplication::aboutToQuit, this, [this] {
        if (delegate_.model())
            delegate_.applicationWillTerminate();
        else if (model_)
            model_->cleanUp();
    });
    // Without a name, why was said already.
    if (!instanceName.isEmpty() && !instance_.listen(instanceName))
        qWarning("Parcelo cannot take files from later launches: %s", qPrintable(instanceName));
    connect(&instance_, &SingleInstance::filesReceived, this, [this](const QStringList& forwarded) {
        delegate_.openFiles(forwarded, QDir::rootPath());
        raiseWindow();
    });

    moveOldCacheUp(QStandardPaths::writableLocation(QStandardPaths::CacheLocation));
    preferences_ = std::make_unique<QSettings>(kName, kName);
    model_ = std::make_unique<AppModel>(preferences_.get());
    delegate_.openFiles(absolute, QDir::rootPath());
    showWindow();
    return true;
}

int ParceloApp::exec(const QStringList& paths, const QString& instanceName) {
    if (!start(paths, instanceName)) return 0;
    if (!window()) {
        model_->cleanUp();
        return 1;
    }
    return QGuiApplication::exec();
}

void ParceloApp::showWindow() {
    engine_ = std::make_unique<QQmlApplicationEngine>();
    prepareEngine(*engine_, *model_);
    engine_->load(kMainWindowUrl);
    QQuickWindow* shown = window();
    if (!shown) return;
    // The model is connected when the content is shown, and again each time it is shown anew;
    // the first showing is complete once the event loop runs.
    connect(shown, &QWindow::visibleChanged, this, [this](bool visible) {
        if (visible) delegate_.setModel(model_.get());
    });
    QMetaObject::invokeMethod(this, [this] {
        if (QQuickWindow* current = window(); current && current->isVisible()) delegate_.setModel(model_.get());
    }, Qt::QueuedConnection);
}

void ParceloApp::raiseWindow() {
    QQuickWindow* shown = window();
    if (!shown) return;
    if (shown->visibility() == QWindow::Minimized) shown->showNormal();
    shown->show();
    // Activation asks the window manager to bring the window to the front; a raise() of our own
    // would only be refused by focus-stealing prevention.
    shown->requestActivate();
}

}  // namespace parcelo
