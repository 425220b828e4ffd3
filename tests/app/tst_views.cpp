// The window loads over a real model, offscreen, with no QML warning.

#include <QtQml/qqmlextensionplugin.h>
#include <QtTest>

#include "ViewTestSupport.h"

Q_IMPORT_QML_PLUGIN(ParceloPlugin)

using namespace parcelo;
using namespace parcelo::test;

class ViewsTest : public QObject {
    Q_OBJECT

private slots:
    void mainWindowLoadsOverTheModel() {
        ModelSandbox sandbox;
        ViewHarness view(sandbox.model());
        QVERIFY2(view.loaded(), qPrintable(view.errors()));
        QCOMPARE(view.window()->title(), QStringLiteral("Parcelo"));
        view.screenshot(QStringLiteral("window-initial"));
        QVERIFY2(view.errors().isEmpty(), qPrintable(view.errors()));
    }
};

QTEST_MAIN(ViewsTest)
#include "tst_views.moc"
