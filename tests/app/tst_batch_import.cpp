// Adding images, the thumbnail pass, the batch counts, the selection and removing.

#include <QtTest>

#include "AppTestSupport.h"

using namespace parcelo;
using namespace parcelo::test;

namespace {

const QString kDuplicates = QStringLiteral("Those images are already in this batch. Use Clear to start a new one.");
const QString kOverLimit = QStringLiteral("Add up to 500 images per batch.");
const QString kSelectionOverLimit = QStringLiteral(
    "This selection exceeds the 500-image batch limit. No images were added. Choose a smaller folder.");

QStringList fileNames(const std::vector<ImageItem>& items) {
    QStringList names;
    for (const auto& item : items) names.append(QFileInfo(item.source).fileName());
    return names;
}

}  // namespace

class BatchImportTest : public QObject {
    Q_OBJECT

private slots:
    // ---- Counts ----
    void readyFailedAndPendingAreCountedApartWithTheBytesSaved() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QStringList paths = {sandbox.file(QStringLiteral("gradient.bmp")), sandbox.file(QStringLiteral("noise.jpg")),
                                   sandbox.file(QStringLiteral("notes.jpg"))};
        writeImage(paths[0], 300, 200);
        writeImage(paths[1], 400, 300, Picture::noise);
        writeText(paths[2], "not an image");
        model.setOutputFormat(OutputFormat::png);
        model.settingsChanged();
        QVERIFY(addAndLoad(model, paths));
        QVERIFY(runFit(model));
        QVERIFY(addAndLoad(model, makeImages(sandbox.file(QStringLiteral("later")), 1)));
        QCOMPARE(model.readyCount(), 2);
        QCOMPARE(model.failedCount(), 1);
        QCOMPARE(model.pendingCount(), 1);
        const ImageItem& shrunk = model.items()[0];
        const ImageItem& grown = model.items()[1];
        QVERIFY2(shrunk.outputBytes < shrunk.inputBytes, "the PNG copy of a gradient should be smaller than its BMP");
        QVERIFY2(grown.outputBytes > grown.inputBytes, "the PNG copy of noise should be larger than its JPEG");
        QCOMPARE(model.savedBytes(), shrunk.inputBytes - shrunk.outputBytes);  // a copy that grew saves nothing
    }

    // ---- Adding ----
    void newItemsStartReadyAndCentredAndDuplicatesAreRefused() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        QVERIFY(!model.current());
        QVERIFY(model.currentForView().isEmpty());
        QStringList paths = makeImages(sandbox.file(QStringLiteral("set")), 2);
        paths.prepend(sandbox.file(QStringLiteral("wide.png")));
        writeImage(paths[0], 800, 200);
        model.add({});
        QCOMPARE(model.message(), kDuplicates);
        QSignalSpy itemsSpy(&model, &AppModel::itemsChanged);
        model.add(urls({paths[0], paths[0], paths[1], paths[2]}));  // a file named twice is taken once
        QVERIFY(itemsSpy.count() >= 1);
        QCOMPARE(model.items().size(), 3u);
        const ImageItem& item = model.items()[0];
        QCOMPARE(item.source, paths[0]);
        QCOMPARE(item.state, QStringLiteral("Ready"));
        QVERIFY(!item.failed && !item.output && item.crop == CropPosition::center());
        QCOMPARE(item.outputBytes, 0);
        QVERIFY(model.items()[0].id != model.items()[1].id);
        QVERIFY(!model.message());
        QVERIFY(model.importing());
        QVERIFY(thumbnailsDone(model));
        model.add(urls({sandbox.file(QStringLiteral("set/../set/./img0.png"))}));
        QCOMPARE(model.message(), kDuplicates);
        QCOMPARE(model.items().size(), 3u);

        // The views reach each field by role, and the thumbnail by the item's id.
        const QString id = uuidText(model.items()[0].id);
        ImageItemModel* list = model.itemModel();
        const QList<QByteArray> names = list->roleNames().values();
        for (const char* field : {"id", "source", "thumbnail", "inputBytes", "output", "outputBytes", "width",
                                  "height", "fileExtension", "state", "failed", "crop"})
            QVERIFY2(names.contains(field), field);
        const QModelIndex first = list->index(0);
        QCOMPARE(list->data(first, ImageItemModel::StateRole).toString(), QStringLiteral("Ready"));
        QCOMPARE(list->data(first, ImageItemModel::IdRole).toString(), id);
        QCOMPARE(list->data(first, ImageItemModel::InputBytesRole).toLongLong(), QFileInfo(paths[0]).size());
        QCOMPARE(list->data(first, ImageItemModel::ThumbnailRole).toString(), QStringLiteral("image://thumbnails/") + id);
        std::unique_ptr<ImageStoreProvider> provider(model.makeThumbnailProvider());
        QSize size;
        QCOMPARE(provider->requestImage(id, &size, {}).size(), QSize(400, 100));
        QCOMPARE(size, QSize(400, 100));
        QVERIFY(provider->requestImage(uuidText(QUuid::createUuid()), &size, {}).isNull());

        // The current item is the selected one, else the first; removing moves a selection of the removed.
        const QUuid firstId = model.items()[0].id;
        const QUuid second = model.items()[1].id;
        const QUuid third = model.items()[2].id;
        QCOMPARE(model.selected(), firstId);
        model.setSelected(third);
        QCOMPARE(model.current()->id, third);
        QCOMPARE(model.currentForView().value(QStringLiteral("source")).toUrl().toLocalFile(), paths[2]);
        const QUuid stranger = QUuid::createUuid();
        model.setSelected(stranger);
        QCOMPARE(model.current()->id, firstId);
        model.remove(stranger);
        QCOMPARE(model.items().size(), 3u);
        QCOMPARE(model.selected(), firstId);
        model.setSelected(second);
        model.remove(third);
        QCOMPARE(model.selected(), second);
        model.remove(second);
        QCOMPARE(model.selected(), firstId);
        model.remove(firstId);
        QVERIFY(model.items().empty());
        QVERIFY(!model.selected() && !model.current());
    }

    void aFolderAddsItsImagesSortedAndBlocksOtherWorkWhileScanned() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QStringList loose = makeImages(sandbox.file(QStringLiteral("loose")), 2);
        QVERIFY(addAndLoad(model, {loose[0]}));
        const QString folder = sandbox.file(QStringLiteral("folder"));
        makeImages(folder, 4, 8);
        writeText(QDir(folder).filePath(QStringLiteral("notes.txt")), "text");
        QVERIFY(QFile::link(QDir(folder).filePath(QStringLiteral("img8.png")), QDir(folder).filePath(QStringLiteral("link.png"))));
        model.add(urls({folder}));
        QVERIFY(model.scanning() && model.importing());
        model.add(urls({loose[1]}));
        model.fit(false);
        QVERIFY(!model.busy());
        QVERIFY(scanDone(model));
        QCOMPARE(model.message(),
                 QStringLiteral("Added 4 images, including subfolders. Skipped 2 unsupported or unreadable entries."));
        QCOMPARE(fileNames(model.items()), (QStringList{QStringLiteral("img0.png"), QStringLiteral("img8.png"),
                                                        QStringLiteral("img9.png"), QStringLiteral("img10.png"),
                                                        QStringLiteral("img11.png")}));
        QCOMPARE(model.items()[0].state, QStringLiteral("Ready"));
        QVERIFY(thumbnailsDone(model));
        QCOMPARE(model.previewsLoaded(), 5);
        model.add(urls({folder}));
        QVERIFY(scanDone(model));
        QCOMPARE(model.message(),
                 QStringLiteral("No new supported images found. Hidden files, links and app packages are skipped."));
        QCOMPARE(model.items().size(), 5u);
    }

    void theBatchHoldsAtMost500ImagesAddedDirectlyOrFromFolders() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        model.add(urls(makeImages(sandbox.file(QStringLiteral("batch")), 498)));
        QCOMPARE(model.items().size(), 498u);
        const QStringList three = makeImages(sandbox.file(QStringLiteral("three")), 3);
        model.add(urls(three));
        QCOMPARE(model.message(), kOverLimit);
        QCOMPARE(model.items().size(), 498u);
        model.add(urls(three.mid(0, 2)));
        QCOMPARE(model.items().size(), 500u);
        QVERIFY(!model.message());
        model.remove(model.items()[499].id);
        model.remove(model.items()[498].id);
        model.add(urls({sandbox.file(QStringLiteral("three"))}));
        QVERIFY(scanDone(model));
        QCOMPARE(model.message(), kSelectionOverLimit);
        QCOMPARE(model.items().size(), 498u);
        makeImages(sandbox.file(QStringLiteral("two")), 2);
        model.add(urls({sandbox.file(QStringLiteral("two"))}));
        QVERIFY(scanDone(model));
        QCOMPARE(model.message(), QStringLiteral("Added 2 images, including subfolders."));
        QCOMPARE(model.items().size(), 500u);
        makeImages(sandbox.file(QStringLiteral("one")), 1);
        model.add(urls({sandbox.file(QStringLiteral("one"))}));
        QVERIFY(scanDone(model));
        QCOMPARE(model.message(), kSelectionOverLimit);
        model.add(urls({sandbox.file(QStringLiteral("one/img0.png"))}));
        QCOMPARE(model.message(), kOverLimit);
        QCOMPARE(model.items().size(), 500u);
        QVERIFY(thumbnailsDone(model));
        QCOMPARE(model.previewsLoaded(), 500);
    }

    void clearingDuringAFolderScanLeavesTheBatchEmpty() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QString folder = sandbox.file(QStringLiteral("big"));
        for (int sub = 0; sub < 20; ++sub) makeImages(QDir(folder).filePath(QString::number(sub)), 20, sub * 100);
        model.add(urls({folder}));
        QVERIFY(model.scanning());
        // The expansion's watcher is the model's child, deleted once it has handed the outcome over.
        auto* expansion = model.findChild<QFutureWatcherBase*>();
        QVERIFY(expansion);
        QSignalSpy handedOver(expansion, &QObject::destroyed);
        model.clear();
        QVERIFY(!model.scanning());
        QVERIFY(!model.importing());
        QSignalSpy items(&model, &AppModel::itemsChanged);
        QSignalSpy scanning(&model, &AppModel::scanningChanged);
        QSignalSpy importing(&model, &AppModel::importingChanged);
        QVERIFY(handedOver.wait(120'000));
        QCOMPARE(items.count(), 0);
        QCOMPARE(scanning.count(), 0);
        QCOMPARE(importing.count(), 0);
        QVERIFY(model.items().empty());
        QVERIFY(!model.message());
        model.add(urls({folder}));
        QVERIFY(scanDone(model));
        QCOMPARE(model.items().size(), 400u);
    }

    void aFolderOfMoreThan20000EntriesAddsNothing() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QString folder = sandbox.file(QStringLiteral("many"));
        QDir().mkpath(folder);
        for (int i = 0; i < 20'001; ++i) writeText(QDir(folder).filePath(QStringLiteral("f%1.txt").arg(i)), "");
        model.add(urls({folder}));
        QVERIFY(scanDone(model));
        QCOMPARE(model.message(), QStringLiteral("This folder has more than 20,000 entries. Choose a smaller folder. "
                                                 "No images were added."));
        QVERIFY(model.items().empty());
        QVERIFY(!model.importing());
    }

    // ---- Thumbnails ----
    void previewsCountUpOneByOneFromThoseAlreadyLoaded() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        QList<qint64> seen;
        connect(&model, &AppModel::previewsLoadedChanged, this, [&] { seen.append(model.previewsLoaded()); });
        QVERIFY(addAndLoad(model, makeImages(sandbox.file(QStringLiteral("set")), 3)));
        QCOMPARE(seen, (QList<qint64>{0, 1, 2, 3}));
        for (const auto& item : model.items()) {
            QVERIFY2(item.thumbnail, qPrintable(item.source));
            QCOMPARE(item.inputBytes, QFileInfo(item.source).size());
        }
        seen.clear();
        writeText(sandbox.file(QStringLiteral("notes.txt")), "twelve bytes");
        QVERIFY(addAndLoad(model, {makeImages(sandbox.file(QStringLiteral("more")), 1)[0], sandbox.file(QStringLiteral("notes.txt"))}));
        QCOMPARE(seen, (QList<qint64>{3, 4, 5}));
        const ImageItem& notes = model.items()[4];  // a file that is no image fails by its thumbnail
        QVERIFY(!notes.thumbnail);
        QVERIFY(notes.failed);
        QCOMPARE(notes.state, kUnreadable);
        QCOMPARE(notes.inputBytes, 12);
        QCOMPARE(model.failedCount(), 1);
    }

    void anOvertakenPassAndARemovedItemLeaveEveryThumbnailLoadedOnce() {
        REQUIRE_CORPUS();
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QString flow = corpusFile(QStringLiteral("photos/Flow-5120x2880.jpg"));
        model.add(urls({corpusFile(QStringLiteral("photos/Volna-5120x2880.jpg")),
                        corpusFile(QStringLiteral("orientation/portrait-6.jpg")), flow}));
        model.add(urls(makeImages(sandbox.file(QStringLiteral("set")), 2)));  // a new pass overtakes the first
        QSignalSpy progress(&model, &AppModel::previewsLoadedChanged);
        model.remove(model.items()[0].id);  // its thumbnail is under way, and its job still counts
        QVERIFY(thumbnailsDone(model));
        QCOMPARE(model.items().size(), 4u);
        QCOMPARE(model.previewsLoaded(), 5);
        for (const auto& item : model.items()) QVERIFY2(item.thumbnail, qPrintable(item.source));
        QVERIFY2(progress.count() <= 5, "an overtaken pass applied a result");
        const QImage portrait = *model.items()[0].thumbnail;
        QVERIFY2(portrait.height() == 400 && portrait.width() < 400, "an EXIF-rotated portrait stays upright");
        QCOMPARE(model.items()[1].thumbnail->size(), QSize(400, 225));
        QCOMPARE(model.items()[1].inputBytes, QFileInfo(flow).size());
    }

    void anUnreadableFileKeepsItsStateWhileARunHandlesIt() {
        std::optional<CheckGates> gates;
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        QVERIFY(!addPhoto(sandbox).isEmpty());
        const QString broken = sandbox.file(QStringLiteral("broken.jpg"));
        writeText(broken, "nothing");
        gates.emplace(2);  // 1: the broken file's thumbnail; 2: the fit of the photo, first in the run
        model.add(urls({broken}));
        QVERIFY(gates->reached(1));
        model.fit(false);
        QVERIFY(gates->reached(2));
        gates->release(1);
        QVERIFY(thumbnailsDone(model));
        QVERIFY(model.busy());  // the thumbnail's failure must not mark an image the run owns
        QVERIFY(!model.items()[1].failed);
        QCOMPARE(model.items()[1].state, QStringLiteral("Ready"));
        gates->release(2);
        QVERIFY(runDone(model));
        QVERIFY(model.items()[1].failed);
        QCOMPARE(model.items()[1].state, kUnreadable);
    }
};

QTEST_MAIN(BatchImportTest)
#include "tst_batch_import.moc"
