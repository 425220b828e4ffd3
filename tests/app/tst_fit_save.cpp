// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// The fit run, saving fitted copies, the working folder, crops and inspection copies.

#include <sys/stat.h>

#include <QtTest>

#include "AppTestSupport.h"
#include "WorkingFolder.h"

using namespace parcelo;
using namespace parcelo::test;

namespace {

// Every entry of a folder, hidden ones included, by name.
QStringList entriesOf(const QString& folder) {
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

std::string bytesOf(const QString& path) { return contents(fsPath(path)); }

// Generated photos photo1.jpg, photo2.jpg, ... that a fit run handles in well under a second each.
QStringList photos(ModelSandbox& sandbox, int count) {
    QStringList paths;
    for (int i = 1; i <= count; ++i) {
        paths.append(sandbox.file(QStringLiteral("photo%1.jpg").arg(i)));
        writeImage(paths.last(), photoLike(600, 400));
    }
    return paths;
}

// The permission bits of a file or folder, as `ls -l` shows them.
int modeOf(const QString& path) {
    struct stat status {};
    return ::lstat(QFile::encodeName(path).constData(), &status) == 0 ? static_cast<int>(status.st_mode & 07777) : -1;
}

}  // namespace

class FitSaveTest : public QObject {
    Q_OBJECT

private slots:
    void pendingImagesAreFittedOneAfterAnotherWhileTheBatchStaysPut() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        QVERIFY(addAndLoad(model, photos(sandbox, 3)));
        model.setSelected(model.items()[2].id);
        QStringList selections;
        connect(&model, &AppModel::selectedChanged, this, [&] { selections.append(model.selectedText()); });
        model.fit(false);
        model.add(urls(makeImages(sandbox.file(QStringLiteral("later")), 1)));
        model.remove(model.items()[0].id);
        model.clear();
        QCOMPARE(model.items().size(), 3u);
        QVERIFY(runDone(model));
        // The preview follows each image in turn, then shows the first ready one.
        QStringList ids;
        for (int i : {0, 1, 2, 0}) ids.append(uuidText(model.items()[i].id));
        QCOMPARE(selections, ids);
        QCOMPARE(model.completed(), 3);
        QVERIFY(!model.message());
        for (const auto& item : model.items()) {
            QCOMPARE(item.state, QStringLiteral("Verified · 600 × 400 · JPG · ≤ 1 MB"));
            QCOMPARE(*item.output, QDir(model.cache()).filePath(uuidText(item.id) + QStringLiteral(".jpg")));
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
        QCOMPARE(model.message(), QStringLiteral("1 ready to save. 2 couldn’t fit; see each image for details."));
        QVERIFY(addAndLoad(model, makeImages(sandbox.file(QStringLiteral("later")), 1)));
        for (const QString& path : paths.mid(0, 2)) writeImage(path, photoLike(300, 200));
        QVERIFY(runFit(model, true));
        QCOMPARE(model.readyCount(), 3);
        QCOMPARE(model.items()[3].state, QStringLiteral("Ready"));
    }

    // The user pauses while the second image's search stands at its first check: the search
    // ends there, and the finished copy stays.
    void pausingStopsTheSearchAtItsNextCheck() {
        CheckGates gates;
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QStringList paths = photos(sandbox, 3);
        QVERIFY(addAndLoad(model, {paths[0]}));
        model.requirements().setTargetKB(9);
        model.fit(false);
        QVERIFY(!model.busy());  // no run under invalid requirements
        model.requirements().setTargetKB(10);  // a search of several steps for each image
        QVERIFY(runFit(model));
        QVERIFY(addAndLoad(model, paths.mid(1)));
        const long gate = gates.holdAt(1);
        model.fit(false);
        QVERIFY(gates.reached(gate));
        model.requirements().setTargetKB(500);  // the run's requirements hold until it ends
        QCOMPARE(model.requirements().targetKB(), 10);
        model.pause();
        gates.release(gate);
        QVERIFY(runDone(model));
        QCOMPARE(gates.checks(), gate);
        QVERIFY(model.items()[0].isReady());
        QCOMPARE(model.items()[1].state, QStringLiteral("Paused · ready to resume"));
        QCOMPARE(model.items()[2].state, QStringLiteral("Ready"));
        QCOMPARE(model.message(), QStringLiteral("Paused. Finished copies are safe. Choose Fit remaining to continue."));
        QVERIFY(runFit(model));
        QCOMPARE(model.readyCount(), 3);
    }

