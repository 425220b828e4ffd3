// The workspace over a real model, offscreen: drops, the image list, the footer's actions, the
// preview stage and the crop editor, and one batch driven from folder to saved copies.

#include <QImageReader>
#include <QtQml/qqmlextensionplugin.h>
#include <QtTest>

#include "CropGeometry.h"
#include "PreviewLoader.h"
#include "ViewTestSupport.h"

Q_IMPORT_QML_PLUGIN(ParceloPlugin)

using namespace parcelo;
using namespace parcelo::test;

namespace {

const QString kContentView = QStringLiteral("ContentView.qml");
const QSize kWindow(900, 640);

// The batch actions as shown, left to right; "(off)" after a disabled one.
QString actions(const ViewHarness& view) {
    QStringList shown;
    for (const char* name : {"pauseButton", "retryButton", "fitButton", "saveButton"}) {
        auto* button = view.find(QLatin1String(name));
        if (!button || !button->isVisible()) continue;
        const QString text = button->property("text").toString();
        shown.append(button->isEnabled() ? text : text + QStringLiteral(" (off)"));
    }
    return shown.join(QStringLiteral(", "));
}

QString textOf(const ViewHarness& view, const QString& name) {
    auto* item = view.find(name);
    return item ? item->property("text").toString() : QStringLiteral("<no %1>").arg(name);
}

bool shown(const ViewHarness& view, const QString& name) {
    auto* item = view.find(name);
    return item && item->isVisible();
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

QStringList copyPhotos(const QString& folder, const QStringList& names) {
    QDir().mkpath(folder);
    QStringList copies;
    for (const QString& name : names) {
        copies.append(QDir(folder).filePath(QFileInfo(name).fileName()));
        if (!QFile::copy(corpusFile(name), copies.last())) qWarning("could not copy %s", qPrintable(name));
    }
    return copies;
}

// Opens the crop editor on the current image and waits for its picture.
void openCropEditor(const ViewHarness& view) {
    auto* editor = view.find<QObject>(QStringLiteral("cropEditor"));
    QSignalSpy opened(editor, SIGNAL(opened()));
    view.click(view.find(QStringLiteral("adjustCropButton")));
    QVERIFY(!opened.isEmpty() || opened.wait());
    QVERIFY(previewLoaded(view, QStringLiteral("cropPreview")));
}

QPointF cropPosition(const ViewHarness& view) {
    return view.find<QObject>(QStringLiteral("cropEditor"))->property("position").toPointF();
}

QRectF rectOf(const QQuickItem* item) { return {item->x(), item->y(), item->width(), item->height()}; }

}  // namespace

class WorkspaceTest : public QObject {
    Q_OBJECT

private slots:
    // Where the picture and the frame sit, and where a drag takes the frame.
    void cropGeometry_data() {
        QTest::addColumn<QSizeF>("image");
        QTest::addColumn<double>("target");
        QTest::addColumn<QPointF>("position");
        QTest::addColumn<QPointF>("translation");
        QTest::addColumn<QString>("travel");
        QTest::addColumn<QRectF>("frame");
        QTest::addColumn<QPointF>("dragged");
        // Area 500 × 300 throughout; a 4:3 picture fills its height: 400 × 300 at x = 50.
        QTest::newRow("wide image, square frame at the left edge")
            << QSizeF(4000, 3000) << 1.0 << QPointF(0, 0.5) << QPointF(50, 0) << "horizontal"
            << QRectF(50, 0, 300, 300) << QPointF(0.5, 0.5);
        QTest::newRow("wide image, frame at the right edge, dragged past it")
            << QSizeF(4000, 3000) << 1.0 << QPointF(1, 0.5) << QPointF(80, 40) << "horizontal"
            << QRectF(150, 0, 300, 300) << QPointF(1, 0.5);
        QTest::newRow("wide image, dragged past the left edge")
            << QSizeF(4000, 3000) << 1.0 << QPointF(0.5, 0.5) << QPointF(-500, 0) << "horizontal"
            << QRectF(100, 0, 300, 300) << QPointF(0, 0.5);
        // A 3:4 picture is 225 × 300 at x = 137.5; a square frame travels 75 points down.
        QTest::newRow("tall image, frame at the top, dragged down a third")
            << QSizeF(3000, 4000) << 1.0 << QPointF(0.5, 0) << QPointF(10, 25) << "vertical"
            << QRectF(137.5, 0, 225, 225) << QPointF(0.5, 1.0 / 3);
        QTest::newRow("same shape: no travel, the drag leaves the centre")
            << QSizeF(2000, 1000) << 2.0 << QPointF(0.5, 0.5) << QPointF(40, 40) << "none"
            << QRectF(0, 0, 500, 250).translated(0, 25) << QPointF(0.5, 0.5);
        QTest::newRow("within the shape tolerance")
            << QSizeF(2001, 1000) << 2.0 << QPointF(0.5, 0.5) << QPointF(40, 0) << "none"
            << QRectF(0.125, 25.0625, 499.75, 249.875) << QPointF(0.5, 0.5);
    }
    void cropGeometry() {
        QFETCH(QSizeF, image);
        QFETCH(double, target);
        QFETCH(QPointF, position);
        QFETCH(QPointF, translation);
        QFETCH(QString, travel);
        QFETCH(QRectF, frame);
        QFETCH(QPointF, dragged);
        const QRectF picture = CropGeometry::picture(QSizeF(500, 300), image);
        const QRectF shownFrame = CropGeometry::frame(picture, target, {position.x(), position.y()});
        QCOMPARE(CropGeometryForView::travel(image, target), travel);
        const QRectF miss(shownFrame.topLeft() - frame.topLeft(), shownFrame.size() - frame.size());
        QVERIFY2(std::abs(miss.x()) + std::abs(miss.y()) + std::abs(miss.width()) + std::abs(miss.height()) < 1e-3,
                 qPrintable(QStringLiteral("frame %1,%2 %3×%4").arg(shownFrame.x()).arg(shownFrame.y())
                                .arg(shownFrame.width()).arg(shownFrame.height())));
        QVERIFY(picture.contains(shownFrame.adjusted(0.01, 0.01, -0.01, -0.01)));
        const CropPosition moved = CropGeometry::dragged({position.x(), position.y()}, translation,
                                                         CropGeometry::slack(picture, shownFrame));
        QCOMPARE(moved.x, dragged.x());
        QCOMPARE(moved.y, dragged.y());
    }

