// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// Adding images, the thumbnail pass, the batch counts, the selection and removing.

#include "AppTestSupport.h"

#include <QtTest>

using namespace parcelo;
using namespace parcelo::test;

namespace {

const QString kOverLimit = QStringLiteral("Add up to 500 images per batch.");
const QString kSelectionOverLimit = QStringLiteral(
    "This selection exceeds the 500-image batch limit. No images were added. Choose a smaller folder.");

QString fileNames(const std::vector<ImageItem>& items) {
    QStringList names;
    for (const auto& item : items) names.append(QFileInfo(item.source).fileName());
    return names.join(u' ');
}

// Adds a folder and waits for its scan to hand the outcome over.
bool addFolder(AppModel& model, const QString& folder) {
    model.add(urls({folder}));
    return scanDone(model);
}

}  // namespace

class BatchImportTest : public QObject {
    Q_OBJECT

private slots:
    // New items start ready with the centred crop, a file named twice is taken once, and one
    // already in the batch is refused. Thumbnails count up one by one from those already loaded;
    // a file that is no image fails by its thumbnail, before any run, and keeps its size. The
    // current item is the selected one, else the first; removing the selected one selects the first.
    void addedImagesTheirThumbnailsCountsAndSelection() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        QList<qint64> seen;
        connect(&model, &AppModel::previewsLoadedChanged, this, [&] { seen.append(model.previewsLoaded()); });
        const QStringList paths = {sandbox.file(QStringLiteral("wide.bmp")), sandbox.file(QStringLiteral("noise.jpg")),
                                   sandbox.file(QStringLiteral("notes.jpg"))};
        writeImage(paths[0], photoLike(800, 200));
        writeImage(paths[1], noise(400, 300));
        writeText(paths[2], "not an image");
        model.requirements().setOutputFormat(OutputFormat::png);
        model.add(urls({paths[0], paths[0], paths[1], paths[2]}));
        QCOMPARE(fileNames(model.items()), QStringLiteral("wide.bmp noise.jpg notes.jpg"));
        const ImageItem item = model.items()[0];
        QCOMPARE(item.state, QStringLiteral("Ready"));
        QVERIFY(!item.failed && !item.output && item.crop == CropPosition::center());
        QVERIFY(thumbnailsDone(model));
        QCOMPARE(model.items()[2].state, kUnreadable);
        QCOMPARE(model.items()[2].inputBytes, 12);
        model.add(urls({sandbox.path(QStringLiteral("files/../files/./wide.bmp"))}));
        QCOMPARE(model.message(), QStringLiteral("Those images are already in this batch. Use Clear to start a new one."));
        // The views reach the thumbnail by the item's id.
        std::unique_ptr<ImageStoreProvider> provider(model.makeThumbnailProvider());
        QSize size;
        QCOMPARE(provider->requestImage(uuidText(item.id), &size, {}).size(), QSize(400, 100));

        QVERIFY(runFit(model));
        QVERIFY(addAndLoad(model, makeImages(sandbox.file(QStringLiteral("later")), 1)));
        QCOMPARE(seen, (QList<qint64>{0, 1, 2, 3, 2, 3, 4}));  // the next pass tries the failed file again
        QCOMPARE((QList<qint64>{model.readyCount(), model.failedCount(), model.pendingCount()}), (QList<qint64>{2, 1, 1}));
        const ImageItem& shrunk = model.items()[0];
        QVERIFY2(model.items()[1].outputBytes > model.items()[1].inputBytes, "the PNG copy of noise outgrows its JPEG");
        QCOMPARE(model.savedBytes(), shrunk.inputBytes - shrunk.outputBytes);  // a copy that grew saves nothing

