// The fit run, saving fitted copies, the working folder, crops and inspection copies.

#include <sys/stat.h>

#include <QRegularExpression>
#include <QtTest>

#include "AppTestSupport.h"
#include "FileSizeLimit.h"
#include "WorkingFolder.h"

using namespace parcelo;
using namespace parcelo::test;

namespace {

const QString kFitting = QStringLiteral("Finding the best fit…");

// Every entry of a folder, hidden ones included, by name.
QStringList entriesOf(const QString& folder) {
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

QByteArray contents(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return {};
    return file.readAll();
}

// Generated photos named one.jpg, two.jpg, ... that a fit run handles in well under a second each.
QStringList photos(ModelSandbox& sandbox, int count) {
    QStringList paths;
    for (const char* name : {"one.jpg", "two.jpg", "three.jpg"}) {
        if (paths.size() == count) break;
        paths.append(sandbox.file(QString::fromLatin1(name)));
        writeImage(paths.last(), 600, 400);
    }
    return paths;
}

// The permission bits of a file or folder, as `ls -l` shows them.
int modeOf(const QString& path) {
    struct stat status {};
    return ::lstat(QFile::encodeName(path).constData(), &status) == 0 ? static_cast<int>(status.st_mode & 07777) : -1;
}

QString savedFolder(ModelSandbox& sandbox) {
    const QString folder = sandbox.path(QStringLiteral("saved"));
    QDir().mkpath(folder);
    return folder;
}

}  // namespace

class FitSaveTest : public QObject {
    Q_OBJECT

private slots:
    // ---- The fit run ----
    void pendingImagesAreFittedOneAfterAnotherWhileTheBatchStaysPut() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        QVERIFY(addAndLoad(model, photos(sandbox, 3)));
        model.setSelected(model.items()[2].id);
        QStringList selections;
        connect(&model, &AppModel::selectedChanged, this, [&] { selections.append(model.selectedText()); });
        QStringList states;
        connect(&model, &AppModel::itemsChanged, this, [&] { states.append(model.items()[1].state); });
        model.fit(false);
        writeImage(sandbox.file(QStringLiteral("four.jpg")), 60, 40);
        model.add(urls({sandbox.file(QStringLiteral("four.jpg"))}));
        model.remove(model.items()[0].id);
        model.clear();
        model.exportTo(QUrl::fromLocalFile(sandbox.path(QStringLiteral("files"))));
        QVERIFY(!model.exporting());
        QCOMPARE(model.items().size(), 3u);
        QVERIFY(runDone(model));
        // The preview follows each image in turn, then shows the first ready one.
        QStringList ids;
        for (int i : {0, 1, 2, 0}) ids.append(uuidText(model.items()[i].id));
        QCOMPARE(selections, ids);
        QVERIFY(states.contains(kFitting));
        QCOMPARE(model.completed(), 3);
        QVERIFY(!model.message());
        QCOMPARE(model.appliedSettings(), model.fitSettings());
        for (const auto& item : model.items()) {
            QCOMPARE(item.state, QStringLiteral("Verified · 600 × 400 · JPG · ≤ 1 MB"));
            QCOMPARE(*item.output, QDir(model.cache()).filePath(uuidText(item.id) + QStringLiteral(".jpg")));
            QCOMPARE(QFileInfo(*item.output).size(), item.outputBytes);
        }
    }

