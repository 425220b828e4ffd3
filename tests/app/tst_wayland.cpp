// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// Parcelo in a Wayland session: Qt's Wayland platform plugin, which the package depends on,
// shows the window, and nothing is printed on the way (with-weston.py also fails the run on
// anything a library writes to standard error).

#include <QQuickWindow>
#include <QRegularExpression>
#include <QtQml/qqmlextensionplugin.h>
#include <QtTest>

#include "AppEngine.h"
#include "AppTestSupport.h"
#include "ParceloApp.h"

Q_IMPORT_QML_PLUGIN(ParceloPlugin)
Q_IMPORT_QML_PLUGIN(Parcelo_StylePlugin)
Q_IMPORT_QML_PLUGIN(Parcelo_ModelPlugin)

using namespace parcelo;
using namespace parcelo::test;
using namespace Qt::StringLiterals;

class WaylandTest : public QObject {
    Q_OBJECT

private slots:
    void theWindowShowsOnWaylandWithoutAWarning() {
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        QCOMPARE(QGuiApplication::platformName(), u"wayland"_s);
        ModelSandbox sandbox;  // the working folder; the session's folders are with-weston.py's

        applyApplicationLook();  // as the program does before it starts
        ParceloApp parcelo;
        QVERIFY(parcelo.start({}));
        QVERIFY(QTest::qWaitForWindowExposed(parcelo.window()));
        QCOMPARE(parcelo.window()->title(), u"Parcelo"_s);

        QMetaObject::invokeMethod(parcelo.window(), &QWindow::close, Qt::QueuedConnection);
        QCOMPARE(QCoreApplication::exec(), 0);
    }
};

QTEST_MAIN(WaylandTest)
#include "tst_wayland.moc"
