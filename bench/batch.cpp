// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// A full batch of JPEG photos in the real window over a real model: how long after `add` the
// whole list is on screen, how fast the thumbnails come in, and the application's peak memory.
//
//   QT_QPA_PLATFORM=offscreen parcelo-batch-bench CORPUS_DIR [COUNT [NAMES]]
//
// COUNT files (default: the batch limit) are hard links, under distinct names, to the corpus's
// JPEG photos (NAMES: patterns under photos/, default "*.jpg") taken in turn, so every one is a
// separate item that decodes like a real photo.

#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>

#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>
#include <QtQml/qqmlextensionplugin.h>

#include "AppEngine.h"
#include "AppModel.h"
#include "BatchTexts.h"
#include "ParceloApp.h"

Q_IMPORT_QML_PLUGIN(ParceloPlugin)
Q_IMPORT_QML_PLUGIN(Parcelo_StylePlugin)
Q_IMPORT_QML_PLUGIN(Parcelo_ModelPlugin)

namespace {

using parcelo::AppModel;

QStringList linkPhotos(const QString& corpus, const QString& folder, qsizetype count, const QString& names) {
    const QDir photos(corpus + QStringLiteral("/photos"));
    const QStringList jpegs = photos.entryList(names.split(QLatin1Char(' ')), QDir::Files, QDir::Name);
    QStringList paths;
    if (jpegs.isEmpty()) return paths;
    for (qsizetype i = 0; i < count; ++i) {
        const QString source = photos.filePath(jpegs[i % jpegs.size()]);
        const QString path = QDir(folder).filePath(QStringLiteral("%1-%2").arg(i, 4, 10, QLatin1Char('0')).arg(jpegs[i % jpegs.size()]));
        if (::link(QFile::encodeName(source).constData(), QFile::encodeName(path).constData()) != 0 && !QFile::copy(source, path))
            return {};
        paths.append(path);
    }
    return paths;
}

// Runs the event loop until done() holds, re-checking whenever `changed` fires.
template <typename Sender, typename Signal, typename Done>
void runUntil(const Sender* sender, Signal changed, Done done) {
    QEventLoop loop;
    QObject::connect(sender, changed, &loop, [&] {
        if (done()) loop.quit();
    });
    if (!done()) loop.exec();
}

// The batch list the window shows, found by its name in the window's tree of items.
QQuickItem* findImageList(QQuickItem* item) {
    if (item->objectName() == QLatin1String("imageList")) return item;
    const auto children = item->childItems();
    for (QQuickItem* child : children)
        if (QQuickItem* found = findImageList(child)) return found;
    return nullptr;
}

// The list is shown once it is visible and holds a row for every item.
bool listHoldsAll(const QQuickItem& list, qsizetype count) {
    return list.isVisible() && list.property("count").toLongLong() == count;
}

// Processor seconds of the whole process so far, every thread counted.
double processorSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) { return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// Other work on the machine stretches the wall time; the load says how much there was.
QString loadAverage() {
    QFile file(QStringLiteral("/proc/loadavg"));
    return file.open(QIODevice::ReadOnly) ? QString::fromLatin1(file.readLine()) : QStringLiteral("unknown\n");
}

double peakMegabytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) * 1024.0 / 1e6;
}

}  // namespace

int main(int argc, char* argv[]) {
    parcelo::limitMemoryArenas();
    QGuiApplication application(argc, argv);
    parcelo::applyApplicationLook();
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 2) {
        std::fprintf(stderr, "usage: parcelo-batch-bench CORPUS_DIR [COUNT]\n");
        return 2;
    }
    const qsizetype count = arguments.size() > 2 ? arguments[2].toLongLong() : parcelo::kBatchLimit;
    QTemporaryDir scratch;
    QDir(scratch.path()).mkpath(QStringLiteral("photos"));
    QDir(scratch.path()).mkpath(QStringLiteral("tmp"));
    qputenv("TMPDIR", QFile::encodeName(scratch.filePath(QStringLiteral("tmp"))));
    const QString names = arguments.size() > 3 ? arguments[3] : QStringLiteral("*.jpg");
    const QStringList photos = linkPhotos(arguments[1], scratch.filePath(QStringLiteral("photos")), count, names);
    if (photos.size() != count) {
        std::fprintf(stderr, "could not make %lld photos from %s\n", static_cast<long long>(count), qPrintable(arguments[1]));
        return 1;
    }
    QList<QUrl> urls;
    for (const QString& path : photos) urls.append(QUrl::fromLocalFile(path));

    QSettings preferences(scratch.filePath(QStringLiteral("preferences.ini")), QSettings::IniFormat);
    AppModel model(&preferences);
    QQmlApplicationEngine engine;
    parcelo::prepareEngine(engine, model);
    engine.load(parcelo::kMainWindowUrl);
    auto* window = engine.rootObjects().isEmpty() ? nullptr : qobject_cast<QQuickWindow*>(engine.rootObjects().constFirst());
    if (!window) return 1;
    bool framed = false;
    QObject::connect(window, &QQuickWindow::frameSwapped, window, [&framed] { framed = true; });
    runUntil(window, &QQuickWindow::frameSwapped, [&framed] { return framed; });
    const double idleMegabytes = peakMegabytes();

    QElapsedTimer clock;
    clock.start();
    const double processorBefore = processorSeconds();
    model.add(urls);
    if (static_cast<qsizetype>(model.items().size()) != count) {
        std::fprintf(stderr, "the batch took %zu of %lld photos: %s\n", model.items().size(), static_cast<long long>(count),
                     qPrintable(model.messageText()));
        return 1;
    }
    // Shown: the first frame drawn after the list is visible with a row for every item.
    QQuickItem* list = findImageList(window->contentItem());
    if (!list) {
        std::fprintf(stderr, "the window shows no image list\n");
        return 1;
    }
    bool shown = false;
    const auto check = QObject::connect(window, &QQuickWindow::frameSwapped, window, [&shown, list, window, count] {
        shown = listHoldsAll(*list, count);
        if (!shown) window->requestUpdate();
    });
    window->requestUpdate();
    runUntil(window, &QQuickWindow::frameSwapped, [&shown] { return shown; });
    QObject::disconnect(check);
    const double listSeconds = static_cast<double>(clock.nsecsElapsed()) / 1e9;

    runUntil(&model, &AppModel::importingChanged, [&model] { return !model.importing(); });
    const double thumbnailSeconds = static_cast<double>(clock.nsecsElapsed()) / 1e9;
    const double thumbnailProcessor = processorSeconds() - processorBefore;
    qsizetype failed = 0;
    for (const auto& item : model.items()) failed += item.failed ? 1 : 0;

    std::printf("items             %lld JPEG photos (%s, hard links)\n", static_cast<long long>(count), qPrintable(names));
    std::printf("list shown        %.3f s after add\n", listSeconds);
    std::printf("thumbnails        %.2f s for all, %.1f per second, %lld failed\n", thumbnailSeconds,
                static_cast<double>(count) / thumbnailSeconds, static_cast<long long>(failed));
    const double perThumbnail = thumbnailProcessor / static_cast<double>(count);
    std::printf("processor time    %.1f ms per thumbnail (all threads): at most %.0f per second on two idle cores\n",
                perThumbnail * 1000.0, 2.0 / perThumbnail);
    std::printf("load average      %s", qPrintable(loadAverage()));
    std::printf("peak memory       %.0f MB (window alone before adding: %.0f MB)\n", peakMegabytes(), idleMegabytes);
    model.cleanUp();
    return 0;
}
