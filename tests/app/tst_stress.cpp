// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// Rounds of real work on real files where the user's actions arrive while work is running: the
// work is held at a drawn check of the engine or the folder scan, the action is taken, the work
// goes on. After every round nothing is lost or left behind and the next operation works. The
// seed fixes the order of actions and where they land, so a failing round replays:
//   PARCELO_STRESS_SEED=7 PARCELO_STRESS_ROUNDS=200 build/tests/app/tst_stress

#include "AppTestSupport.h"

#include <random>

#include <QDirIterator>
#include <QEventLoop>
#include <QQmlEngine>
#include <QScopeGuard>
#include <QTimer>
#include <QtTest>

#include "FitError.h"
#include "ImageFitter.h"
#include "ImageImport.h"
#include "PreviewLoader.h"

using namespace parcelo;
using namespace parcelo::test;

namespace {

// The preview stage as the workspace binds it: it shows the current image, whichever that is.
class Stage {
public:
    explicit Stage(const AppModel& model) {
        engine_.addImageProvider(QStringLiteral("previews"), new ImageStoreProvider);
        QQmlEngine::setContextForObject(&loader_, engine_.rootContext());
        loader_.classBegin();
        loader_.componentComplete();
        QObject::connect(&model, &AppModel::currentChanged, &loader_, [this, &model] {
            const auto current = model.current();
            loader_.setSource(current ? QUrl::fromLocalFile(current->source) : QUrl());
        });
    }
    [[nodiscard]] PreviewLoader& loader() { return loader_; }

private:
    QQmlEngine engine_;
    PreviewLoader loader_;
};

bool idle(const AppModel& model, Stage& stage) {
    return !model.busy() && !model.scanning() && !model.importing() && !model.exporting() &&
           !stage.loader().loading();
}

enum class Action { addTree, addFiles, addMany, fit, retryFailed, pauseAndResume, clear, removeCurrent, removeAny,
                    changeRequirements, save, saveThenTouch };
constexpr int kActions = 12;

// The files every round draws from: a tree with subfolders, a link, an unreadable file and a
// folder without read permission; loose photos; and a folder of 500 images.
struct Files {
    QString tree;
    QStringList loose;
    QString many;
};

Files makeFiles(const ModelSandbox& sandbox) {
    Files files{sandbox.file(QStringLiteral("tree")), {}, sandbox.file(QStringLiteral("many"))};
    QString folder = files.tree;
    for (int depth = 0; depth < 3; ++depth, folder += QStringLiteral("/deeper")) {
        makeImages(folder, 4, depth * 4);
        writeImage(folder + QStringLiteral("/Photo ü %1.jpg").arg(depth), photoLike(320 + depth * 40, 240));
    }
    writeText(files.tree + QStringLiteral("/notes.jpg"), "not an image");
    QFile::link(files.tree + QStringLiteral("/deeper"), files.tree + QStringLiteral("/link"));
    QDir(files.tree).mkdir(QStringLiteral("closed"));
    QFile::setPermissions(files.tree + QStringLiteral("/closed"), QFileDevice::WriteOwner);
    for (int i = 0; i < 6; ++i) {
        files.loose.append(sandbox.file(QStringLiteral("loose%1.jpg").arg(i)));
        writeImage(files.loose.last(), photoLike(200 + 30 * i, 150));
    }
    makeImages(files.many, 500);
    return files;
}

}  // namespace