        const QUuid second = model.items()[1].id;
        model.setSelected(QUuid::createUuid());
        QCOMPARE(model.current()->id, item.id);
        model.setSelected(second);
        model.remove(second);
        QCOMPARE(model.selected(), item.id);
    }

    // Two thumbnails decode at once, yet they land in list order: one that finishes before the
    // item above it waits, so previewsLoaded always counts the first items of the list. Which
    // decoder reaches its first check first is up to the threads; the scenario runs until the
    // lower item's decode is the one let go first.
    void twoThumbnailsDecodeAtOnceAndLandInListOrder() {
        bool heldBack = false;
        for (int attempt = 0; attempt < 40 && !heldBack; ++attempt) {
            CheckGates gates;
            for (int n : {1, 2}) gates.holdAt(n);
            ModelSandbox sandbox;
            AppModel& model = sandbox.model();
            QList<qint64> seen;
            connect(&model, &AppModel::previewsLoadedChanged, this, [&] { seen.append(model.previewsLoaded()); });
            model.add(urls(makeImages(sandbox.file(QStringLiteral("pair")), 2)));
            QVERIFY(gates.reached(1) && gates.reached(2));  // both decoders hold a job
            const auto watchers = model.findChildren<QFutureWatcherBase*>();
            QCOMPARE(watchers.size(), 2);
            // A job's watcher goes once its outcome has been handed to the model.
            QEventLoop handedOver;
            for (auto* watcher : watchers) connect(watcher, &QObject::destroyed, &handedOver, &QEventLoop::quit);
            QTimer::singleShot(std::chrono::minutes(2), &handedOver, &QEventLoop::quit);  // a guard only
            gates.release(2);
            handedOver.exec();
            QCOMPARE(model.findChildren<QFutureWatcherBase*>().size(), 1);
            const bool upperDone = model.items()[0].thumbnail.has_value();
            heldBack = !upperDone;
            QCOMPARE(model.items()[1].thumbnail.has_value(), false);
            QCOMPARE(model.previewsLoaded(), upperDone ? 1 : 0);
            gates.release(1);
            QVERIFY(thumbnailsDone(model));
            QCOMPARE(seen, (QList<qint64>{0, 1, 2}));
            QVERIFY(model.items()[1].thumbnail.has_value());
        }
        QVERIFY2(heldBack, "the lower item's decode never finished first");
    }

    void foldersAddTheirImagesSortedBlockOtherWorkWhileScannedAndFillTheBatchTo500() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QStringList loose = makeImages(sandbox.file(QStringLiteral("loose")), 2);
        QVERIFY(addAndLoad(model, {loose[0]}));
        const QString folder = sandbox.file(QStringLiteral("folder"));
        makeImages(folder, 4, 8);
        writeText(QDir(folder).filePath(QStringLiteral("notes.txt")), "text");
        QVERIFY(QFile::link(QDir(folder).filePath(QStringLiteral("img8.png")), QDir(folder).filePath(QStringLiteral("link.png"))));
        model.add(urls({folder}));
        model.add(urls({loose[1]}));  // nothing is added while a folder is scanned
        QVERIFY(scanDone(model));
        QCOMPARE(model.message(), QStringLiteral("Added 4 images, including subfolders. Skipped 2 unsupported or unreadable entries."));
        QCOMPARE(fileNames(model.items()), QStringLiteral("img0.png img8.png img9.png img10.png img11.png"));
        QVERIFY(thumbnailsDone(model));
        QVERIFY(addFolder(model, folder));
        QCOMPARE(model.message(), QStringLiteral("No new supported images found. Hidden files, links and app packages are skipped."));

        // The batch holds at most 500 images, added directly or from folders.
        model.add(urls(makeImages(sandbox.file(QStringLiteral("batch")), 493)));
        const QStringList three = makeImages(sandbox.file(QStringLiteral("three")), 3);
        model.add(urls(three));
        QCOMPARE(model.message(), kOverLimit);
        QVERIFY(addFolder(model, sandbox.file(QStringLiteral("three"))));
        QCOMPARE(model.message(), kSelectionOverLimit);
        QCOMPARE(model.items().size(), 498u);
        makeImages(sandbox.file(QStringLiteral("two")), 2);
        QVERIFY(addFolder(model, sandbox.file(QStringLiteral("two"))));
        QCOMPARE(model.message(), QStringLiteral("Added 2 images, including subfolders."));
        model.add(urls({three[0]}));
        QCOMPARE(model.message(), kOverLimit);
        QCOMPARE(model.items().size(), 500u);
    }

    void clearingDuringAFolderScanLeavesTheBatchEmpty() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QString folder = sandbox.file(QStringLiteral("big"));
        for (int sub = 0; sub < 20; ++sub) makeImages(QDir(folder).filePath(QString::number(sub)), 20, sub * 100);
        model.add(urls({folder}));
        // The expansion's watcher is the model's child, deleted once it has handed the outcome over.
        auto* expansion = model.findChild<QFutureWatcherBase*>();
        QVERIFY(expansion);
        QSignalSpy handedOver(expansion, &QObject::destroyed);
        model.clear();
        QVERIFY(!model.scanning() && !model.importing());
        QSignalSpy items(&model, &AppModel::itemsChanged);
        QSignalSpy scanning(&model, &AppModel::scanningChanged);
        QVERIFY(handedOver.wait(120'000));
        QCOMPARE(items.count() + scanning.count(), 0);
        QVERIFY(model.items().empty() && !model.message());
        QVERIFY(addFolder(model, folder));
        QCOMPARE(model.items().size(), 400u);
    }

    void anUnreadableFileKeepsItsStateWhileARunHandlesIt() {
        CheckGates gates;
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        QVERIFY(!addPhoto(sandbox).isEmpty());
        const QString broken = sandbox.file(QStringLiteral("broken.jpg"));
        writeText(broken, "nothing");
        const long thumbnail = gates.holdAt(1), fit = gates.holdAt(2);  // the fit of the photo, first in the run
        model.add(urls({broken}));
        QVERIFY(gates.reached(thumbnail));
        model.fit(false);
        QVERIFY(gates.reached(fit));
        gates.release(thumbnail);
        QVERIFY(thumbnailsDone(model));
        QVERIFY(model.busy());  // the thumbnail's failure must not mark an image the run owns
        QCOMPARE(model.items()[1].state, QStringLiteral("Ready"));
        gates.release(fit);
        QVERIFY(runDone(model));
        QCOMPARE(model.items()[1].state, kUnreadable);
    }
};

QTEST_MAIN(BatchImportTest)
#include "tst_batch_import.moc"
