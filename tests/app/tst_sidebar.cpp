// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// The settings sidebar over a real model, offscreen: what the user types and
// clicks reaches the model, and what the model holds is what the sidebar shows.

#include <QAccessible>
#include <QtQml/qqmlextensionplugin.h>
#include <QtTest>

#include "ViewTestSupport.h"

Q_IMPORT_QML_PLUGIN(ParceloPlugin)

using namespace parcelo;
using namespace parcelo::test;
using namespace Qt::StringLiterals;

namespace {

QRgb colourOf(const QQuickItem* item) { return item->property("color").value<QColor>().rgb(); }

const QRgb kSecondary = QColor::fromRgbF(0.45f, 0.43f, 0.5f).rgb();
const QRgb kRed = QColor::fromRgbF(1.0f, 0.23f, 0.19f).rgb();

// The texts assistive technologies read for the item.
QString accessibleText(QQuickItem* item, QAccessible::Text text) {
    QAccessibleInterface* accessible = item ? QAccessible::queryAccessibleInterface(item) : nullptr;
    return accessible ? accessible->text(text) : QString();
}

}  // namespace

class SidebarTest : public QObject {
    Q_OBJECT

private slots:
    // What is typed in the size field reaches the model, and the note says whether the limit is
    // allowed; a preset writes both. Exact pixels shows the two sides and their note; Flexible the
    // edge picker and its note.
    void requirementCardsEditTheModel() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        ViewHarness view(model);
        QVERIFY2(view.loaded(), qPrintable(view.loadError()));
        view.screenshot(u"sidebar-initial"_s);
        auto* field = view.find(u"sizeField"_s);
        auto* sizeNote = view.find(u"sizeNote"_s);
        QCOMPARE(accessibleText(field, QAccessible::Description), u"10 to 25,000 kilobytes per image"_s);
        view.type(field, u"25001"_s);
        QCOMPARE(model.requirements().targetKB(), 25001);
        QCOMPARE(colourOf(sizeNote), kRed);
        QCOMPARE(view.text(u"sizeNote"_s), u"Enter a limit from 10 to 25,000 KB."_s);
        view.click(view.find(u"sizePreset1000"_s));
        QCOMPARE(model.requirements().targetKB(), 1000);
        QCOMPARE(view.text(u"sizeField"_s), u"1000"_s);
        QCOMPARE(view.text(u"sizeNote"_s), u"Per image · 10 KB to 25 MB"_s);
        QCOMPARE(colourOf(sizeNote), kSecondary);
        QVERIFY(QAccessible::queryAccessibleInterface(view.find(u"sizePreset1000"_s))->state().selected);

        view.click(view.find(u"exactChoice"_s));
        QVERIFY(model.requirements().exactPixels() && !view.visible(u"edgeButton"_s));
        view.type(view.find(u"widthField"_s), u"63"_s);
        QCOMPARE(view.text(u"dimensionsNote"_s), u"Use 64–4096 pixels for each side."_s);
        view.type(view.find(u"widthField"_s), u"600"_s);
        view.type(view.find(u"heightField"_s), u"800"_s);
        QCOMPARE(model.requirements().fitSettings().exactHeight, 800);
        QCOMPARE(view.text(u"dimensionsNote"_s), u"Adjust each crop in the preview.\n64–4096 px per side."_s);
        view.screenshot(u"sidebar-exact-600x800"_s);

        view.click(view.find(u"flexibleChoice"_s));
        auto* edge = view.find(u"edgeButton"_s);
        QCOMPARE(accessibleText(edge, QAccessible::Description), u"2560 pixels"_s);
        QCOMPARE(view.text(u"dimensionsNote"_s), u"May shrink to fit the KB limit.\nNever enlarged."_s);
        view.click(edge);
        view.click(view.find(u"edgeChoice0"_s));
        QCOMPARE(model.requirements().maxEdge(), 0);
        QVERIFY(!view.visible(u"edgePicker"_s));
        QCOMPARE(view.text(u"edgeValue"_s), u"Original"_s);
        QCOMPARE(view.text(u"dimensionsNote"_s), u"Up to 8192 px. May shrink to fit.\nNever enlarged."_s);
        model.requirements().setMaxEdge(3000);  // a stored edge that is not among the choices
        QCOMPARE(view.text(u"edgeValue"_s), u"3000 px"_s);