    // Between adding and fitting one source was deleted and one overwritten with text: each
    // fails with its reason, the run goes on, and a retry once they are repaired fits only them.
    void failedImagesDoNotStopTheRunAndAreRetriedAlone() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QStringList paths = photos(sandbox, 3);
        QVERIFY(addAndLoad(model, paths));
        QVERIFY(QFile::remove(paths[0]));
        writeText(paths[1], "overwritten with notes");
        QVERIFY(runFit(model));
        QCOMPARE(model.items()[0].state, kUnreadable);
        QCOMPARE(model.items()[1].state, kUnreadable);
        QVERIFY(!model.items()[1].output && model.items()[2].isReady());
        QCOMPARE(model.message(), QStringLiteral("1 ready to save. 2 couldn’t fit; see each image for details."));
        QVERIFY(addAndLoad(model, makeImages(sandbox.file(QStringLiteral("later")), 1)));
        for (const QString& path : paths.mid(0, 2)) writeImage(path, 300, 200);
        QVERIFY(runFit(model, true));
        QCOMPARE(model.readyCount(), 3);
        QCOMPARE(model.items()[3].state, QStringLiteral("Ready"));
        QSignalSpy busy(&model, &AppModel::busyChanged);
        model.fit(true);  // nothing failed: nothing to retry
        QCOMPARE(busy.count(), 0);
    }

    void pausingDuringTheSecondOfThreeImages() {
        std::optional<CancellationCheckHook> hook;
        std::atomic<int> checks{0};
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        QVERIFY(addAndLoad(model, photos(sandbox, 3)));
        model.setTargetKB(10);  // a search of several steps for each image
        model.settingsChanged();
        // The user pauses while the second image's search stands at its second check, and the
        // window's call reaches the model before that check runs.
        const auto pauseAtSecondCheck = [&checks, &model] {
            if (++checks == 2)
                QMetaObject::invokeMethod(&model, [&model] { model.pause(); }, Qt::BlockingQueuedConnection);
        };
        const auto secondStarted = connect(&model, &AppModel::itemsChanged, this, [&] {
            if (!hook && model.items()[1].state == kFitting) hook.emplace(pauseAtSecondCheck);
        });
        model.fit(false);
        QVERIFY(runDone(model));
        disconnect(secondStarted);
        hook.reset();
        QCOMPARE(checks.load(), 2);  // the search ended at the check after the pause
        QVERIFY2(model.items()[0].isReady(), qPrintable(model.items()[0].state));
        QCOMPARE(model.items()[1].state, QStringLiteral("Paused · ready to resume"));
        QVERIFY(model.items()[1].isPending());
        QCOMPARE(model.items()[2].state, QStringLiteral("Ready"));
        QCOMPARE(model.message(), QStringLiteral("Paused. Finished copies are safe. Choose Fit remaining to continue."));
        QCOMPARE(model.completed(), 1);
        QVERIFY(runFit(model));
        QCOMPARE(model.readyCount(), 3);
    }

    void runsNeedImagesAndValidRequirementsAndSavesAReadyCopy() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        QSignalSpy asked(&model, &AppModel::exportFolderRequested);
        model.fit(false);
        QVERIFY(!model.busy());
        QVERIFY(addAndLoad(model, photos(sandbox, 1)));
        model.exportCopies();
        model.setTargetKB(9);
        model.fit(false);
        QVERIFY(!model.busy());
        model.setTargetKB(500);
        QVERIFY(runFit(model));
        QCOMPARE(asked.count(), 0);
        model.exportCopies();
        QCOMPARE(asked.count(), 1);
    }

    void withoutAWorkingFolderEveryImageFailsAndTheRunGoesOn() {
        ModelSandbox sandbox;
        writeText(sandbox.path(QStringLiteral("blocker")), "a file where a folder should be");
        qputenv("TMPDIR", QFile::encodeName(sandbox.path(QStringLiteral("blocker"))));
        AppModel& model = sandbox.model();
        QCOMPARE(model.message(), QStringLiteral("Couldn’t create a working folder: Not a directory"));
        QVERIFY(addAndLoad(model, photos(sandbox, 2)));
        QVERIFY(runFit(model));
        QCOMPARE(model.failedCount(), 2);
        QCOMPARE(model.items()[1].state, QStringLiteral("Not a directory"));  // why the copy could not be written
    }

    // ---- Saving ----
    void copiesAreSavedUnderTheOriginalsNamesNeverOverwritingAndRemovingOrClearingDeletesThem() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QFileInfo cache(model.cache());  // the working folder, made in the temporary directory
        QCOMPARE(cache.absolutePath(), QFileInfo(sandbox.path(QStringLiteral("tmp"))).absoluteFilePath());
        QVERIFY(QRegularExpression(QStringLiteral("^Parcelo-[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}$"))
                    .match(cache.fileName())
                    .hasMatch());
        const QStringList paths = photos(sandbox, 2);
        const QByteArray original = contents(paths[0]);
        QVERIFY(addAndLoad(model, {paths[0]}));
        QVERIFY(runFit(model));
        const QString folder = savedFolder(sandbox);
        QVERIFY(exportInto(model, folder));
        QCOMPARE(model.message(), QStringLiteral("Saved 1 fitted copy. Your originals are untouched."));
        QCOMPARE(model.exportedDirectory(), folder);
        const QByteArray copy = contents(*model.items()[0].output);
        QVERIFY(!copy.isEmpty());
        QVERIFY(addAndLoad(model, {paths[1]}));
        QVERIFY(runFit(model));
        QVERIFY(exportInto(model, folder));
        QCOMPARE(model.message(), QStringLiteral("Saved 2 fitted copies. Your originals are untouched."));
        QCOMPARE(entriesOf(folder), (QStringList{QStringLiteral("one-parcelo-2.jpg"), QStringLiteral("one-parcelo.jpg"),
                                                 QStringLiteral("two-parcelo.jpg")}));
        QCOMPARE(contents(QDir(folder).filePath(QStringLiteral("one-parcelo.jpg"))), copy);
        QCOMPARE(contents(QDir(folder).filePath(QStringLiteral("one-parcelo-2.jpg"))), copy);

        const QString removed = *model.items()[0].output;
        model.remove(model.items()[0].id);
        QVERIFY(!QFileInfo::exists(removed));
        QVERIFY(model.inspectionCopy(model.items()[0].id).location);
        model.clear();
        QCOMPARE(entriesOf(model.cache()), QStringList());  // the inspection copies went too
        QVERIFY(!model.selected() && !model.message() && !model.exportedDirectory());
        QCOMPARE(model.completed(), 0);
        QCOMPARE(entriesOf(folder).size(), 3);
        QCOMPARE(contents(paths[0]), original);
        model.cleanUp();
        QVERIFY(!QFileInfo::exists(model.cache()));
    }

    // The save checks the requirements as they are now, and the disk fills up halfway through a
    // copy: each failure names its image, nothing is left under a copy's name, and the same save
    // succeeds once there is room again.
    void failedSavesNameTheirImagesLeaveNoPartialFileAndCanBeRepeated() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        QStringList paths = {sandbox.file(QStringLiteral("flat.jpg")), sandbox.file(QStringLiteral("noise.jpg"))};
        writeImage(paths[0], 100, 100, Picture::flat);
        writeImage(paths[1], 400, 300, Picture::noise);
        QVERIFY(addAndLoad(model, paths));
        QVERIFY(runFit(model));
        QVERIFY2(model.items()[1].outputBytes > 10'000, "the noise copy must exceed the smaller limit");
        model.setTargetKB(10);  // edited, not yet reported
        const QString folder = savedFolder(sandbox);
        {
            const FileSizeLimit diskFull(static_cast<rlim_t>(model.items()[0].outputBytes / 2));
            QVERIFY(exportInto(model, folder));
        }
        const QString noise = QStringLiteral("noise.jpg: The export didn’t pass its size, pixel or format check. "
                                             "No copy was marked ready.");
        QCOMPARE(model.message(), QStringLiteral("Saved 0 of 2. flat.jpg: File too large • ") + noise);
        QVERIFY(!model.exportedDirectory());
        QCOMPARE(entriesOf(folder), QStringList());
        QVERIFY(exportInto(model, folder));
        QCOMPARE(model.message(), QStringLiteral("Saved 1 of 2. ") + noise);
        QCOMPARE(model.exportedDirectory(), folder);
        QCOMPARE(contents(QDir(folder).filePath(QStringLiteral("flat-parcelo.jpg"))), contents(*model.items()[0].output));
    }

    // Other users of the machine can read nothing of the working folder, and nothing planted at
    // its name is used; saved copies get the modes of any new file of the user.
    void theWorkingFolderIsTheUsersAloneAndSavedCopiesFollowTheUmask() {
        ModelSandbox sandbox;
        const mode_t userMask = ::umask(027);
        AppModel& model = sandbox.model();
        QCOMPARE(modeOf(model.cache()), 0700);
        QVERIFY(addAndLoad(model, photos(sandbox, 1)));
        QVERIFY(runFit(model));
        QCOMPARE(modeOf(*model.items()[0].output), 0600);
        const QString folder = savedFolder(sandbox);
        QVERIFY(exportInto(model, folder));
        ::umask(userMask);
        QCOMPARE(modeOf(QDir(folder).filePath(QStringLiteral("one-parcelo.jpg"))), 0640);

        const QString plantedLink = sandbox.path(QStringLiteral("tmp/Parcelo-link"));
        QVERIFY(QFile::link(sandbox.path(QStringLiteral("files")), plantedLink));
        const int filesMode = modeOf(sandbox.path(QStringLiteral("files")));
        QCOMPARE(WorkingFolder::create(plantedLink), QStringLiteral("File exists"));
        QCOMPARE(modeOf(sandbox.path(QStringLiteral("files"))), filesMode);
    }

    // ---- Inspection copies ----
    void everyInspectionMakesAFreshCopyWithAShortStemUntilTheCopyIsGone() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QString longName = QString(60, QLatin1Char('n')) + QStringLiteral(".jpg");
        writeImage(sandbox.file(longName), 300, 200);
        QVERIFY(addAndLoad(model, {sandbox.file(longName)}));
        const QUuid id = model.items()[0].id;
        QCOMPARE(model.inspectionCopy(id).error, QStringLiteral("No such file or directory"));  // not yet fitted
        QVERIFY(runFit(model));
        const auto first = model.inspectionCopy(id);
        const auto second = model.inspectionCopy(id);
        QVERIFY2(first.location && second.location, qPrintable(first.error));
        QVERIFY(*first.location != *second.location);
        const QFileInfo copy(*first.location);
        QCOMPARE(copy.absolutePath(), QDir(model.cache()).filePath(QStringLiteral("Inspection")));
        QCOMPARE(modeOf(copy.absolutePath()), 0700);
        QCOMPARE(copy.fileName().mid(37), QString(40, QLatin1Char('n')) + QStringLiteral(".jpg"));
        QCOMPARE(contents(*first.location), contents(*model.items()[0].output));
        QSignalSpy opened(&model, &AppModel::openExternallyRequested);
        model.inspect(uuidText(id));
        QVERIFY(opened.count() == 1 && opened[0][0].toUrl().toLocalFile().startsWith(copy.absolutePath()));

        QVERIFY(QFile::remove(*model.items()[0].output));  // the fitted copy deleted behind the model's back
        QVERIFY(exportInto(model, savedFolder(sandbox)));
        QCOMPARE(model.message(), QStringLiteral("Saved 0 of 1. ") + longName + QStringLiteral(": No such file or directory"));
        model.inspect(uuidText(id));
        QCOMPARE(model.message(), QStringLiteral("Couldn’t open an inspection copy: No such file or directory"));
    }

    // ---- Crops ----
    void aNewCropInExactModeSendsTheImageBackToBeFitted() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        setExactSides(model, QStringLiteral("200"), QStringLiteral("200"));
        model.settingsChanged();
        QVERIFY(addAndLoad(model, photos(sandbox, 2)));
        QVERIFY(runFit(model));
        const QUuid id = model.items()[0].id;
        QSignalSpy messages(&model, &AppModel::messageChanged);
        model.setCrop(id, CropPosition::center());  // unchanged
        model.setCrop(id, CropPosition{1.5, 0.5});  // invalid
        QCOMPARE(messages.count(), 0);
        model.setPreviewOriginal(true);
        const QString copy = *model.items()[0].output;
        model.setCrop(id, CropPosition{0.0, 0.5});
        QVERIFY(!QFileInfo::exists(copy));
        const ImageItem& item = model.items()[0];
        QCOMPARE(item.state, QStringLiteral("Crop adjusted · ready to fit"));
        QVERIFY2(item.isPending() && item.width == 0 && item.fileExtension.isEmpty(), "no size of a copy that is gone");
        QCOMPARE(item.crop, (CropPosition{0.0, 0.5}));
        QCOMPARE(model.completed(), 1);
        QVERIFY(!model.previewOriginal());
        QCOMPARE(model.message(), QStringLiteral("Crop updated for this image. Fit it again to check the export."));
        QVERIFY(runFit(model));
        QCOMPARE(model.readyCount(), 2);
        model.setExactPixels(false);
        model.setCrop(id, CropPosition{0.0, 0.0});  // size mode
        QCOMPARE(model.items()[0].crop, (CropPosition{0.0, 0.5}));
    }
};

QTEST_MAIN(FitSaveTest)
#include "tst_fit_save.moc"
