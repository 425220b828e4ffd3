// The style kit and the settings sidebar over a real model, offscreen: what the user types and
// clicks reaches the model, and what the model holds is what the sidebar shows.

#include <atomic>
#include <semaphore>

#include <QAccessible>
#include <QtQml/qqmlextensionplugin.h>
#include <QtTest>

#include "CancellationCheck.h"
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

// What a text item shows, and in which colour.
QString shown(const QQuickItem* item) { return item ? item->property("text").toString() : QStringLiteral("<missing>"); }
QRgb colourOf(const QQuickItem* item) { return item->property("color").value<QColor>().rgb(); }

const QRgb kSecondary = QColor::fromRgbF(0.45f, 0.43f, 0.5f).rgb();
const QRgb kRed = QColor::fromRgbF(1.0f, 0.23f, 0.19f).rgb();

// Whether a popup of the sidebar (found by objectName) is open.
bool isOpen(const ViewHarness& view, const QString& popup) {
    auto* object = view.find<QObject>(popup);
    return object && object->property("visible").toBool();
}

// The texts assistive technologies read for the item.
QString accessibleText(QQuickItem* item, QAccessible::Text text) {
    QAccessibleInterface* accessible = item ? QAccessible::queryAccessibleInterface(item) : nullptr;
    return accessible ? accessible->text(text) : QString();
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

    // The size field: what is typed becomes the limit by the integer rule, and the note says
    // whether the limit is allowed. A preset writes both the limit and the field.
    void sizeFieldAndPresetsSetTheLimit() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        ViewHarness view(model);
        QVERIFY2(view.loaded(), qPrintable(view.errors()));
        view.screenshot(QStringLiteral("sidebar-initial"));
        auto* field = view.find(QStringLiteral("sizeField"));
        auto* note = view.find(QStringLiteral("sizeNote"));
        QVERIFY(field && note);
        QCOMPARE(accessibleText(field, QAccessible::Name), QStringLiteral("Custom limit in kilobytes"));
        QCOMPARE(accessibleText(field, QAccessible::Description), QStringLiteral("10 to 25,000 kilobytes per image"));

        const struct {
            QString typed;
            qint64 limit;
            bool allowed;
        } cases[] = {{QStringLiteral("25000"), 25000, true}, {QStringLiteral("10"), 10, true},
                     {QStringLiteral("abc"), 0, false},     {QStringLiteral(" 1000"), 0, false},
                     {QStringLiteral("99999999999999999999"), 0, false}, {QStringLiteral("25001"), 25001, false}};
        for (const auto& example : cases) {
            view.type(field, example.typed);
            QCOMPARE(model.customKB(), example.typed);
            QCOMPARE(model.targetKB(), example.limit);
            QCOMPARE(shown(note), example.allowed ? QStringLiteral("Per image · 10 KB to 25 MB")
                                                  : QStringLiteral("Enter a limit from 10 to 25,000 KB."));
            QCOMPARE(colourOf(note), example.allowed ? kSecondary : kRed);
        }
        view.screenshot(QStringLiteral("sidebar-size-25001"));
        QCOMPARE(model.activeRecipeName(), std::nullopt);

        auto* oneMegabyte = view.find(QStringLiteral("sizePreset1000"));
        QCOMPARE(shown(oneMegabyte), QStringLiteral("1 MB"));
        view.click(oneMegabyte);
        QCOMPARE(model.targetKB(), 1000);
        QCOMPARE(shown(field), QStringLiteral("1000"));
        QVERIFY(oneMegabyte->property("selected").toBool());
        QVERIFY(QAccessible::queryAccessibleInterface(oneMegabyte)->state().selected);
        QVERIFY(!view.find(QStringLiteral("sizePreset500"))->property("selected").toBool());
        QCOMPARE(sandbox.preferences().contains(QStringLiteral("lastSettings.v1")), true);
        QVERIFY2(view.errors().isEmpty(), qPrintable(view.errors()));
    }

    // Exact pixels: the two sides and their note; Flexible: the edge picker and its note.
    void dimensionsCardEditsSidesAndEdge() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        ViewHarness view(model);
        QVERIFY2(view.loaded(), qPrintable(view.errors()));
        auto* note = view.find(QStringLiteral("dimensionsNote"));
        QCOMPARE(shown(note), QStringLiteral("May shrink to fit the KB limit.\nNever enlarged."));

        view.click(view.find(QStringLiteral("exactChoice")));
        QVERIFY(model.exactPixels());
        QVERIFY(!view.find(QStringLiteral("edgeButton"))->isVisible());
        auto* width = view.find(QStringLiteral("widthField"));
        auto* height = view.find(QStringLiteral("heightField"));
        QCOMPARE(accessibleText(width, QAccessible::Name), QStringLiteral("Exact width in pixels"));
        const QString valid = QStringLiteral("Adjust each crop in the preview.\n64–4096 px per side.");
        const QString invalid = QStringLiteral("Use 64–4096 pixels for each side.");
        const struct {
            QString width, height;
            bool allowed;
        } cases[] = {{QStringLiteral("64"), QStringLiteral("4096"), true}, {QStringLiteral("63"), QStringLiteral("800"), false},
                     {QStringLiteral("600"), QString(), false},            {QStringLiteral("600"), QStringLiteral("800"), true}};
        for (const auto& example : cases) {
            view.type(width, example.width);
            view.type(height, example.height);
            QCOMPARE(model.pixelWidth(), example.width);
            QCOMPARE(model.pixelHeight(), example.height);
            QCOMPARE(shown(note), example.allowed ? valid : invalid);
            QCOMPARE(colourOf(note), example.allowed ? kSecondary : kRed);
        }
        QCOMPARE(model.fitSettings().exactWidth, 600);
        QCOMPARE(model.fitSettings().exactHeight, 800);
        view.screenshot(QStringLiteral("sidebar-exact-600x800"));

        view.click(view.find(QStringLiteral("flexibleChoice")));
        QVERIFY(!model.exactPixels());
        auto* edge = view.find(QStringLiteral("edgeButton"));
        QCOMPARE(accessibleText(edge, QAccessible::Name), QStringLiteral("Maximum edge"));
        QCOMPARE(accessibleText(edge, QAccessible::Description), QStringLiteral("2560 pixels"));
        view.click(edge);
        QVERIFY(isOpen(view, QStringLiteral("edgePicker")));
        view.click(view.find(QStringLiteral("edgeChoice0")));
        QCOMPARE(model.maxEdge(), 0);
        QVERIFY(!isOpen(view, QStringLiteral("edgePicker")));
        QCOMPARE(shown(view.find(QStringLiteral("edgeValue"))), QStringLiteral("Original"));
        QCOMPARE(accessibleText(edge, QAccessible::Description), QStringLiteral("Original, up to 8192 pixels"));
        QCOMPARE(shown(note), QStringLiteral("Up to 8192 px. May shrink to fit.\nNever enlarged."));

        // A stored edge that is not among the choices is shown, and no row is checked.
        model.setMaxEdge(3000);
        QCOMPARE(shown(view.find(QStringLiteral("edgeValue"))), QStringLiteral("3000 px"));
        view.click(edge);
        for (const int choice : {0, 2560, 1920, 1280, 800})
            QVERIFY(!view.find(QStringLiteral("edgeChoice%1").arg(choice))->property("checked").toBool());
        QVERIFY2(view.errors().isEmpty(), qPrintable(view.errors()));
    }

    // The picker lists the examples, then the user's recipes; check marks follow the settings.
    void recipePickerListsAndAppliesRecipes() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        ViewHarness view(model, QStringLiteral("Main.qml"));
        QVERIFY2(view.loaded(), qPrintable(view.errors()));
        auto* button = view.find(QStringLiteral("recipeButton"));
        auto* label = view.find(QStringLiteral("recipeButtonText"));
        QCOMPARE(shown(label), QStringLiteral("Upload recipes"));

        view.click(button);
        QVERIFY(isOpen(view, QStringLiteral("recipePicker")));
        QVERIFY(!view.find(QStringLiteral("yourRecipesCaption"))->isVisible());
        for (const QString& example : {QStringLiteral("Web photo"), QStringLiteral("Square thumbnail"), QStringLiteral("Portrait upload")})
            QVERIFY2(view.find(QStringLiteral("recipeRow ") + example), qPrintable(example));
        view.click(view.find(QStringLiteral("recipeRow Web photo")));
        QVERIFY(!isOpen(view, QStringLiteral("recipePicker")));
        QCOMPARE(model.activeRecipeName(), QStringLiteral("Web photo"));
        QCOMPARE(shown(label), QStringLiteral("Web photo"));

        // A user recipe with the example's settings is checked together with it.
        QVERIFY(model.saveRecipe(QStringLiteral("Shop photo")));
        model.setTargetKB(200);
        model.setCustomKB(QStringLiteral("200"));
        model.settingsChanged();
        QCOMPARE(shown(label), QStringLiteral("Upload recipes"));
        QVERIFY(model.saveRecipe(QStringLiteral("Forum avatar")));
        model.setTargetKB(500);
        model.setCustomKB(QStringLiteral("500"));
        model.settingsChanged();
        view.click(button);
        QVERIFY(view.find(QStringLiteral("yourRecipesCaption"))->isVisible());
        const QStringList rows = {QStringLiteral("Web photo"), QStringLiteral("Square thumbnail"), QStringLiteral("Portrait upload"),
                                  QStringLiteral("Shop photo"), QStringLiteral("Forum avatar")};
        for (const QString& row : rows) QVERIFY2(view.find(QStringLiteral("recipeRow ") + row), qPrintable(row));
        const auto checked = [&view](const QString& row) {
            return view.find(QStringLiteral("recipeRow ") + row)->property("checked").toBool();
        };
        QVERIFY(checked(QStringLiteral("Web photo")) && checked(QStringLiteral("Shop photo")));
        QVERIFY(!checked(QStringLiteral("Forum avatar")) && !checked(QStringLiteral("Square thumbnail")));
        view.screenshot(QStringLiteral("sidebar-recipe-picker"));
        view.click(view.find(QStringLiteral("recipeRow Forum avatar")));
        QCOMPARE(model.targetKB(), 200);
        QCOMPARE(shown(label), QStringLiteral("Forum avatar"));
        QVERIFY2(view.errors().isEmpty(), qPrintable(view.errors()));
    }

    // The manager saves under a trimmed name, reports a refusal and keeps the name, deletes at
    // once, and closes on Escape without saving.
    void recipeManagerSavesRefusesAndDeletes() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        ViewHarness view(model, QStringLiteral("Main.qml"));
        QVERIFY2(view.loaded(), qPrintable(view.errors()));
        auto* plus = view.find(QStringLiteral("plusButton"));
        QCOMPARE(accessibleText(plus, QAccessible::Name), QStringLiteral("Save or manage recipes"));
        view.click(plus);
        QVERIFY(isOpen(view, QStringLiteral("recipeManager")));
        auto* name = view.find(QStringLiteral("recipeNameField"));
        auto* save = view.find(QStringLiteral("saveRecipeButton"));
        QVERIFY(name && save);
        QVERIFY(!save->isEnabled());
        QVERIFY(!view.find(QStringLiteral("recipeList"))->isVisible());

        view.type(name, QStringLiteral("  Shop photo "));
        QVERIFY(save->isEnabled());
        QTest::keyClick(view.window(), Qt::Key_Return);  // Return does not save
        QVERIFY(model.recipes().empty());
        view.click(save);
        QCOMPARE(shown(view.find(QStringLiteral("recipeFeedback"))),
                 QStringLiteral("Saved. Choose it from Upload recipes whenever you need it."));
        QCOMPARE(shown(name), QString());
        QCOMPARE(model.recipes().size(), 1u);
        QCOMPARE(model.recipes()[0].name(), "Shop photo");
        QCOMPARE(shown(view.find(QStringLiteral("recipeButtonText"))), QStringLiteral("Shop photo"));

        const QString tooLong(41, QLatin1Char('x'));
        view.type(name, tooLong);
        view.click(save);
        QCOMPARE(shown(view.find(QStringLiteral("recipeFeedback"))),
                 QStringLiteral("Use a name of 1–40 characters, valid requirements and no more than 20 recipes."));
        QCOMPARE(shown(name), tooLong);
        QCOMPARE(model.recipes().size(), 1u);
        view.screenshot(QStringLiteral("sidebar-recipe-manager-refused"));

        model.setTargetKB(5);  // invalid requirements: no name can be saved
        QVERIFY(!save->isEnabled());
        model.setTargetKB(1000);

        auto* trash = view.find(QStringLiteral("deleteRecipe Shop photo"));
        QCOMPARE(accessibleText(trash, QAccessible::Name), QStringLiteral("Delete recipe Shop photo"));
        view.click(trash);
        QVERIFY(model.recipes().empty());
        QCOMPARE(shown(view.find(QStringLiteral("recipeButtonText"))), QStringLiteral("Upload recipes"));

        view.type(name, QStringLiteral("Not kept"));
        QTest::keyClick(view.window(), Qt::Key_Escape);
        QVERIFY(!isOpen(view, QStringLiteral("recipeManager")));
        QVERIFY(model.recipes().empty());
        view.click(plus);  // a fresh form: no name, no feedback
        QCOMPARE(shown(view.find(QStringLiteral("recipeNameField"))), QString());
        QVERIFY(!view.find(QStringLiteral("recipeFeedback"))->isVisible());
        QVERIFY2(view.errors().isEmpty(), qPrintable(view.errors()));
    }

    // While a fit run is in progress no control of the column reacts, and every choice is dimmed.
    void sidebarIsDisabledWhileBusy() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        QVERIFY(!addPhoto(sandbox).isEmpty());
        ViewHarness view(model, QStringLiteral("Main.qml"));
        QVERIFY2(view.loaded(), qPrintable(view.errors()));
        // The run holds at its first check until the test has looked.
        std::binary_semaphore resume{0};
        std::atomic<bool> held{false};
        const CancellationCheckHook hold([&] {
            if (!held.exchange(true)) resume.acquire();
        });
        model.fit(false);
        QVERIFY(model.busy());
        auto* preset = view.find(QStringLiteral("sizePreset200"));
        for (const QString& control : {QStringLiteral("sizeField"), QStringLiteral("exactChoice"), QStringLiteral("format png"),
                                       QStringLiteral("recipeButton"), QStringLiteral("plusButton"), QStringLiteral("edgeButton")})
            QVERIFY2(!view.find(control)->isEnabled(), qPrintable(control));
        QCOMPARE(preset->opacity(), 0.45);
        view.screenshot(QStringLiteral("sidebar-busy"));
        view.click(preset);
        QCOMPARE(model.targetKB(), 1000);
        resume.release();
        QVERIFY(runDone(model));
        QVERIFY(preset->isEnabled());
        QVERIFY2(view.errors().isEmpty(), qPrintable(view.errors()));
    }
};

QTEST_MAIN(SidebarTest)
#include "tst_sidebar.moc"