    // Drops hand their file locations to the model in drop order, and are refused while the
    // batch cannot take more; the empty state stays through a folder scan.
    void drops() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        ViewHarness view(model, kContentView, {}, kWindow);
        QVERIFY2(view.loaded(), qPrintable(view.errors()));
        QVERIFY(!shown(view, QStringLiteral("addImagesButton")));
        QVERIFY(!shown(view, QStringLiteral("clearButton")));
        QCOMPARE(actions(view), QStringLiteral("Make it fit (off)"));
        view.screenshot(QStringLiteral("workspace-empty"));

        const QStringList files = makeImages(sandbox.file(QStringLiteral("drop")), 3);
        model.add({QUrl::fromLocalFile(sandbox.file(QStringLiteral("drop")))});
        QVERIFY(model.scanning());
        QVERIFY(shown(view, QStringLiteral("addImagesButton")));
        QVERIFY(!view.find(QStringLiteral("addImagesButton"))->isEnabled());
        QVERIFY(view.find(QStringLiteral("clearButton"))->isEnabled());
        QVERIFY(shown(view, QStringLiteral("chooseButton")));
        QCOMPARE(textOf(view, QStringLiteral("activityLine")),
                 QStringLiteral("Finding images in folders… · Clear cancels importing"));
        QVERIFY(!view.drop(urls({files[0]})));
        view.click(view.find(QStringLiteral("clearButton")));
        QVERIFY(scanDone(model));
        QCOMPARE(model.itemModel()->count(), 0);

        // Reversed, with a web address among them that is no file and is skipped.
        QList<QUrl> dropped = urls({files[2], files[0], files[1]});
        dropped.insert(1, QUrl(QStringLiteral("https://parcelo.app/photo.jpg")));
        bool outlined = false;
        QVERIFY(view.drop(dropped, [&] {
            outlined = shown(view, QStringLiteral("dropOutline"));
            view.screenshot(QStringLiteral("workspace-drop-target"));
        }));
        QVERIFY(outlined);
        QVERIFY(!shown(view, QStringLiteral("dropOutline")));
        QVERIFY(thumbnailsDone(model));
        QStringList order;
        for (const auto& item : model.items()) order.append(item.source);
        QCOMPARE(order, QStringList({files[2], files[0], files[1]}));