    // TMPDIR names a file, so no working folder can be made: every image fails with the reason
    // and the run goes on. A folder or link planted at the working folder's name is refused and
    // left as it was, and so is a temporary folder that other users may change.
    void withoutAWorkingFolderEveryImageFailsAndTheRunGoesOn() {
        ModelSandbox sandbox;
        const QString blocker = sandbox.path(QStringLiteral("blocker")), files = sandbox.path(QStringLiteral("files"));
        writeText(blocker, "a file where a folder should be");
        qputenv("TMPDIR", QFile::encodeName(blocker));
        AppModel& model = sandbox.model();
        QCOMPARE(model.message(), QStringLiteral("Couldn’t create a working folder: Not a directory"));
        QVERIFY(addAndLoad(model, photos(sandbox, 2)));
        QVERIFY(runFit(model));
        for (const auto& item : model.items()) QCOMPARE(item.state, QStringLiteral("Not a directory"));
        QCOMPARE(model.message(), QStringLiteral("0 ready to save. 2 couldn’t fit; see each image for details."));

        const QString link = sandbox.path(QStringLiteral("tmp/Parcelo-link"));
        QVERIFY(QFile::link(files, link));
        for (const QString& planted : {files, link}) QCOMPARE(WorkingFolder::create(planted), QStringLiteral("File exists"));
        QCOMPARE(modeOf(files), modeOf(sandbox.path(QStringLiteral("tmp"))));  // as made beside it, not made private

        // In a temporary folder that others may change (no sticky bit) they could swap the
        // working folder for their own: none is made there.
        const QString open = sandbox.path(QStringLiteral("open"));
        QVERIFY(QDir().mkpath(open) && QFile::setPermissions(open, QFileDevice::Permissions(0x7777)));
        qputenv("TMPDIR", QFile::encodeName(open));
        QCOMPARE(sandbox.relaunch().message(), QStringLiteral("Couldn’t create a working folder: ") + open + QStringLiteral(" can be changed by another user"));
        QVERIFY(QDir(open).isEmpty());
    }

    // Copies are saved under their originals' names, never over a file. A save checks the
    // requirements as they are now, and the disk fills up halfway through a copy: each failure
    // names its image, nothing is left under a copy's name, and the same save succeeds once there
    // is room again. Removing or clearing deletes the copies, and quitting the working folder.
    void copiesAreSavedNeverOverwritingNorLeftHalfAndGoWithTheirImages() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QFileInfo cache(model.cache());  // the working folder, the user's alone, in the temporary directory
        QCOMPARE(cache.absolutePath(), QFileInfo(sandbox.path(QStringLiteral("tmp"))).absoluteFilePath());
        QVERIFY(cache.fileName().startsWith(u"Parcelo-") && !QUuid(cache.fileName().mid(8)).isNull());
        QCOMPARE(modeOf(model.cache()), 0700);
        QStringList paths = {sandbox.file(QStringLiteral("flat.jpg")), sandbox.file(QStringLiteral("noise.jpg"))};
        writeImage(paths[0], flat(100, 100, {200, 120, 60}));
        writeImage(paths[1], noise(400, 300));
        QVERIFY(addAndLoad(model, paths));
        QVERIFY(runFit(model));
        QCOMPARE(modeOf(*model.items()[0].output), 0600);
        const QString folder = sandbox.path(QStringLiteral("files"));
        QVERIFY(exportInto(model, folder));
        QCOMPARE(model.message(), QStringLiteral("Saved 2 fitted copies. Your originals are untouched."));
        QCOMPARE(model.exportedDirectory(), folder);
        QVERIFY(exportInto(model, folder));  // beside the first copies, never over them
        QCOMPARE(bytesOf(QDir(folder).filePath(QStringLiteral("flat-parcelo-2.jpg"))), bytesOf(*model.items()[0].output));