class StressTest : public QObject {
    Q_OBJECT

private slots:
    void userActionsWhileWorkRunsLoseAndLeaveNothing() {
        const auto seed = qEnvironmentVariableIntValue("PARCELO_STRESS_SEED");
        const int rounds = qEnvironmentVariableIsSet("PARCELO_STRESS_ROUNDS")
                               ? qEnvironmentVariableIntValue("PARCELO_STRESS_ROUNDS")
                               : 4;
        // By name: Qt then builds the queued call itself, and no object of this test crosses
        // threads behind Qt's back.
        CheckGates points([this] { QMetaObject::invokeMethod(this, "arrived", Qt::QueuedConnection); });
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        Stage stage(model);
        const auto letGo = qScopeGuard([&points] { points.releaseAll(); });  // a failed check leaves no work held
        files_ = makeFiles(sandbox);
        std::mt19937 random(static_cast<std::mt19937::result_type>(seed));
        for (round_ = 0; round_ < rounds; ++round_) {
            const QString where = QStringLiteral("seed %1, round %2").arg(seed).arg(round_);
            std::vector<Action> plan{Action::addTree, Action::fit, Action::addMany};
            for (int i = 0; i < 9; ++i) plan.push_back(static_cast<Action>(random() % kActions));
            for (const Action action : plan) {
                if (random() % 3 != 0) {
                    points.holdAt(static_cast<int>(random() % 12) + 1);
                    QVERIFY2(settle(model, stage, points), qPrintable(where));
                }
                midWork_ += idle(model, stage) ? 0 : 1;
                ++actions_;
                act(model, action, random);
                points.releaseAll();
                if (QTest::currentTestFailed()) return;
            }
            model.pause();
            while (!idle(model, stage)) {
                points.releaseAll();
                QVERIFY2(settle(model, stage, points), qPrintable(where));
            }
            checkNothingLost(model, where);
            checkStageShowsTheCurrentImage(model, stage.loader(), where);
            if (QTest::currentTestFailed()) return;
            checkNextOperationWorks(model, sandbox, where);
            if (QTest::currentTestFailed()) return;
        }
        qInfo("seed %d: %d rounds, %d of %d actions taken while work ran", seed, rounds, midWork_, actions_);
        QFile::setPermissions(files_.tree + QStringLiteral("/closed"), QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                                                          QFileDevice::ExeOwner);
    }

signals:
    void arrived();

private:
    // Runs the event loop until work stands at a gate or nothing runs; false when neither came.
    bool settle(AppModel& model, Stage& stage, const CheckGates& points) {
        QEventLoop loop;
        const auto quitWhenSettled = [&] {
            if (points.holding() || idle(model, stage)) loop.quit();
        };
        for (const auto signal : {&AppModel::busyChanged, &AppModel::scanningChanged, &AppModel::importingChanged,
                                  &AppModel::exportingChanged})
            QObject::connect(&model, signal, &loop, quitWhenSettled);
        QObject::connect(&stage.loader(), &PreviewLoader::loadingChanged, &loop, quitWhenSettled);
        QObject::connect(this, &StressTest::arrived, &loop, quitWhenSettled);
        QTimer::singleShot(std::chrono::minutes(2), &loop, [&loop] { loop.exit(1); });  // a hang, not a wait
        return points.holding() || idle(model, stage) || loop.exec() == 0;
    }

    void act(AppModel& model, Action action, std::mt19937& random) {
        const auto any = [&]() -> std::optional<QUuid> {
            if (model.items().empty()) return std::nullopt;
            return model.items()[random() % model.items().size()].id;
        };
        switch (action) {
        case Action::addTree: return model.add(urls({files_.tree, files_.loose[0]}));
        case Action::addFiles: return model.add(urls(files_.loose.mid(static_cast<qsizetype>(random() % 6))));
        case Action::addMany: return model.add(urls({files_.many}));
        case Action::fit: return model.fit(false);
        case Action::retryFailed: return model.fit(true);
        case Action::pauseAndResume:
            model.pause();
            return model.fit(false);
        case Action::clear: return model.clear();
        case Action::removeCurrent:
            if (const auto current = model.current()) model.remove(current->id);
            return;
        case Action::removeAny:
            if (const auto id = any()) model.remove(*id);
            return;
        case Action::changeRequirements:
            model.requirements().setTargetKB(random() % 2 == 0 ? 1000 : 300);
            return model.requirements().setMaxEdge(random() % 2 == 0 ? 2560 : 96);
        case Action::save: return model.exportTo(QUrl::fromLocalFile(saveFolder()));
        case Action::saveThenTouch: return saveThenTouch(model);
        }
    }