        // The smallest size and the resolution wait behind one small control in their cards: opened
        // they take the keyboard, typed they reach the model, removed they are none; a recipe that
        // has them shows them.
        const auto typeIntoFocus = [&view](const char* keys) {
            for (; *keys != 0; ++keys) QTest::keyClick(view.window(), *keys);
        };
        QVERIFY(!view.visible(u"minimumField"_s) && !view.visible(u"resolutionField"_s));
        view.click(view.find(u"addMinimum"_s));
        auto* minimum = view.find(u"minimumField"_s);
        QVERIFY(minimum->isVisible() && minimum->hasActiveFocus() && !view.visible(u"addMinimum"_s));
        typeIntoFocus("2000");
        QCOMPARE(view.text(u"sizeNote"_s), u"Enter a minimum from 1 to 1000 KB."_s);
        view.type(minimum, u"20"_s);
        view.click(view.find(u"addResolution"_s));
        typeIntoFocus("300");
        QCOMPARE(model.requirements().summary(), u"20 KB–1 MB · Up to 3000 px · 300 dpi · Auto format"_s);
        QCOMPARE(accessibleText(view.find(u"resolutionField"_s), QAccessible::Description),
                 u"Optional, 72 to 1,200 dots per inch"_s);
        view.screenshot(u"sidebar-minimum-and-resolution"_s);

        view.click(view.find(u"removeMinimum"_s));
        QVERIFY(model.requirements().minimumKB().isEmpty() && !view.visible(u"minimumField"_s));
        QVERIFY(model.requirements().saveRecipe(u"Print"_s));
        view.click(view.find(u"removeResolution"_s));
        QVERIFY(model.requirements().resolutionDpi().isEmpty() && !view.visible(u"resolutionField"_s));
        model.requirements().applyRecipe(model.requirements().recipes()[0]);
        QCOMPARE(view.text(u"resolutionField"_s), u"300"_s);
        QVERIFY(view.visible(u"resolutionField"_s));
    }

    // The picker lists the examples, then the user's recipes, with check marks where the settings
    // match. The manager saves under a trimmed name, reports a refusal and keeps the name, deletes
    // at once, and closes on Escape without saving.
    void recipesArePickedSavedAndDeleted() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        ViewHarness view(model);
        QVERIFY2(view.loaded(), qPrintable(view.loadError()));
        const auto label = [&view] { return view.text(u"recipeButtonText"_s); };
        const auto row = [&view](const QString& name) { return view.find(u"recipeRow "_s + name); };
        QCOMPARE(label(), u"Upload recipes"_s);
        view.click(view.find(u"recipeButton"_s));
        QVERIFY(!view.visible(u"yourRecipesCaption"_s));
        view.click(row(u"Web photo"_s));
        QCOMPARE(model.requirements().activeRecipeName(), u"Web photo"_s);
        QCOMPARE(label(), u"Web photo"_s);

        auto* plus = view.find(u"plusButton"_s);
        view.click(plus);
        auto* name = view.find(u"recipeNameField"_s);
        auto* save = view.find(u"saveRecipeButton"_s);
        QVERIFY(!save->isEnabled());
        view.type(name, u"  Shop photo "_s);
        QTest::keyClick(view.window(), Qt::Key_Return);  // Return does not save
        QVERIFY(model.requirements().recipes().empty());
        view.click(save);
        QCOMPARE(view.text(u"recipeFeedback"_s), u"Saved. Choose it from Upload recipes whenever you need it."_s);
        QCOMPARE(model.requirements().recipes()[0].name(), "Shop photo");
        QCOMPARE(view.text(u"recipeNameField"_s), QString());
        view.type(name, QString(41, QLatin1Char('x')));
        view.click(save);
        QCOMPARE(view.text(u"recipeFeedback"_s),
                 u"Use a name of 1–40 characters, valid requirements and no more than 20 recipes."_s);
        QCOMPARE(view.text(u"recipeNameField"_s), QString(41, QLatin1Char('x')));
        view.screenshot(u"sidebar-recipe-manager-refused"_s);
        view.type(name, u"Not kept"_s);
        QTest::keyClick(view.window(), Qt::Key_Escape);
        QVERIFY(!view.visible(u"recipeManager"_s));
        QCOMPARE(model.requirements().recipes().size(), 1u);

        // The user's recipe has the example's settings, so both are checked.
        view.click(view.find(u"recipeButton"_s));
        QVERIFY(view.visible(u"yourRecipesCaption"_s));
        QVERIFY(row(u"Web photo"_s)->property("checked").toBool());
        QVERIFY(row(u"Shop photo"_s)->property("checked").toBool());
        QVERIFY(!row(u"Square thumbnail"_s)->property("checked").toBool());
        view.screenshot(u"sidebar-recipe-picker"_s);
        QTest::keyClick(view.window(), Qt::Key_Escape);

        view.click(plus);
        view.click(view.find(u"deleteRecipe Shop photo"_s));
        QVERIFY(model.requirements().recipes().empty());
        QCOMPARE(label(), u"Upload recipes"_s);
    }
};

QTEST_MAIN(SidebarTest)
#include "tst_sidebar.moc"
