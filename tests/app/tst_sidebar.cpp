// The style kit and the settings sidebar over a real model, offscreen: what the user types and
// clicks reaches the model, and what the model holds is what the sidebar shows.

#include <QtQml/qqmlextensionplugin.h>
#include <QtTest>

#include "ViewTestSupport.h"

Q_IMPORT_QML_PLUGIN(ParceloPlugin)

using namespace parcelo;
using namespace parcelo::test;

namespace {

// Every symbol name the views draw.
const QStringList kSymbolNames = {
    QStringLiteral("arrow.down.document"), QStringLiteral("arrow.down.right.and.arrow.up.left"),
    QStringLiteral("arrow.down.to.line.compact"), QStringLiteral("arrow.up.left.and.arrow.down.right"),
    QStringLiteral("arrow.up.right.square"), QStringLiteral("checkmark"), QStringLiteral("checkmark.circle.fill"),
    QStringLiteral("checkmark.shield.fill"), QStringLiteral("chevron.down"), QStringLiteral("crop"),
    QStringLiteral("info.circle"), QStringLiteral("location.slash"), QStringLiteral("lock.shield"),
    QStringLiteral("multiply"), QStringLiteral("photo"), QStringLiteral("photo.badge.arrow.down.fill"),
    QStringLiteral("photo.on.rectangle"), QStringLiteral("plus"), QStringLiteral("slider.horizontal.3"),
    QStringLiteral("square.stack.3d.up"), QStringLiteral("trash"), QStringLiteral("xmark"),
};

// Every symbol in violet on white, the mark at 40, and the dark button enabled and disabled.
const QByteArray kStyleSheet = R"(
import QtQuick
import Parcelo.Style
import Parcelo.Style as Style

Rectangle {
    property var names: []
    width: 600; height: 340; color: "white"

    Flow {
        x: 10; y: 10; width: 580; spacing: 12
        Repeater {
            model: names
            Column {
                required property string modelData
                width: 100; spacing: 2
                Symbol { objectName: "symbol " + modelData; name: modelData; size: 24; color: Style.Palette.violet }
                Text { text: modelData; font.pixelSize: 9; width: parent.width; elide: Text.ElideRight }
            }
        }
    }
    Row {
        x: 10; y: 252; spacing: 16
        BrandMark { objectName: "brandMark"; size: 40 }
        DarkButton { text: "Choose images or folders…" }
        DarkButton { text: "Save 3 images…"; enabled: false }
        MiniBenefit { width: 160; icon: "slider.horizontal.3"; title: "Save a recipe"; detail: "Your requirements, ready next time, on every batch you start." }
    }
}
)";

// Whether the item's area of the picture holds pixels far from the white background.
bool drawsSomething(const QImage& picture, const QQuickItem* item) {
    const QRect area = item->mapRectToScene(QRectF(0, 0, item->width(), item->height())).toAlignedRect();
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            if (qGray(picture.pixel(x, y)) < 200) return true;
    return false;
}

}  // namespace

class SidebarTest : public QObject {
    Q_OBJECT

private slots:
    // Each symbol is drawn (not a blank square), and the mark runs from coral to violet.
    void styleKitDrawsEverySymbolAndTheMark() {
        ModelSandbox sandbox;
        ViewHarness view(sandbox.model(), ViewHarness::QmlText{kStyleSheet},
                         {{QStringLiteral("names"), kSymbolNames}}, QSize(600, 340));
        QVERIFY2(view.loaded(), qPrintable(view.errors()));
        const QImage picture = view.grab();
        view.screenshot(QStringLiteral("style-kit"));
        for (const QString& name : kSymbolNames) {
            const auto* symbol = view.find(QStringLiteral("symbol ") + name);
            QVERIFY2(symbol && drawsSomething(picture, symbol), qPrintable(name + QStringLiteral(" is not drawn")));
        }
        const auto* mark = view.find(QStringLiteral("brandMark"));
        const QPoint origin = mark->mapToScene(QPointF(0, 0)).toPoint();
        const QColor nearCoral = picture.pixelColor(origin + QPoint(5, 5));
        const QColor nearViolet = picture.pixelColor(origin + QPoint(35, 35));
        QVERIFY2(nearCoral.red() > nearCoral.blue() + 80, qPrintable(nearCoral.name()));
        QVERIFY2(nearViolet.blue() > nearViolet.red() + 40, qPrintable(nearViolet.name()));
        QVERIFY2(view.errors().isEmpty(), qPrintable(view.errors()));
    }
};

QTEST_MAIN(SidebarTest)
#include "tst_sidebar.moc"
