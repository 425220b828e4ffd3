// The window loads over a real model, offscreen, and shows the model's counts.

#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QtQml/qqmlextensionplugin.h>
#include <QtTest>

#include "AppTestSupport.h"

Q_IMPORT_QML_PLUGIN(ParceloPlugin)

using namespace parcelo;
using namespace parcelo::test;

class ViewsTest : public QObject {
    Q_OBJECT

private slots:
    void mainWindowLoadsAndFollowsTheModel() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        qmlRegisterSingletonInstance("Parcelo.Model", 1, 0, "AppModel", &model);
        QQmlApplicationEngine engine;
        QStringList warnings;
        connect(&engine, &QQmlEngine::warnings, this, [&warnings](const QList<QQmlError>& errors) {
            for (const auto& error : errors) warnings.append(error.toString());
        });
        engine.addImageProvider(QStringLiteral("thumbnails"), model.makeThumbnailProvider());
        engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
        engine.load(QUrl(QStringLiteral("qrc:/qt/qml/Parcelo/qml/Main.qml")));
        QVERIFY2(engine.rootObjects().size() == 1, qPrintable(warnings.join(QLatin1Char('\n'))));
        auto* window = qobject_cast<QQuickWindow*>(engine.rootObjects().first());
        QVERIFY(window);
        QCOMPARE(window->title(), QStringLiteral("Parcelo"));
        writeImage(sandbox.file(QStringLiteral("a.png")), 20, 20);
        QVERIFY(addAndLoad(model, {sandbox.file(QStringLiteral("a.png"))}));
        QTRY_VERIFY(!window->findChildren<QObject*>().isEmpty());
        bool countShown = false;
        for (QObject* child : window->findChildren<QObject*>())
            countShown = countShown || child->property("text").toString().startsWith(QStringLiteral("1 images · 1 pending"));
        QVERIFY2(countShown, "the window shows the batch counts");
        QVERIFY2(warnings.isEmpty(), qPrintable(warnings.join(QLatin1Char('\n'))));
    }
};

QTEST_MAIN(ViewsTest)
#include "tst_views.moc"