        // A working copy changed behind the model's back no longer passes the save's check.
        QVERIFY(QFile::remove(*model.items()[1].output));
        QVERIFY(QFile::copy(*model.items()[0].output, *model.items()[1].output));
        const QString saved = sandbox.path(QStringLiteral("saved"));
        QVERIFY(QDir().mkpath(saved));
        {
            const FileSizeLimit diskFull(static_cast<rlim_t>(model.items()[0].outputBytes / 2));
            QVERIFY(exportInto(model, saved));
        }
        const QString noisy = QStringLiteral("noise.jpg: The export didn’t pass its size, pixel or format check. "
                                             "No copy was marked ready.");
        QCOMPARE(model.message(), QStringLiteral("Saved 0 of 2. flat.jpg: File too large • ") + noisy);
        QVERIFY(!model.exportedDirectory());
        QCOMPARE(entriesOf(saved), QStringList());
        QVERIFY(exportInto(model, saved));
        QCOMPARE(model.message(), QStringLiteral("Saved 1 of 2. ") + noisy);
        QCOMPARE(bytesOf(QDir(saved).filePath(QStringLiteral("flat-parcelo.jpg"))), bytesOf(*model.items()[0].output));

        const QString removed = *model.items()[0].output;
        model.remove(model.items()[0].id);
        QVERIFY(!QFileInfo::exists(removed));
        QVERIFY(model.inspectionCopy(model.items()[0].id).location);
        model.clear();
        QCOMPARE(entriesOf(model.cache()), QStringList());  // the inspection copies went too
        QVERIFY(!model.selected() && !model.message() && !model.exportedDirectory());
        model.cleanUp();
        QVERIFY(!QFileInfo::exists(model.cache()));
    }

    // Every inspection makes a fresh copy with a short stem, until the fitted copy is gone.
    void inspectionCopiesAndCrops() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QString source = sandbox.file(QString(60, u'n') + QStringLiteral(".jpg"));
        writeImage(source, photoLike(300, 200));
        QVERIFY(addAndLoad(model, {source, photos(sandbox, 1)[0]}));
        const QUuid id = model.items()[0].id;
        for (const QUuid& without : {id, QUuid::createUuid()})  // not yet fitted; no such image
            QCOMPARE(model.inspectionCopy(without).error, QStringLiteral("No such file or directory"));
        QVERIFY(runFit(model));
        {
            OpenedUrls viewer({QStringLiteral("file")});
            for (int i = 0; i < 2; ++i) model.inspect(uuidText(id));
            QCOMPARE(viewer.urls.count(), 2);
            QVERIFY(viewer.urls[0] != viewer.urls[1]);
            for (const auto& request : viewer.urls) {
                const QFileInfo copy(request.toLocalFile());
                QCOMPARE(copy.absolutePath(), QDir(model.cache()).filePath(QStringLiteral("Inspection")));
                QVERIFY(!QUuid(copy.fileName().left(36)).isNull());
                QCOMPARE(copy.fileName().mid(36), QStringLiteral("-%1.jpg").arg(QString(40, u'n')));
                QCOMPARE(bytesOf(copy.filePath()), bytesOf(*model.items()[0].output));
            }
        }
        QVERIFY(model.message().value_or(QString()).isEmpty());
        // A desktop without an image viewer (here: no desktop at all) is named in the message line.
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("QPlatformServices")));
        model.inspect(uuidText(id));
        QCOMPARE(model.message(), QStringLiteral("Couldn’t open an inspection copy: no image viewer on this computer opened it."));
        QVERIFY(QFile::remove(*model.items()[0].output));  // the fitted copy deleted behind the model's back
        model.inspect(uuidText(id));
        QCOMPARE(model.message(), QStringLiteral("Couldn’t open an inspection copy: No such file or directory"));

        // A new crop in exact mode sends the image back to be fitted; in size mode there is none.
        setExactSides(model, QStringLiteral("200"), QStringLiteral("200"));
        QVERIFY(runFit(model));
        model.setPreviewOriginal(true);
        const QString copy = *model.items()[0].output;
        model.setCrop(id, CropPosition{0.0, 0.5});
        QVERIFY(!QFileInfo::exists(copy));
        const ImageItem& item = model.items()[0];
        QCOMPARE(item.state, QStringLiteral("Crop adjusted · ready to fit"));
        QVERIFY2(item.isPending() && item.width == 0 && item.fileExtension.isEmpty(), "no size of a copy that is gone");
        QVERIFY(!model.previewOriginal());
        QCOMPARE(model.message(), QStringLiteral("Crop updated for this image. Fit it again to check the export."));
        QVERIFY(runFit(model));
        QCOMPARE(model.readyCount(), 2);
        model.requirements().setExactPixels(false);
        model.setCrop(id, CropPosition{0.0, 0.0});  // size mode
        QCOMPARE(model.items()[0].crop, (CropPosition{0.0, 0.5}));
    }
};

QTEST_MAIN(FitSaveTest)
#include "tst_fit_save.moc"
