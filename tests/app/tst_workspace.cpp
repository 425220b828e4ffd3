// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// The workspace over a real model, offscreen: drops, the image list, the footer's actions, the
// preview stage and the crop editor, and one batch driven through the whole window.

#include <QtQml/qqmlextensionplugin.h>
#include <QGlyphRun>
#include <QRawFont>
#include <QTextLayout>
#include <QtTest>

#include "PreviewLoader.h"
#include "ViewTestSupport.h"

Q_IMPORT_QML_PLUGIN(ParceloPlugin)

using namespace parcelo;
using namespace parcelo::test;
using namespace Qt::StringLiterals;

namespace {

const QString kContentView = u"ContentView.qml"_s;
// Where the settings sidebar ends and the workspace begins.
constexpr qreal kSidebarWidth = 246;

// The batch actions as shown, left to right; "(off)" after a disabled one.
QString actions(const ViewHarness& view) {
    QStringList shown;
    for (const char* name : {"pauseButton", "retryButton", "fitButton", "saveButton"}) {
        auto* button = view.find(QLatin1String(name));
        if (!button || !button->isVisible()) continue;
        const QString text = button->property("text").toString();
        shown.append(button->isEnabled() ? text : text + u" (off)"_s);
    }
    return shown.join(u", "_s);
}

// Waits until the named preview loader has a picture or an error.
bool previewLoaded(const ViewHarness& view, const QString& name) {
    auto* loader = view.find<PreviewLoader>(name);
    if (!loader) return false;
    QSignalSpy spy(loader, &PreviewLoader::loadingChanged);
    while (loader->loading())
        if (!spy.wait(60'000)) return false;
    return !loader->image().isEmpty();
}

// Opens the crop editor on the current image and waits for its picture.
void openCropEditor(const ViewHarness& view) {
    auto* editor = view.find<QObject>(u"cropEditor"_s);
    QSignalSpy opened(editor, SIGNAL(opened()));
    view.click(view.find(u"adjustCropButton"_s));
    QVERIFY(!opened.isEmpty() || opened.wait());
    QVERIFY(previewLoaded(view, u"cropPreview"_s));
}

QPointF cropPosition(const ViewHarness& view) {
    return view.find<QObject>(u"cropEditor"_s)->property("position").toPointF();
}

}  // namespace

class WorkspaceTest : public QObject {
    Q_OBJECT

private slots:
    // The list's height, the queue header, the rows, the footer's actions and the sidebar's
    // busy state through one batch of five photos of which one cannot be read.
    void batchListAndActions() {
        REQUIRE_CORPUS();
        CheckGates gates;  // holds the fit run while the test looks at the busy window
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        ViewHarness view(model, kContentView);
        QVERIFY2(view.loaded(), qPrintable(view.loadError()));
        auto* list = view.find(u"imageList"_s);

        QVERIFY(addAndLoad(model, {corpusFile(u"photos/Dune.jpg"_s)}));
        view.settle();
        QCOMPARE(list->height(), 58.0);
        QCOMPARE(view.text(u"queueCount"_s), u"1 IMAGE"_s);
        QCOMPARE(actions(view), u"Make it fit"_s);
        setExactSides(model, u"0"_s, u"0"_s);
        QCOMPARE(actions(view), u"Make it fit (off)"_s);
        model.requirements().setExactPixels(false);

        QVERIFY(addAndLoad(model, {corpusFile(u"photos/Elephants.jpg"_s), corpusFile(u"corrupt/garden-header-only.jpg"_s),
                                   corpusFile(u"photos/RainDrops.jpg"_s), corpusFile(u"photos/TwoWings.jpg"_s)}));
        view.settle();
        QCOMPARE(list->height(), 184.0);
        QCOMPARE(view.text(u"queueCount"_s), u"5 IMAGES"_s);
        QVERIFY(!view.visible(u"savedBytes"_s));

        QVERIFY(previewLoaded(view, u"stagePreviewLoader"_s));  // so that the run meets the gate first
        const long gate = gates.holdAt(1);
        view.click(view.find(u"fitButton"_s));
        QVERIFY(gates.reached(gate));
        QCOMPARE(actions(view), u"Pause"_s);
        QCOMPARE(view.property(u"progressBar"_s, "to").toDouble(), 5.0);
        for (const QString& control :
             {u"sizeField"_s, u"exactChoice"_s, u"format png"_s, u"recipeButton"_s, u"plusButton"_s, u"edgeButton"_s})
            QVERIFY2(!view.enabled(control), qPrintable(control + u" reacts while busy"_s));
        auto* preset = view.find(u"sizePreset200"_s);
        QCOMPARE(preset->opacity(), 0.45);
        view.click(preset);
        QCOMPARE(model.requirements().targetKB(), 1000);
        view.screenshot(u"workspace-busy"_s);
        gates.release(gate);
        QVERIFY(runDone(model));

        // A message takes the room of one row.
        QVERIFY(view.visible(u"messageLine"_s));
        view.settle();
        QCOMPARE(list->height(), 121.0);
        QCOMPARE(actions(view), u"Retry failed, Save 4 images…"_s);
        QVERIFY(view.text(u"savedBytes"_s).endsWith(u" lighter"_s));
        const auto* failedState = view.find(u"imageRow2"_s)->findChild<QQuickItem*>(u"rowState"_s);
        QCOMPARE(failedState->property("text").toString(), kUnreadable);
        QCOMPARE(failedState->property("color").value<QColor>().red(), 255);
        model.setSelected(model.items()[2].id);
        view.settle();
        QVERIFY(failedState->isVisible() && list->contains(list->mapFromItem(failedState, QPointF(1, 1))));
        view.screenshot(u"workspace-five-one-failed"_s);

        QVERIFY(QDir().mkpath(sandbox.path(u"saved"_s)));
        model.exportTo(QUrl::fromLocalFile(sandbox.path(u"saved"_s)));
        QCOMPARE(actions(view), u"Retry failed (off), Saving… (off)"_s);
        QVERIFY(waitUntil(model, &AppModel::exportingChanged, [&] { return !model.exporting(); }));
        QVERIFY(view.visible(u"showInFolderButton"_s));
    }

    // The crop editor over a picture and a square size: the frame is the largest square inside
    // the picture, follows the pointer one to one along the picture's long side only, stops at
    // its edges, and applies only on "Use crop" (Return), never on Escape.
    void cropEditorFollowsTheDrag_data() {
        QTest::addColumn<QSize>("image");
        QTest::addColumn<QPointF>("towards");  // the direction of the drag, beyond the picture's edge
        QTest::addColumn<QPointF>("position");
        QTest::newRow("wide, dragged past the left edge") << QSize(400, 300) << QPointF(-1, 0) << QPointF(0, 0.5);
        QTest::newRow("wide, dragged down and past the right edge") << QSize(400, 300) << QPointF(1, 1) << QPointF(1, 0.5);
        QTest::newRow("tall, dragged past the bottom edge") << QSize(300, 400) << QPointF(0, 1) << QPointF(0.5, 1);
        QTest::newRow("same shape: the frame stays centred") << QSize(400, 400) << QPointF(1, 1) << QPointF(0.5, 0.5);
        QTest::newRow("within the shape tolerance") << QSize(1601, 1600) << QPointF(1, 0) << QPointF(0.5, 0.5);
    }
    void cropEditorFollowsTheDrag() {
        QFETCH(QSize, image);
        QFETCH(QPointF, towards);
        QFETCH(QPointF, position);
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        ViewHarness view(model, kContentView);
        QVERIFY2(view.loaded(), qPrintable(view.loadError()));
        view.click(view.find(u"exactChoice"_s));
        view.type(view.find(u"widthField"_s), u"+1080"_s);  // a sign is allowed; the editor frames the number
        view.type(view.find(u"heightField"_s), u"1080"_s);
        writeImage(sandbox.file(u"picture.png"_s), photoLike(image.width(), image.height()));
        QVERIFY(addAndLoad(model, {sandbox.file(u"picture.png"_s)}));
        openCropEditor(view);
        QCOMPARE(view.text(u"cropSubtitle"_s), u"1080 × 1080 px · picture.png"_s);
        const bool travels = position != QPointF(0.5, 0.5);
        QCOMPARE(view.visible(u"cropSlider"_s), travels);
        QCOMPARE(view.visible(u"sameShapeNote"_s), !travels);
        auto* frame = view.find(u"cropFrame"_s);
        auto* picture = view.find(u"cropPicture"_s);
        const QSizeF slack(picture->width() - frame->width(), picture->height() - frame->height());
        QVERIFY(slack.width() > -0.01 && slack.height() > -0.01);  // inside the picture
        QVERIFY(std::min(slack.width(), slack.height()) < 0.01);   // as wide or as high as the picture

        view.drag(frame, towards * (std::max(slack.width(), slack.height()) + 20));  // past the edge
        QCOMPARE(cropPosition(view), position);
        QVERIFY(std::abs(frame->x() - picture->x() - position.x() * slack.width()) < 0.01);
        QVERIFY(std::abs(frame->y() - picture->y() - position.y() * slack.height()) < 0.01);
        QTest::keyClick(view.window(), Qt::Key_Escape);
        QCOMPARE(model.items()[0].crop, CropPosition::center());

        // A quarter of the travel from the centre is half way to the edge.
        openCropEditor(view);
        view.drag(frame, {std::round(towards.x() * slack.width() / 4), std::round(towards.y() * slack.height() / 4)});
        const QPointF quarter = (position + QPointF(0.5, 0.5)) / 2;
        QVERIFY(std::abs(cropPosition(view).x() - quarter.x()) + std::abs(cropPosition(view).y() - quarter.y()) < 0.01);
        view.screenshot(u"workspace-crop-editor-%1x%2"_s.arg(image.width()).arg(image.height()));
        QTest::keyClick(view.window(), Qt::Key_Return);
        const CropPosition chosen{cropPosition(view).x(), cropPosition(view).y()};
        QCOMPARE(model.items()[0].crop, chosen);
        // Reopened, the editor starts where the copy is cut, and "Use crop" keeps it there.
        openCropEditor(view);
        QCOMPARE(cropPosition(view), QPointF(chosen.x, chosen.y));
        QTest::keyClick(view.window(), Qt::Key_Return);
        QCOMPARE(model.items()[0].crop, chosen);
    }

    // The keyboard: Tab visits every control once, in reading order (the sidebar top to bottom,
    // then the workspace, left to right on each line), and the one it reaches shows its ring; the
    // list is one stop, where Up and Down move the current image, stopping at the ends, and
    // Delete removes it. The rows' names as drawn.
    void keyboardMovesInReadingOrderOverTheRows() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        ViewHarness view(model, kContentView);
        QVERIFY2(view.loaded(), qPrintable(view.loadError()));
        const QString flow = sandbox.file(u"Flow-5120x2880.png"_s), broken = sandbox.file(u"broken.jpg"_s);
        writeImage(flow, flat(16, 12, {200, 120, 60}));
        writeText(broken, "not an image");
        const QString last = makeImages(sandbox.file(u"batch"_s), 1)[0];
        QVERIFY(addAndLoad(model, {flow, broken, last}));
        auto* window = view.window();
        view.activate();
        view.settle();

        // Every visible, enabled control that takes Tab; the list stands for its current row.
        QSet<QQuickItem*> tabStops;
        const std::function<void(QQuickItem*)> collect = [&](QQuickItem* item) {
            if (!item->isVisible() || !item->isEnabled()) return;
            if (item->activeFocusOnTab()) tabStops.insert(item);
            for (QQuickItem* child : item->childItems()) collect(child);
        };
        collect(window->contentItem());
        const auto tabStopOf = [](QQuickItem* item) {
            while (item && !item->activeFocusOnTab()) item = item->parentItem();
            return item;
        };
        QList<QQuickItem*> visited;
        for (QTest::keyClick(window, Qt::Key_Tab); !visited.contains(tabStopOf(window->activeFocusItem())) && visited.size() < 60;
             QTest::keyClick(window, Qt::Key_Tab)) {
            QQuickItem* at = window->activeFocusItem();
            QVERIFY2(std::ranges::any_of(at->findChildren<QQuickItem*>(u"focusRing"_s), &QQuickItem::isVisible),
                     qPrintable(at->objectName() + u" shows no ring"_s));
            visited.append(tabStopOf(at));
            if (at->objectName().startsWith(u"imageRow"_s)) view.screenshot(u"workspace-focus-ring"_s);
        }
        const auto names = [&visited] {
            QStringList listed;
            for (const QQuickItem* item : visited) listed.append(item->objectName());
            return listed.join(u", "_s);
        };
        QVERIFY2(QSet<QQuickItem*>(visited.begin(), visited.end()) == tabStops, qPrintable(names()));
        QCOMPARE(visited.first()->objectName(), u"recipeButton"_s);
        for (qsizetype i = 1; i < visited.size(); ++i) {
            const QRectF before = visited[i - 1]->mapRectToScene(visited[i - 1]->boundingRect());
            const QRectF after = visited[i]->mapRectToScene(visited[i]->boundingRect());
            const bool sameSide = (before.left() < kSidebarWidth) == (after.left() < kSidebarWidth);
            const bool readOn = after.top() >= before.bottom() - 1 || (after.top() < before.bottom() && after.left() > before.left());
            QVERIFY2(sameSide ? readOn : after.left() >= kSidebarWidth, qPrintable(names()));
        }

        view.find(u"imageList"_s)->forceActiveFocus(Qt::TabFocusReason);
        const auto currentSource = [&model] { return model.current()->source; };
        QTest::keyClick(window, Qt::Key_Down);
        QCOMPARE(currentSource(), broken);
        for (int i = 0; i < 2; ++i) QTest::keyClick(window, Qt::Key_Down);
        QCOMPARE(currentSource(), last);
        QTest::keyClick(window, Qt::Key_Up);
        QTest::keyClick(window, Qt::Key_Delete);
        QCOMPARE(model.items().size(), 2U);
        QCOMPARE(model.failedCount(), 0);

        // Inter's contextual alternates would draw the x of "5120x2880" as a multiplication sign: a
        // row's name, like every name shown, is drawn glyph for glyph from the font's characters.
        auto* name = view.find(u"imageRow0"_s)->findChild<QQuickItem*>(u"rowName"_s);
        QCOMPARE(name->property("text").toString(), QFileInfo(flow).fileName());
        QTextLayout layout(QFileInfo(flow).fileName(), name->property("font").value<QFont>());
        layout.beginLayout();
        layout.createLine();
        layout.endLayout();
        const QList<QGlyphRun> runs = layout.glyphRuns();
        QCOMPARE(runs.size(), 1);
        QCOMPARE(runs[0].rawFont().familyName(), u"Inter"_s);
        QCOMPARE(runs[0].glyphIndexes(), runs[0].rawFont().glyphIndexesForString(QFileInfo(flow).fileName()));
    }

    // One batch as a user drives it through the window: photos dropped (a drop is refused while
    // a folder is scanned or a run is busy), fitted, the fitted copy compared with the original,
    // and the copies saved into a folder.
    void oneBatchFromDropToSavedCopies() {
        REQUIRE_CORPUS();
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        ViewHarness view(model, kContentView);
        QVERIFY2(view.loaded(), qPrintable(view.loadError()));
        QVERIFY(!view.visible(u"clearButton"_s));
        QCOMPARE(actions(view), u"Make it fit (off)"_s);
        view.screenshot(u"workspace-empty"_s);
        QList<QUrl> photos;
        for (const char* name : {"photos/Aqua.jpg", "photos/Garden.jpg", "orientation/landscape-6.jpg"})
            photos.append(QUrl::fromLocalFile(corpusFile(QLatin1String(name))));

        makeImages(sandbox.file(u"folder"_s), 3);
        model.add({QUrl::fromLocalFile(sandbox.file(u"folder"_s))});
        QVERIFY(!view.enabled(u"addImagesButton"_s) && view.visible(u"chooseButton"_s));
        QCOMPARE(view.text(u"activityLine"_s), u"Finding images in folders… · Clear cancels importing"_s);
        QVERIFY(!view.drop(photos));
        view.click(view.find(u"clearButton"_s));
        QVERIFY(scanDone(model));
        QCOMPARE(model.itemModel()->count(), 0);

        // A web address among them is no file and is skipped.
        bool outlined = false;
        QVERIFY(view.drop({photos[2], QUrl(u"https://parcelo.app/photo.jpg"_s), photos[0], photos[1]}, [&] {
            outlined = view.visible(u"dropOutline"_s);
            view.screenshot(u"workspace-drop-target"_s);
        }));
        QVERIFY(outlined && !view.visible(u"dropOutline"_s));
        QVERIFY(thumbnailsDone(model));
        QStringList order;
        for (const auto& item : model.items()) order.append(item.source);
        QCOMPARE(order, QStringList({photos[2].toLocalFile(), photos[0].toLocalFile(), photos[1].toLocalFile()}));
        view.click(view.find(u"fitButton"_s));
        QVERIFY(!view.drop(photos));
        QVERIFY(runDone(model));

        const auto current = *model.current();
        auto* stage = view.find<PreviewLoader>(u"stagePreviewLoader"_s);
        QVERIFY(previewLoaded(view, u"stagePreviewLoader"_s));
        view.click(view.find(u"segmentOriginal"_s));
        QCOMPARE(view.text(u"previewCaption"_s), u"Original · "_s + AppModel::decimalSize(current.inputBytes));
        QCOMPARE(stage->source(), QUrl::fromLocalFile(current.source));
        QVERIFY(previewLoaded(view, u"stagePreviewLoader"_s));
        view.screenshot(u"workspace-comparison-original"_s);
        view.click(view.find(u"segmentFitted"_s));
        QCOMPARE(view.text(u"previewCaption"_s), u"%1 × %2 · JPG"_s.arg(current.width).arg(current.height));

        // Switching images quickly ends with the picture of the last one chosen.
        view.click(view.find(u"imageRow0"_s));
        view.click(view.find(u"imageRow2"_s));
        QVERIFY(previewLoaded(view, u"stagePreviewLoader"_s));
        QCOMPARE(stage->source(), QUrl::fromLocalFile(*model.items()[2].output));

        // While a folder scan runs nothing can be saved or chosen: the model refuses, and the
        // controls that would ask are off.
        model.add(urls({sandbox.file(u"folder"_s)}));
        QSignalSpy asked(&model, &AppModel::exportFolderRequested);
        QSignalSpy chooser(&model, &AppModel::chooseFilesRequested);
        model.exportCopies();
        model.chooseFiles();
        QCOMPARE(asked.count() + chooser.count(), 0);
        QCOMPARE(actions(view), u"Save 3 images… (off)"_s);
        QVERIFY(scanDone(model) && thumbnailsDone(model));
        QCOMPARE(actions(view), u"Fit remaining, Save 3 images…"_s);

        const QString saved = sandbox.path(u"saved"_s);
        QVERIFY(QDir().mkpath(saved) && exportInto(model, saved));
        QCOMPARE(QDir(saved).entryList(QDir::Files, QDir::Name),
                 QStringList({u"Aqua-parcelo.jpg"_s, u"Garden-parcelo.jpg"_s, u"landscape-6-parcelo.jpg"_s}));
    }
};

QTEST_MAIN(WorkspaceTest)
#include "tst_workspace.moc"
