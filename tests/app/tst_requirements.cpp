// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// The requirements: their FitSettings, summary, changes and persistence; the recipe library.

#include <QtTest>

#include <nlohmann/json.hpp>

#include "AppTestSupport.h"

using namespace parcelo;
using namespace parcelo::test;
using namespace Qt::StringLiterals;

namespace {

const QString kLastSettings = QStringLiteral("lastSettings.v1");
const QString kRecipes = QStringLiteral("uploadRecipes.v1");
const QString kActive = QStringLiteral("activeRecipeName.v1");

const FitSettings kShop{300'000, 1280, OutputFormat::jpeg, 0, 0};
const FitSettings kWebPhoto = UploadRecipe::examples()[0].settings();

QByteArray dumped(const nlohmann::json& value) { return QByteArray::fromStdString(value.dump()); }

nlohmann::json recipeJson(int id, const std::string& name, const FitSettings& settings = kShop) {
    const QString uuid = QStringLiteral("00000000-0000-4000-8000-%1").arg(id, 12, 10, QLatin1Char('0'));
    return {{"id", uuid.toStdString()}, {"name", name}, {"settings", settings}};
}

// Stored JSON padded with white space before its closing bracket to `bytes`.
QByteArray padded(const nlohmann::json& value, qsizetype bytes) {
    QByteArray text = dumped(value);
    return text.insert(text.size() - 1, QByteArray(bytes - text.size(), ' '));
}

QStringList recipeNames(const AppModel& model) {
    QStringList names;
    for (const auto& recipe : model.requirements().recipes()) names.append(QString::fromStdString(recipe.name()));
    return names;
}

}  // namespace

class RequirementsTest : public QObject {
    Q_OBJECT

private slots:
    // The size limit runs from 10 KB to 25 MB, past either end there is none; a typed limit or
    // exact side is an optional sign and ASCII digits, and the notes warn about anything else.
    // The crop editor frames a side that is no integer as 600.
    void typedRequirementsBecomeFitSettings() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        Requirements& requirements = model.requirements();
        const std::pair<const char*, int> typedLimits[] = {{" 1000", 0}, {"+25000", 25'000}, {"25001", 25'001}};
        for (const auto& [text, limit] : typedLimits) {
            requirements.setCustomKB(QString::fromUtf8(text));
            QCOMPARE(requirements.targetKB(), limit);
            QVERIFY2(requirements.sizeNoteWarns() == (limit < 10 || limit > 25'000), text);
        }
        const std::tuple<qint64, qint64, const char*> sizes[] = {
            {9, 0, "Zero KB"}, {25'001, 0, "Zero KB"}, {10, 10'000, "10 KB"}, {25'000, 25'000'000, "25 MB"}};
        for (const auto& [kilobytes, bytes, shown] : sizes) {
            requirements.setTargetKB(kilobytes);
            QCOMPARE(model.requirements().fitSettings().targetBytes, bytes);
            QCOMPARE(model.requirements().summary(), QStringLiteral("≤ %1 · Up to 2560 px · Auto format").arg(QString::fromUtf8(shown)));
        }
        setExactSides(model, QStringLiteral("600"), QStringLiteral("800"));
        const std::pair<const char*, qint64> texts[] = {{"600", 600},  {"+600", 600}, {"-64", -64}, {" 600", -1},
                                                        {"6,000", -1}, {"", -1},      {"٦٠٠", -1},  {"99999999999999999999", -1}};
        for (const auto& [text, side] : texts) {
            model.requirements().setPixelWidth(QString::fromUtf8(text));
            QVERIFY2(model.requirements().fitSettings().exactWidth == side, text);
            QVERIFY2(model.requirements().fitSettings().isValid() == (side == 600), text);
            QVERIFY2(requirements.dimensionsNoteWarns() == (side != 600), text);
            QVERIFY2(requirements.cropWidth() == (side == -1 ? 600 : side), text);
        }

        // A smallest size and a resolution: empty for none, typed by the same rule, named in the
        // summary only when set and in range (the notes say what is allowed), saved with a recipe,
        // which is checked only while they are in force too, and set again when it is applied.
        requirements.setTargetKB(50);
        setExactSides(model, u"200"_s, u"230"_s);
        requirements.setOutputFormat(OutputFormat::jpeg);
        const std::tuple<const char*, qint64, bool> minima[] = {
            {"", 0, true}, {"1", 1'000, true}, {"50", 50'000, true}, {"51", 51'000, false}, {" 20", 0, false}};
        for (const auto& [text, bytes, valid] : minima) {
            requirements.setMinimumKB(QString::fromUtf8(text));
            QVERIFY2(requirements.fitSettings().isValid() == valid && requirements.sizeNoteWarns() != valid, text);
            QVERIFY2(!valid || requirements.fitSettings().minBytes == bytes, text);
        }
        QCOMPARE(requirements.sizeNote(), u"Enter a minimum from 1 to 50 KB."_s);
        QCOMPARE(requirements.summary(), u"≤ 50 KB · 200 × 230 px · JPEG"_s);
        requirements.setMinimumKB(u"20"_s);
        const std::pair<const char*, bool> resolutions[] = {{"72", true}, {"1200", true}, {"71", false}, {"dpi", false}};
        for (const auto& [text, valid] : resolutions) {
            requirements.setResolutionDpi(QString::fromUtf8(text));
            QVERIFY2(requirements.fitSettings().isValid() == valid && requirements.formatNoteWarns() != valid, text);
        }
        QCOMPARE(requirements.formatNote(), u"Enter a resolution from 72 to 1200 dpi."_s);
        requirements.setResolutionDpi(u"200"_s);
        QCOMPARE(requirements.summary(), u"20–50 KB · 200 × 230 px · 200 dpi · JPEG"_s);

        QVERIFY(requirements.saveRecipe(u"Exam"_s));
        const auto stored = nlohmann::json::parse(sandbox.preferences().value(kRecipes).toByteArray().toStdString());
        QCOMPARE(stored[0]["settings"]["minBytes"].get<qint64>(), qint64(20'000));
        QCOMPARE(stored[0]["settings"]["dpi"].get<qint64>(), qint64(200));
        const auto examChecked = [&requirements] { return requirements.recipesForView()[0].toMap()[u"matches"_s].toBool(); };
        QVERIFY(examChecked());
        requirements.setMinimumKB(QString());
        QVERIFY(!examChecked() && !requirements.activeRecipeName());
        requirements.applyRecipe(requirements.recipes()[0]);
        QVERIFY(examChecked());
        // An example switches modes, and takes neither with it; the sides typed before stay.
        requirements.applyRecipe(UploadRecipe::examples()[1]);
        QCOMPARE(requirements.fitSettings(), UploadRecipe::examples()[1].settings());
        QVERIFY(requirements.minimumKB().isEmpty() && requirements.resolutionDpi().isEmpty());
        QCOMPARE(sandbox.preferences().value(kActive).toString(), u"Square thumbnail"_s);
        requirements.applyRecipe(QString::fromStdString(UploadRecipe::examples()[0].id().string()));
        QCOMPARE(requirements.fitSettings(), kWebPhoto);
        QCOMPARE(requirements.pixelWidth(), u"600"_s);
        requirements.setMaxEdge(800);
        QVERIFY(!requirements.activeRecipeName() && !sandbox.preferences().contains(kActive));
    }

    // A change of valid requirements is stored and discards every fitted copy; during a run it waits.
    void aChangeOfRequirementsDiscardsEveryFittedCopy() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QString source = addPhoto(sandbox);
        model.requirements().setTargetKB(25'001);
        QVERIFY(!sandbox.preferences().contains(kLastSettings));
        model.requirements().setTargetKB(1000);
        QVERIFY(model.requirements().saveRecipe(QStringLiteral("Mine")));
        const QByteArray stored = sandbox.preferences().value(kLastSettings).toByteArray();
        QCOMPARE(stored, dumped(FitSettings{1'000'000, 2560, OutputFormat::automatic, 0, 0}));
        model.fit(false);
        model.requirements().setTargetKB(200);  // during a run: neither stored nor applied
        QVERIFY(runDone(model));
        QCOMPARE(sandbox.preferences().value(kLastSettings).toByteArray(), stored);
        model.requirements().setTargetKB(1000);  // no change
        QCOMPARE(model.readyCount(), 1);
        QCOMPARE(model.requirements().activeRecipeName(), QStringLiteral("Mine"));

        QVERIFY(exportInto(model, sandbox.path(QStringLiteral("files"))));
        const QString copy = *model.items()[0].output;
        model.requirements().setOutputFormat(OutputFormat::png);
        QVERIFY(!QFileInfo::exists(copy) && QFileInfo::exists(source));
        const ImageItem& item = model.items()[0];
        QCOMPARE(item.state, QStringLiteral("Ready"));
        QVERIFY2(item.isPending() && item.width == 0 && item.fileExtension.isEmpty(), "no size of a copy that is gone");
        QVERIFY(!model.exportedDirectory() && !model.message() && !model.requirements().activeRecipeName());
        QCOMPARE(model.appliedSettings().outputFormat, OutputFormat::png);
    }

    // Stored requirements are read only when valid and under 4,096 bytes; the active recipe's
    // name only when a recipe of that name has those requirements.
    void aLaunchRestoresRequirementsAndTheActiveName_data() {
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("summary");
        QTest::addColumn<QString>("active");
        const QString defaults = u"≤ 1 MB · Up to 2560 px · Auto format"_s;
        const FitSettings wholeBytes{1'500'500, 1920, OutputFormat::png, 0, 0};
        QTest::newRow("malformed") << QByteArray("{\"targetBytes\":") << u"Web photo"_s << defaults << QString();
        QTest::newRow("invalid") << dumped(FitSettings{5, 1920, OutputFormat::png, 0, 0}) << QString() << defaults << QString();
        QTest::newRow("4,096 bytes") << padded(wholeBytes, 4096) << QString() << defaults << QString();
        QTest::newRow("4,095 bytes") << padded(wholeBytes, 4095) << u"Web photo"_s << u"≤ 1.5 MB · Up to 1920 px · PNG"_s << QString();
        const FitSettings form{50'000, 2560, OutputFormat::jpeg, 200, 230, 20'000, 200};
        QTest::newRow("exact sides, minimum, dpi") << dumped(form) << QString() << u"20–50 KB · 200 × 230 px · 200 dpi · JPEG"_s
                                                   << QString();
        const QString webPhoto = u"≤ 500 KB · Up to 1920 px · Auto format"_s;
        QTest::newRow("the recipe's") << dumped(kWebPhoto) << u"Web photo"_s << webPhoto << u"Web photo"_s;
        QTest::newRow("another case") << dumped(kWebPhoto) << u"web photo"_s << webPhoto << QString();
    }
    void aLaunchRestoresRequirementsAndTheActiveName() {
        QFETCH(QByteArray, stored);
        QFETCH(QString, name);
        ModelSandbox sandbox;
        sandbox.preferences().setValue(kLastSettings, stored);
        sandbox.preferences().setValue(kActive, name);
        QTEST(sandbox.model().requirements().summary(), "summary");
        QTEST(sandbox.model().requirements().activeRecipeNameText(), "active");
    }

    void savedRecipesAreCheckedCappedAtTwentyAndSurviveARelaunchUntilDeleted() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        QVERIFY(model.requirements().saveRecipe(QStringLiteral("  Shop photo  ")));
        QCOMPARE(sandbox.preferences().value(kActive).toString(), QStringLiteral("Shop photo"));
        QVERIFY(model.requirements().saveRecipe(QStringLiteral("Web photo")));  // a user recipe beside the example of that name
        QVERIFY(model.requirements().saveRecipe(QStringLiteral("STRASSE")));
        for (int i = 3; i < 20; ++i) QVERIFY(model.requirements().saveRecipe(QStringLiteral("Recipe %1").arg(i)));
        const QByteArray full = sandbox.preferences().value(kRecipes).toByteArray();
        QVERIFY(!model.requirements().saveRecipe(QStringLiteral("One more")));
        QCOMPARE(sandbox.preferences().value(kRecipes).toByteArray(), full);
        // A full library still takes replacements, found by full case folding (ß is ss).
        model.requirements().setTargetKB(200);
        const Uuid id = model.requirements().recipes()[2].id();
        QVERIFY(model.requirements().saveRecipe(QStringLiteral("straße")));
        QCOMPARE(model.requirements().recipes()[2].id(), id);
        QCOMPARE(model.requirements().recipes()[2].settings().targetBytes, 200'000);

        const QStringList names = recipeNames(model);
        QCOMPARE(names[2], QStringLiteral("straße"));
        AppModel& relaunched = sandbox.relaunch();
        QCOMPARE(recipeNames(relaunched), names);
        QCOMPARE(relaunched.requirements().activeRecipeName(), QStringLiteral("straße"));
        relaunched.requirements().deleteRecipe(relaunched.requirements().recipes()[0].id());  // not the active one
        QCOMPARE(relaunched.requirements().activeRecipeName(), QStringLiteral("straße"));
        relaunched.requirements().deleteRecipe(QString::fromStdString(relaunched.requirements().recipes()[1].id().string()));
        QVERIFY(!relaunched.requirements().activeRecipeName() && !sandbox.preferences().contains(kActive));
        QCOMPARE(nlohmann::json::parse(sandbox.preferences().value(kRecipes).toByteArray().toStdString()).size(), 18u);
    }

    // Stored recipes are restored only when the whole list decodes and is at most 100,000
    // bytes; the first twenty valid ones with distinct ids are kept, and a launch never rewrites them.
    void storedRecipesAreRestoredOnlyWhenWholeAndSmall_data() {
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<QStringList>("restored");
        nlohmann::json list = nlohmann::json::array({recipeJson(0, "Invalid", {5, 0, OutputFormat::png, 0, 0})});
        for (int i = 0; i < 25; ++i) list.push_back(recipeJson(i, "R" + std::to_string(i)));
        list[5] = recipeJson(1, "R4");  // R4 repeats the id of R1
        QStringList firstTwenty;
        for (int i = 0; i <= 20; ++i)
            if (i != 4) firstTwenty.append(QStringLiteral("R%1").arg(i));
        QTest::newRow("twenty of many") << dumped(list) << firstTwenty;
        list[3]["id"] = "not-a-uuid";
        QTest::newRow("one malformed") << dumped(list) << QStringList();
        const auto shop = nlohmann::json::array({recipeJson(1, "Shop")});
        QTest::newRow("100,000 bytes") << padded(shop, 100'000) << QStringList{QStringLiteral("Shop")};
        QTest::newRow("100,001 bytes") << padded(shop, 100'001) << QStringList();
    }
    void storedRecipesAreRestoredOnlyWhenWholeAndSmall() {
        QFETCH(QByteArray, stored);
        ModelSandbox sandbox;
        sandbox.preferences().setValue(kRecipes, stored);
        QTEST(recipeNames(sandbox.model()), "restored");
        QCOMPARE(sandbox.preferences().value(kRecipes).toByteArray(), stored);
    }
};

QTEST_MAIN(RequirementsTest)
#include "tst_requirements.moc"