        model.fit(false);
        QVERIFY(model.busy());
        QVERIFY(!view.drop(urls(makeImages(sandbox.file(QStringLiteral("more")), 1))));
        QVERIFY(runDone(model));
        QCOMPARE(model.itemModel()->count(), 3);
        QVERIFY2(view.errors().isEmpty(), qPrintable(view.errors()));
    }

    // The list's height, the queue header, the rows and the footer's actions through one batch of
    // five photos of which one cannot be read.
    void batchListAndActions() {
        REQUIRE_CORPUS();
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        ViewHarness view(model, kContentView, {}, kWindow);
        QVERIFY2(view.loaded(), qPrintable(view.errors()));
        auto* list = view.find(QStringLiteral("imageList"));

        QVERIFY(addAndLoad(model, {corpusFile(QStringLiteral("photos/Dune.jpg"))}));
        view.settle();
        QCOMPARE(list->height(), 58.0);
        QCOMPARE(textOf(view, QStringLiteral("queueCount")), QStringLiteral("1 IMAGE"));
        QCOMPARE(actions(view), QStringLiteral("Make it fit"));
        setExactSides(model, QStringLiteral("0"), QStringLiteral("0"));
        QCOMPARE(actions(view), QStringLiteral("Make it fit (off)"));
        model.setExactPixels(false);

        QVERIFY(addAndLoad(model, {corpusFile(QStringLiteral("photos/Elephants.jpg")),
                                   corpusFile(QStringLiteral("corrupt/garden-header-only.jpg")),
                                   corpusFile(QStringLiteral("photos/RainDrops.jpg")),
                                   corpusFile(QStringLiteral("photos/TwoWings.jpg"))}));
        view.settle();
        QCOMPARE(list->height(), 184.0);
        QCOMPARE(textOf(view, QStringLiteral("queueCount")), QStringLiteral("5 IMAGES"));
        QVERIFY(!shown(view, QStringLiteral("savedBytes")));

        view.click(view.find(QStringLiteral("fitButton")));
        QVERIFY(model.busy());
        QCOMPARE(actions(view), QStringLiteral("Pause"));
        auto* progress = view.find(QStringLiteral("progressBar"));
        QVERIFY(progress->isVisible());
        QCOMPARE(progress->property("to").toDouble(), 5.0);
        QVERIFY(QSignalSpy(&model, &AppModel::completedChanged).wait(60'000));
        QCOMPARE(progress->property("value").toDouble(), static_cast<double>(model.completed()));
        QVERIFY(previewLoaded(view, QStringLiteral("stagePreviewLoader")));
        view.screenshot(QStringLiteral("workspace-busy"));
        QVERIFY(runDone(model));

        QCOMPARE(model.readyCount(), qint64{4});
        QVERIFY(shown(view, QStringLiteral("messageLine")));
        view.settle();
        QCOMPARE(list->height(), 121.0);
        QCOMPARE(actions(view), QStringLiteral("Retry failed, Save 4 images…"));
        QVERIFY(textOf(view, QStringLiteral("savedBytes")).endsWith(QStringLiteral(" lighter")));
        QVERIFY(shown(view, QStringLiteral("verificationLine")));
        QCOMPARE(textOf(view, QStringLiteral("requirementSummary")), model.requirementSummary());
        const auto* failedState = view.find(QStringLiteral("imageRow2"))->findChild<QQuickItem*>(QStringLiteral("rowState"));
        QCOMPARE(failedState->property("text").toString(), kUnreadable);
        QCOMPARE(failedState->property("color").value<QColor>().red(), 255);
        model.setSelected(model.items()[2].id);
        view.settle();
        QVERIFY(failedState->isVisible() && list->contains(list->mapFromItem(failedState, QPointF(1, 1))));
        view.screenshot(QStringLiteral("workspace-five-one-failed"));

        QVERIFY(addAndLoad(model, {corpusFile(QStringLiteral("photos/Blinds.jpg"))}));
        QCOMPARE(actions(view), QStringLiteral("Retry failed, Fit remaining, Save 4 images…"));
        setExactSides(model, QStringLiteral("0"), QStringLiteral("0"));
        QCOMPARE(actions(view), QStringLiteral("Retry failed (off), Fit remaining (off), Save 4 images…"));
        model.setExactPixels(false);
        QVERIFY(runFit(model));

        QVERIFY(QDir().mkpath(sandbox.path(QStringLiteral("saved"))));
        model.exportTo(QUrl::fromLocalFile(sandbox.path(QStringLiteral("saved"))));
        QVERIFY(model.exporting());
        QCOMPARE(actions(view), QStringLiteral("Retry failed (off), Saving… (off)"));
        QVERIFY(waitUntil(model, &AppModel::exportingChanged, [&] { return !model.exporting(); }));
        QVERIFY(shown(view, QStringLiteral("showInFolderButton")));
        QVERIFY2(view.errors().isEmpty(), qPrintable(view.errors()));
    }

    // The crop editor over a wide photo and a square size: the frame is as high as the picture,
    // follows the pointer from the left edge to the right edge, and applies only on "Use crop".
    void cropEditor() {
        REQUIRE_CORPUS();
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        setExactSides(model, QStringLiteral("1080"), QStringLiteral("1080"));
        ViewHarness view(model, kContentView, {}, kWindow);
        QVERIFY2(view.loaded(), qPrintable(view.errors()));
        QVERIFY(addAndLoad(model, {corpusFile(QStringLiteral("photos/Garden.jpg"))}));
        openCropEditor(view);

        QCOMPARE(textOf(view, QStringLiteral("cropSubtitle")), QStringLiteral("1080 × 1080 px · Garden.jpg"));
        QVERIFY(shown(view, QStringLiteral("cropSlider")));
        QVERIFY(!shown(view, QStringLiteral("sameShapeNote")));
        auto* frame = view.find(QStringLiteral("cropFrame"));
        auto* picture = view.find(QStringLiteral("cropPicture"));
        QCOMPARE(frame->height(), picture->height());
        QCOMPARE(frame->width(), frame->height());
        const double slack = picture->width() - frame->width();

        view.drag(frame, {-picture->width(), 0});
        QCOMPARE(cropPosition(view), QPointF(0, 0.5));
        QCOMPARE(frame->x(), picture->x());
        view.drag(frame, {std::round(slack / 2), 0});
        QVERIFY(std::abs(cropPosition(view).x() - 0.5) < 1 / slack);
        view.drag(frame, {slack, 0});
        QCOMPARE(cropPosition(view), QPointF(1, 0.5));
        QCOMPARE(rectOf(frame).right(), rectOf(picture).right());
        model.setPixelWidth(QStringLiteral("abc"));
        QCOMPARE(textOf(view, QStringLiteral("cropSubtitle")), QStringLiteral("600 × 1080 px · Garden.jpg"));
        model.setPixelWidth(QStringLiteral("1080"));
        view.screenshot(QStringLiteral("workspace-crop-editor"));

        QTest::keyClick(view.window(), Qt::Key_Escape);
        QCOMPARE(model.items()[0].crop, CropPosition::center());
        QVERIFY(model.messageText().isEmpty());

        openCropEditor(view);
        QCOMPARE(cropPosition(view), QPointF(0.5, 0.5));
        view.drag(frame, {slack, 0});
        QTest::keyClick(view.window(), Qt::Key_Return);
        QCOMPARE(model.items()[0].crop, (CropPosition{1, 0.5}));
        QCOMPARE(model.items()[0].state, QStringLiteral("Crop adjusted · ready to fit"));
        QVERIFY2(view.errors().isEmpty(), qPrintable(view.errors()));
    }

    // One batch as a user drives it: a folder of photos, fit, pause and resume, compare with the
    // original, one crop moved in exact mode, and the copies saved into a folder.
    void oneBatchFromFolderToSavedCopies() {
        REQUIRE_CORPUS();
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        ViewHarness view(model, kContentView, {}, kWindow);
        QVERIFY2(view.loaded(), qPrintable(view.errors()));
        const QString folder = sandbox.file(QStringLiteral("Holiday"));
        copyPhotos(folder, {QStringLiteral("photos/Aqua.jpg"), QStringLiteral("photos/Garden.jpg"),
                            QStringLiteral("photos/YellowFlower.jpg"), QStringLiteral("orientation/landscape-6.jpg")});
        model.add({QUrl::fromLocalFile(folder)});
        QVERIFY(scanDone(model) && thumbnailsDone(model));
        QCOMPARE(model.itemModel()->count(), 4);

        view.click(view.find(QStringLiteral("fitButton")));
        QVERIFY(QSignalSpy(&model, &AppModel::completedChanged).wait(60'000));
        view.click(view.find(QStringLiteral("pauseButton")));
        QVERIFY(runDone(model));
        QVERIFY(model.pendingCount() >= 1);
        QCOMPARE(textOf(view, QStringLiteral("fitButton")), QStringLiteral("Fit remaining"));
        view.click(view.find(QStringLiteral("fitButton")));
        QVERIFY(runDone(model));
        QCOMPARE(model.readyCount(), qint64{4});

        const auto current = *model.current();
        QVERIFY(previewLoaded(view, QStringLiteral("stagePreviewLoader")));
        view.click(view.find(QStringLiteral("segmentOriginal")));
        QVERIFY(model.previewOriginal());
        QCOMPARE(textOf(view, QStringLiteral("previewCaption")),
                 QStringLiteral("Original · ") + AppModel::decimalSize(current.inputBytes));
        QCOMPARE(view.find<PreviewLoader>(QStringLiteral("stagePreviewLoader"))->source(), QUrl::fromLocalFile(current.source));
        QVERIFY(previewLoaded(view, QStringLiteral("stagePreviewLoader")));
        view.screenshot(QStringLiteral("workspace-comparison-original"));
        view.click(view.find(QStringLiteral("segmentFitted")));
        QCOMPARE(textOf(view, QStringLiteral("previewCaption")),
                 QStringLiteral("%1 × %2 · JPG").arg(current.width).arg(current.height));

        // Switching images quickly ends with the picture of the last one chosen.
        auto* stage = view.find<PreviewLoader>(QStringLiteral("stagePreviewLoader"));
        view.click(view.find(QStringLiteral("imageRow0")));
        view.click(view.find(QStringLiteral("imageRow2")));
        QVERIFY(previewLoaded(view, QStringLiteral("stagePreviewLoader")));
        const ImageItem& chosen = model.items()[2];
        QCOMPARE(stage->source(), QUrl::fromLocalFile(*chosen.output));
        const QSize expected = QSize(static_cast<int>(chosen.width), static_cast<int>(chosen.height))
                                   .scaled(1600, 1600, Qt::KeepAspectRatio);
        QCOMPARE(stage->imageSize().width(), expected.width());
        QVERIFY(std::abs(stage->imageSize().height() - expected.height()) <= 1);

        setExactSides(model, QStringLiteral("1080"), QStringLiteral("1080"));
        model.settingsChanged();
        QVERIFY(runFit(model));
        openCropEditor(view);
        view.drag(view.find(QStringLiteral("cropFrame")), {-400, 0});
        view.click(view.find(QStringLiteral("useCropButton")));
        const auto cropped = *model.current();
        QCOMPARE(cropped.crop, (CropPosition{0, 0.5}));
        QCOMPARE(textOf(view, QStringLiteral("fitButton")), QStringLiteral("Fit remaining"));
        view.click(view.find(QStringLiteral("fitButton")));
        QVERIFY(runDone(model));

        const QString saved = sandbox.path(QStringLiteral("saved"));
        QVERIFY(QDir().mkpath(saved));
        QVERIFY(exportInto(model, saved));
        const QStringList names = QDir(saved).entryList(QDir::Files, QDir::Name);
        QCOMPARE(names, QStringList({QStringLiteral("Aqua-parcelo.jpg"), QStringLiteral("Garden-parcelo.jpg"),
                                     QStringLiteral("YellowFlower-parcelo.jpg"), QStringLiteral("landscape-6-parcelo.jpg")}));
        for (const QString& name : names) {
            QFile copy(QDir(saved).filePath(name));
            QVERIFY(copy.open(QIODevice::ReadOnly));
            const QByteArray bytes = copy.readAll();
            QVERIFY2(bytes.size() <= 1'000'000, qPrintable(name));
            QVERIFY2(!bytes.contains("Exif") && !bytes.contains("GPS"), qPrintable(name));
            QCOMPARE(QImageReader(copy.fileName()).size(), QSize(1080, 1080));
        }
        QVERIFY2(view.errors().isEmpty(), qPrintable(view.errors()));
    }
};

QTEST_MAIN(WorkspaceTest)
#include "tst_workspace.moc"