    QString saveFolder() {
        const QString folder = QDir::temp().filePath(QStringLiteral("saved-%1-%2").arg(round_).arg(++saves_));
        QDir().mkpath(folder);
        return folder;
    }

    // While a save runs, nothing may change the batch.
    void saveThenTouch(AppModel& model) {
        model.exportTo(QUrl::fromLocalFile(saveFolder()));
        if (!model.exporting()) return;
        const std::vector<ImageItem> before = model.items();
        model.clear();
        if (!before.empty()) model.remove(before.front().id);
        model.add(urls({files_.loose[5]}));
        model.fit(false);
        QCOMPARE(model.items().size(), before.size());
        QVERIFY(!model.busy());
    }

    // The counts add up, every ready copy is there and verifies, and the working folder holds
    // exactly the copies the items point to.
    static void checkNothingLost(const AppModel& model, const QString& where) {
        const auto& items = model.items();
        QVERIFY2(items.size() <= 500, qPrintable(where));
        QCOMPARE(model.pendingCount() + model.readyCount() + model.failedCount(), static_cast<int>(items.size()));
        std::set<std::filesystem::path> sources;
        QSet<QString> outputs;
        for (const ImageItem& item : items) {
            QVERIFY2(sources.insert(ImageImport::standardized(fsPath(item.source))).second, qPrintable(where));
            QVERIFY2(!(item.output && item.failed), qPrintable(where));
            if (!item.output) continue;
            outputs.insert(*item.output);
            const std::string bytes = contents(fsPath(*item.output));
            QCOMPARE(static_cast<qint64>(bytes.size()), item.outputBytes);
            const FitResult copy{{bytes.begin(), bytes.end()}, item.width, item.height,
                                 item.fileExtension.toStdString(), item.inputBytes};
            try {
                ImageFitter::verify(copy, model.appliedSettings());
            } catch (const FitError& error) {
                QFAIL(qPrintable(where + QStringLiteral(": ") + item.fileName() + QStringLiteral(" ") +
                                 QString::fromUtf8(error.errorDescription().data())));
            }
        }
        QSet<QString> inFolder;
        for (QDirIterator it(model.cache(), QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
             it.hasNext();)
            inFolder.insert(it.next());
        QCOMPARE(inFolder, outputs);
    }

    // The preview ends on the current image: its picture, or the reason it has none.
    static void checkStageShowsTheCurrentImage(const AppModel& model, const PreviewLoader& loader, const QString& where) {
        const auto current = model.current();
        QCOMPARE(loader.source(), current ? QUrl::fromLocalFile(current->source) : QUrl());
        if (current) QVERIFY2(loader.image().isEmpty() != loader.error().isEmpty(), qPrintable(where));
    }

    // A fresh image is added, fitted and saved as if nothing had happened before.
    void checkNextOperationWorks(AppModel& model, ModelSandbox& sandbox, const QString& where) {
        model.clear();
        QVERIFY2(model.items().empty() && !model.importing() && !model.scanning(), qPrintable(where));
        const QString fresh = sandbox.file(QStringLiteral("fresh%1.jpg").arg(round_));
        writeImage(fresh, photoLike(240, 180));
        QVERIFY2(addAndLoad(model, {fresh}), qPrintable(where));
        QVERIFY2(runFit(model) && model.readyCount() == 1, qPrintable(where));
        const QString folder = saveFolder();
        QVERIFY2(exportInto(model, folder), qPrintable(where));
        QCOMPARE(model.messageText(), QStringLiteral("Saved 1 fitted copy. Your originals are untouched."));
        QCOMPARE(QDir(folder).entryList(QDir::Files).size(), 1);
    }

    Files files_;
    int round_ = 0;
    int saves_ = 0;
    int actions_ = 0;
    int midWork_ = 0;
};

QTEST_GUILESS_MAIN(StressTest)
#include "tst_stress.moc"
