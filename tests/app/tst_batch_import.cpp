// Adding images, the thumbnail pass, the batch counts, removing and clearing.

#include <QtTest>

#include "AppTestSupport.h"

using namespace parcelo;
using namespace parcelo::test;

namespace {

const QString kDuplicates = QStringLiteral("Those images are already in this batch. Use Clear to start a new one.");
const QString kOverLimit = QStringLiteral("Add up to 500 images per batch.");
const QString kSelectionOverLimit = QStringLiteral(
    "This selection exceeds the 500-image batch limit. No images were added. Choose a smaller folder.");
const QString kUnreadable = QStringLiteral(
    "This file isn’t a supported image, or it could not be read. Try a JPEG, PNG, HEIC, TIFF or BMP.");

// count small images named img{n}.png in folder (made if missing).
QStringList makeImages(const QString& folder, int count, int first = 0) {
    QDir().mkpath(folder);
    QStringList paths;
    for (int i = first; i < first + count; ++i) {
        const QString path = QDir(folder).filePath(QStringLiteral("img%1.png").arg(i));
        writeImage(path, 16, 12, Picture::flat);
        paths.append(path);
    }
    return paths;
}

}  // namespace

class BatchImportTest : public QObject {
    Q_OBJECT

private slots:
    // ---- Counts and the current item ----
    void emptyBatchHasNoCountsAndNoCurrent() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        QCOMPARE(model.pendingCount(), 0);
        QCOMPARE(model.readyCount(), 0);
        QCOMPARE(model.failedCount(), 0);
        QCOMPARE(model.savedBytes(), 0);
        QVERIFY(!model.current());
        QVERIFY(model.currentForView().isEmpty());
    }

    void oneReadyOneFailedOnePendingAreCountedApart() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        writeImage(sandbox.file(QStringLiteral("good.jpg")), 300, 200);
        writeText(sandbox.file(QStringLiteral("notes.jpg")), "not an image");
        QVERIFY(addAndLoad(model, {sandbox.file(QStringLiteral("good.jpg")), sandbox.file(QStringLiteral("notes.jpg"))}));
        QVERIFY(runFit(model));
        writeImage(sandbox.file(QStringLiteral("later.png")), 30, 20);
        QVERIFY(addAndLoad(model, {sandbox.file(QStringLiteral("later.png"))}));
        QCOMPARE(model.items().size(), 3u);
        QCOMPARE(model.readyCount(), 1);
        QCOMPARE(model.failedCount(), 1);
        QCOMPARE(model.pendingCount(), 1);
        const ImageItem& ready = model.items()[0];
        QCOMPARE(model.savedBytes(), std::max<qint64>(ready.inputBytes - ready.outputBytes, 0));
    }

    void aCopyLargerThanItsOriginalSavesNothing() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QString source = sandbox.file(QStringLiteral("photo.jpg"));
        writeImage(source, 400, 300, Picture::noise);
        model.setOutputFormat(OutputFormat::png);
        model.settingsChanged();
        QVERIFY(addAndLoad(model, {source}));
        QVERIFY(runFit(model));
        const ImageItem item = model.items().front();
        QVERIFY2(item.isReady(), qPrintable(item.state));
        QVERIFY2(item.outputBytes > item.inputBytes, "the PNG copy should be larger than the JPEG original");
        QCOMPARE(model.savedBytes(), 0);
    }

    void currentFallsBackToTheFirstItem() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QStringList paths = makeImages(sandbox.file(QStringLiteral("set")), 3);
        QVERIFY(addAndLoad(model, paths));
        QCOMPARE(model.selected(), model.items()[0].id);
        model.setSelected(model.items()[2].id);
        QCOMPARE(model.current()->id, model.items()[2].id);
        QCOMPARE(model.currentForView().value(QStringLiteral("source")).toUrl().toLocalFile(), paths[2]);
        model.remove(model.items()[2].id);
        QCOMPARE(model.current()->id, model.items()[0].id);
        model.setSelected(QUuid::createUuid());
        QCOMPARE(model.current()->id, model.items()[0].id);
    }

    void listModelOffersOneRolePerField() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QStringList paths = makeImages(sandbox.file(QStringLiteral("set")), 1);
        QVERIFY(addAndLoad(model, paths));
        ImageItemModel* list = model.itemModel();
        const QHash<int, QByteArray> roles = list->roleNames();
        const QList<QByteArray> names = roles.values();
        for (const char* field : {"id", "source", "thumbnail", "inputBytes", "output", "outputBytes", "width",
                                  "height", "fileExtension", "state", "failed", "crop"})
            QVERIFY2(names.contains(field), field);
        const QModelIndex first = list->index(0);
        QCOMPARE(list->data(first, ImageItemModel::StateRole).toString(), QStringLiteral("Ready"));
        QCOMPARE(list->data(first, ImageItemModel::IdRole).toString(), uuidText(model.items()[0].id));
        QCOMPARE(list->data(first, ImageItemModel::InputBytesRole).toLongLong(), QFileInfo(paths[0]).size());
        QCOMPARE(list->data(first, ImageItemModel::ThumbnailRole).toString(),
                 QStringLiteral("image://thumbnails/") + uuidText(model.items()[0].id));
    }

    void thumbnailProviderServesImagesByItemId() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QString source = sandbox.file(QStringLiteral("wide.png"));
        writeImage(source, 800, 200);
        QVERIFY(addAndLoad(model, {source}));
        std::unique_ptr<ThumbnailProvider> provider(model.makeThumbnailProvider());
        QSize size;
        const QImage image = provider->requestImage(uuidText(model.items()[0].id), &size, {});
        QCOMPARE(image.size(), QSize(400, 100));
        QCOMPARE(size, QSize(400, 100));
        QVERIFY(provider->requestImage(uuidText(QUuid::createUuid()), &size, {}).isNull());
    }

    // ---- Adding files directly ----
    void newItemsStartReadyAndCentred() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QStringList paths = makeImages(sandbox.file(QStringLiteral("set")), 2);
        QSignalSpy itemsSpy(&model, &AppModel::itemsChanged);
        model.add(urls(paths));
        QVERIFY(itemsSpy.count() >= 1);
        QCOMPARE(model.items().size(), 2u);
        const ImageItem& item = model.items()[0];
        QCOMPARE(item.source, paths[0]);
        QCOMPARE(item.state, QStringLiteral("Ready"));
        QVERIFY(!item.failed && !item.output && item.crop == CropPosition::center());
        QCOMPARE(item.outputBytes, 0);
        QVERIFY(model.items()[0].id != model.items()[1].id);
        QVERIFY(!model.message());
        QVERIFY(model.importing());
    }

    void duplicatesAndEmptySelectionsAreRefused() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QStringList paths = makeImages(sandbox.file(QStringLiteral("set")), 1);
        model.add({});
        QCOMPARE(model.message(), kDuplicates);
        QVERIFY(addAndLoad(model, paths));
        const QString dotted = sandbox.file(QStringLiteral("set/../set/./img0.png"));
        model.add(urls({dotted}));
        QCOMPARE(model.message(), kDuplicates);
        QCOMPARE(model.items().size(), 1u);
    }

    void aFileNamedTwiceIsTakenOnce() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QStringList paths = makeImages(sandbox.file(QStringLiteral("set")), 1);
        QVERIFY(addAndLoad(model, {paths[0], paths[0]}));
        QCOMPARE(model.items().size(), 1u);
    }

    void threeFilesOn498AreRefusedTwoFit() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QStringList batch = makeImages(sandbox.file(QStringLiteral("batch")), 498);
        const QStringList more = makeImages(sandbox.file(QStringLiteral("more")), 3);
        model.add(urls(batch));
        QCOMPARE(model.items().size(), 498u);
        model.add(urls(more));
        QCOMPARE(model.message(), kOverLimit);
        QCOMPARE(model.items().size(), 498u);
        model.add(urls(more.mid(0, 2)));
        QCOMPARE(model.items().size(), 500u);
        QVERIFY(!model.message());
        QVERIFY(waitUntil(model, &AppModel::importingChanged, [&model] { return !model.importing(); }));
        QCOMPARE(model.previewsLoaded(), 500);
    }

    void addingIsRefusedWhileAFolderIsScanned() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        makeImages(sandbox.file(QStringLiteral("folder")), 3);
        const QStringList loose = makeImages(sandbox.file(QStringLiteral("loose")), 1);
        model.add(urls({sandbox.file(QStringLiteral("folder"))}));
        QVERIFY(model.scanning() && model.importing());
        model.add(urls(loose));
        QVERIFY(waitUntil(model, &AppModel::scanningChanged, [&model] { return !model.scanning(); }));
        QCOMPARE(model.items().size(), 3u);
        QVERIFY(std::none_of(model.items().begin(), model.items().end(),
                             [&loose](const ImageItem& item) { return item.source == loose[0]; }));
    }

    // ---- Adding folders ----
    void folderImagesAreAddedSortedWithSkippedCount() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QString folder = sandbox.file(QStringLiteral("folder"));
        makeImages(folder, 4);
        writeText(QDir(folder).filePath(QStringLiteral("notes.txt")), "text");
        QVERIFY(QFile::link(QDir(folder).filePath(QStringLiteral("img0.png")), QDir(folder).filePath(QStringLiteral("link.png"))));
        model.add(urls({folder}));
        QVERIFY(waitUntil(model, &AppModel::scanningChanged, [&model] { return !model.scanning(); }));
        QCOMPARE(model.message(),
                 QStringLiteral("Added 4 images, including subfolders. Skipped 2 unsupported or unreadable entries."));
        QCOMPARE(model.items().size(), 4u);
        QCOMPARE(QFileInfo(model.items()[3].source).fileName(), QStringLiteral("img3.png"));
        QVERIFY(waitUntil(model, &AppModel::importingChanged, [&model] { return !model.importing(); }));
        QCOMPARE(model.previewsLoaded(), 4);
    }

    void folderOfNewImagesRespectsTheBatchLimit() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        model.add(urls(makeImages(sandbox.file(QStringLiteral("batch")), 498)));
        makeImages(sandbox.file(QStringLiteral("three")), 3);
        makeImages(sandbox.file(QStringLiteral("two")), 2);
        model.add(urls({sandbox.file(QStringLiteral("three"))}));
        QVERIFY(waitUntil(model, &AppModel::scanningChanged, [&model] { return !model.scanning(); }));
        QCOMPARE(model.message(), kSelectionOverLimit);
        QCOMPARE(model.items().size(), 498u);
        model.add(urls({sandbox.file(QStringLiteral("two"))}));
        QVERIFY(waitUntil(model, &AppModel::scanningChanged, [&model] { return !model.scanning(); }));
        QCOMPARE(model.message(), QStringLiteral("Added 2 images, including subfolders."));
        QCOMPARE(model.items().size(), 500u);
        makeImages(sandbox.file(QStringLiteral("one")), 1, 900);
        model.add(urls({sandbox.file(QStringLiteral("one"))}));
        QVERIFY(waitUntil(model, &AppModel::scanningChanged, [&model] { return !model.scanning(); }));
        QCOMPARE(model.message(), kSelectionOverLimit);
        QCOMPARE(model.items().size(), 500u);
    }

    void folderWithOnlyKnownImagesAddsNothing() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QString folder = sandbox.file(QStringLiteral("folder"));
        QVERIFY(addAndLoad(model, makeImages(folder, 2)));
        model.add(urls({folder}));
        QVERIFY(waitUntil(model, &AppModel::scanningChanged, [&model] { return !model.scanning(); }));
        QCOMPARE(model.message(),
                 QStringLiteral("No new supported images found. Hidden files, links and app packages are skipped."));
        QCOMPARE(model.items().size(), 2u);
    }

    void clearingDuringAFolderScanLeavesTheBatchEmpty() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QString folder = sandbox.file(QStringLiteral("big"));
        for (int sub = 0; sub < 20; ++sub) makeImages(QDir(folder).filePath(QString::number(sub)), 20, sub * 100);
        QSignalSpy messages(&model, &AppModel::messageChanged);
        model.add(urls({folder}));
        QVERIFY(model.scanning());
        model.clear();
        QVERIFY(!model.scanning());
        QVERIFY(!model.importing());
        QSignalSpy items(&model, &AppModel::itemsChanged);
        QSignalSpy scanning(&model, &AppModel::scanningChanged);
        QSignalSpy importing(&model, &AppModel::importingChanged);
        QTest::qWait(1500);  // longer than the walk of 400 small files takes
        QCOMPARE(items.count(), 0);
        QCOMPARE(scanning.count(), 0);
        QCOMPARE(importing.count(), 0);
        QVERIFY(model.items().empty());
        QVERIFY(!model.message());
        model.add(urls({folder}));
        QVERIFY(waitUntil(model, &AppModel::scanningChanged, [&model] { return !model.scanning(); }));
        QCOMPARE(model.items().size(), 400u);
    }

    void entryCapFailureIsShownAndNothingAdded() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QString folder = sandbox.file(QStringLiteral("many"));
        QDir().mkpath(folder);
        for (int i = 0; i < 20'001; ++i) writeText(QDir(folder).filePath(QStringLiteral("f%1.txt").arg(i)), "");
        model.add(urls({folder}));
        QVERIFY(waitUntil(model, &AppModel::scanningChanged, [&model] { return !model.scanning(); }));
        QCOMPARE(model.message(), QStringLiteral("This folder has more than 20,000 entries. Choose a smaller folder. "
                                                 "No images were added."));
        QVERIFY(model.items().empty());
        QVERIFY(!model.importing());
    }

    // ---- Thumbnails ----
    void previewsLoadedCountsUpOneByOne() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        QList<qint64> seen;
        connect(&model, &AppModel::previewsLoadedChanged, this, [&] { seen.append(model.previewsLoaded()); });
        QVERIFY(addAndLoad(model, makeImages(sandbox.file(QStringLiteral("set")), 3)));
        QCOMPARE(seen, (QList<qint64>{0, 1, 2, 3}));
        QVERIFY(std::all_of(model.items().begin(), model.items().end(),
                            [](const ImageItem& item) { return item.thumbnail && item.inputBytes > 0; }));
    }

    void passStartsFromTheThumbnailsAlreadyLoaded() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        QVERIFY(addAndLoad(model, makeImages(sandbox.file(QStringLiteral("five")), 5)));
        QList<qint64> seen;
        connect(&model, &AppModel::previewsLoadedChanged, this, [&] { seen.append(model.previewsLoaded()); });
        QVERIFY(addAndLoad(model, makeImages(sandbox.file(QStringLiteral("two")), 2)));
        QCOMPARE(seen, (QList<qint64>{5, 6, 7}));
    }

    void aThumbnailIsAtMost400PixelsAndUpright() {
        REQUIRE_CORPUS();
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        QVERIFY(addAndLoad(model, {corpusFile(QStringLiteral("orientation/portrait-6.jpg")),
                                   corpusFile(QStringLiteral("photos/Flow-5120x2880.jpg"))}));
        const QImage portrait = *model.items()[0].thumbnail;
        QVERIFY2(portrait.height() == 400 && portrait.width() < 400, "an EXIF-rotated portrait stays upright");
        QCOMPARE(model.items()[1].thumbnail->size(), QSize(400, 225));
        QCOMPARE(model.items()[1].inputBytes, QFileInfo(corpusFile(QStringLiteral("photos/Flow-5120x2880.jpg"))).size());
    }

    void aTextFileIsMarkedFailedByItsThumbnail() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        writeText(sandbox.file(QStringLiteral("notes.txt")), "twelve bytes");
        QVERIFY(addAndLoad(model, {sandbox.file(QStringLiteral("notes.txt"))}));
        const ImageItem& item = model.items()[0];
        QVERIFY(!item.thumbnail);
        QVERIFY(item.failed);
        QCOMPARE(item.state, kUnreadable);
        QCOMPARE(item.inputBytes, 12);
        QCOMPARE(model.failedCount(), 1);
    }

    void aPassOvertakenByANewOneLoadsEveryThumbnailOnce() {
        REQUIRE_CORPUS();
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        model.add(urls({corpusFile(QStringLiteral("photos/Flow-5120x2880.jpg")),
                        corpusFile(QStringLiteral("photos/Volna-5120x2880.jpg"))}));
        model.add(urls(makeImages(sandbox.file(QStringLiteral("set")), 2)));
        QSignalSpy progress(&model, &AppModel::previewsLoadedChanged);
        QVERIFY(waitUntil(model, &AppModel::importingChanged, [&model] { return !model.importing(); }));
        QCOMPARE(model.previewsLoaded(), 4);
        for (const auto& item : model.items()) QVERIFY2(item.thumbnail, qPrintable(item.source));
        QVERIFY2(progress.count() <= 4, "an overtaken pass applied a result");
    }

    void removingTheItemUnderWayStillCountsItsJob() {
        REQUIRE_CORPUS();
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QStringList small = makeImages(sandbox.file(QStringLiteral("set")), 2);
        model.add(urls({corpusFile(QStringLiteral("photos/Volna-5120x2880.jpg")), small[0], small[1]}));
        model.remove(model.items()[0].id);
        QVERIFY(waitUntil(model, &AppModel::importingChanged, [&model] { return !model.importing(); }));
        QCOMPARE(model.items().size(), 2u);
        QCOMPARE(model.previewsLoaded(), 3);
        QVERIFY(model.items()[0].thumbnail && model.items()[1].thumbnail);
    }

    void anUnreadableFileKeepsItsStateWhileARunHandlesIt() {
        REQUIRE_CORPUS();
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        writeText(sandbox.file(QStringLiteral("broken.jpg")), "nothing");
        model.add(urls({corpusFile(QStringLiteral("photos/Flow-5120x2880.jpg")), sandbox.file(QStringLiteral("broken.jpg"))}));
        model.fit(false);
        QVERIFY(model.busy());
        QSignalSpy items(&model, &AppModel::itemsChanged);
        QVERIFY(waitUntil(model, &AppModel::importingChanged, [&model] { return !model.importing(); }));
        if (model.busy()) {
            QVERIFY(!model.items()[1].failed);
            QCOMPARE(model.items()[1].state, QStringLiteral("Ready"));
        }
        QVERIFY(waitUntil(model, &AppModel::busyChanged, [&model] { return !model.busy(); }));
        QVERIFY(model.items()[1].failed);
        QCOMPARE(model.items()[1].state, kUnreadable);
    }

    // ---- Removing and clearing ----
    void removingMovesTheSelectionOnlyWhenItWasSelected() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        QVERIFY(addAndLoad(model, makeImages(sandbox.file(QStringLiteral("set")), 3)));
        const QUuid first = model.items()[0].id;
        const QUuid second = model.items()[1].id;
        model.setSelected(second);
        model.remove(model.items()[2].id);
        QCOMPARE(model.selected(), second);
        model.remove(second);
        QCOMPARE(model.selected(), first);
        model.remove(first);
        QVERIFY(model.items().empty());
        QVERIFY(!model.selected());
    }

    void removingAnUnknownIdOnlyMovesASelectionOfIt() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        QVERIFY(addAndLoad(model, makeImages(sandbox.file(QStringLiteral("set")), 2)));
        const QUuid stranger = QUuid::createUuid();
        model.setSelected(stranger);
        model.remove(stranger);
        QCOMPARE(model.items().size(), 2u);
        QCOMPARE(model.selected(), model.items()[0].id);
    }

    void clearingResetsTheBatchButNotTheProgressOfPreviews() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        QVERIFY(addAndLoad(model, makeImages(sandbox.file(QStringLiteral("set")), 2)));
        model.add({});
        QVERIFY(model.message());
        model.clear();
        QVERIFY(model.items().empty());
        QVERIFY(!model.selected() && !model.message() && !model.exportedDirectory());
        QCOMPARE(model.completed(), 0);
        QCOMPARE(model.previewsLoaded(), 2);
    }
};

QTEST_MAIN(BatchImportTest)
#include "tst_batch_import.moc"
