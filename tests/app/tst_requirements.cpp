// The requirements: their FitSettings, summary, changes and persistence; the recipe library.

#include <QMetaProperty>
#include <QtTest>

#include <nlohmann/json.hpp>

#include "AppTestSupport.h"

using namespace parcelo;
using namespace parcelo::test;

namespace {

const QString kLastSettings = QStringLiteral("lastSettings.v1");
const QString kRecipes = QStringLiteral("uploadRecipes.v1");
const QString kActive = QStringLiteral("activeRecipeName.v1");

const FitSettings kDefaults{1'000'000, 2560, OutputFormat::automatic, 0, 0};
const FitSettings kShop{300'000, 1280, OutputFormat::jpeg, 0, 0};

QByteArray dumped(const nlohmann::json& value) { return QByteArray::fromStdString(value.dump()); }

nlohmann::json recipeJson(const std::string& id, const std::string& name, const FitSettings& settings) {
    return {{"id", id}, {"name", name}, {"settings", settings}};
}

std::string idNumber(int n) { return QStringLiteral("00000000-0000-4000-8000-%1").arg(n, 12, 10, QLatin1Char('0')).toStdString(); }

// Stored JSON padded with white space before its closing bracket to `bytes`.
QByteArray padded(const nlohmann::json& value, qsizetype bytes) {
    QByteArray text = dumped(value);
    return text.insert(text.size() - 1, QByteArray(bytes - text.size(), ' '));
}

QStringList recipeNames(const AppModel& model) {
    QStringList names;
    for (const auto& recipe : model.recipes()) names.append(QString::fromStdString(recipe.name()));
    return names;
}

// The active recipe name a launch restores from these preferences.
std::optional<QString> restoredActiveName(const nlohmann::json& recipes, const FitSettings& last, const QString& name) {
    ModelSandbox sandbox;
    sandbox.preferences().setValue(kRecipes, dumped(recipes));
    sandbox.preferences().setValue(kLastSettings, dumped(last));
    sandbox.preferences().setValue(kActive, name);
    return sandbox.model().activeRecipeName();
}

}  // namespace

class RequirementsTest : public QObject {
    Q_OBJECT

private slots:
    // ---- FitSettings and the summary ----
    void theRequirementsTheirLimitsAndTheirSummary() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        QCOMPARE(model.appliedSettings(), kDefaults);
        QCOMPARE(model.requirementSummary(), QStringLiteral("≤ 1 MB · Up to 2560 px · Auto format"));
        QCOMPARE(model.customKB(), QStringLiteral("1000"));
        // The size limit runs from 10 KB to 25 MB; past either end there is none.
        const std::tuple<qint64, qint64, const char*> sizes[] = {
            {9, 0, "Zero KB"}, {10, 10'000, "10 KB"}, {25'000, 25'000'000, "25 MB"}, {25'001, 0, "Zero KB"}};
        for (const auto& [kilobytes, bytes, shown] : sizes) {
            model.setTargetKB(kilobytes);
            QCOMPARE(model.fitSettings().targetBytes, bytes);
            QCOMPARE(model.requirementSummary(), QStringLiteral("≤ %1 · Up to 2560 px · Auto format").arg(QString::fromUtf8(shown)));
        }
        model.setTargetKB(200);
        setExactSides(model, QStringLiteral("600"), QStringLiteral("800"));
        model.setOutputFormat(OutputFormat::jpeg);
        QCOMPARE(model.requirementSummary(), QStringLiteral("≤ 200 KB · 600 × 800 px · JPEG"));
        model.setExactPixels(false);
        model.setMaxEdge(0);
        QVERIFY(model.setProperty("outputFormat", QStringLiteral("png")));  // as the panel sets it
        QCOMPARE(model.requirementSummary(), QStringLiteral("≤ 200 KB · Up to 8192 px · PNG"));
    }

    void anExactSideIsAnOptionalSignAndAsciiDigitsOnly() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        setExactSides(model, QStringLiteral("600"), QStringLiteral("800"));
        const std::pair<const char*, qint64> texts[] = {{"600", 600},  {"+600", 600}, {"-64", -64}, {" 600", -1},
                                                        {"6,000", -1}, {"", -1},      {"٦٠٠", -1},  {"99999999999999999999", -1}};
        for (const auto& [text, side] : texts) {
            model.setPixelWidth(QString::fromUtf8(text));
            const FitSettings settings = model.fitSettings();
            QVERIFY2(settings.exactWidth == side, qPrintable(QStringLiteral("'%1' read as %2").arg(text).arg(settings.exactWidth)));
            QVERIFY2(settings.isValid() == (side == 600), text);
        }
        model.setExactPixels(false);
        QCOMPARE(model.fitSettings().exactWidth, 0);
    }

    // Assigning the value a property already has notifies too; the requirements also say
    // that the derived settings and summary changed.
    void everyPublishedPropertyNotifiesOnEachAssignment() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QStringList requirements = {QStringLiteral("targetKB"),    QStringLiteral("maxEdge"),
                                          QStringLiteral("outputFormat"), QStringLiteral("exactPixels"),
                                          QStringLiteral("pixelWidth"),  QStringLiteral("pixelHeight")};
        const QMetaObject& meta = *model.metaObject();
        for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
            const QMetaProperty property = meta.property(i);
            const QString name = QString::fromLatin1(property.name());
            QVERIFY2(property.hasNotifySignal() || property.isConstant(), qPrintable(name));
            if (!property.isWritable()) continue;
            QSignalSpy own(&model, property.notifySignal());
            QSignalSpy derived(&model, &AppModel::requirementsChanged);
            QVERIFY2(property.write(&model, property.read(&model)), qPrintable(name));
            QVERIFY2(own.count() == 1 && derived.count() == (requirements.contains(name) ? 1 : 0), qPrintable(name));
        }
    }

    // ---- settingsChanged ----
    void aChangeOfRequirementsDiscardsEveryFittedCopy() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QString source = addPhoto(sandbox);
        QVERIFY(!source.isEmpty());
        QVERIFY(model.saveRecipe(QStringLiteral("Mine")));
        const QByteArray stored = sandbox.preferences().value(kLastSettings).toByteArray();
        model.fit(false);
        model.setTargetKB(200);
        model.settingsChanged();  // during a run: neither stored nor applied
        QCOMPARE(sandbox.preferences().value(kLastSettings).toByteArray(), stored);
        QVERIFY(runDone(model));
        QCOMPARE(model.readyCount(), 1);
        model.setTargetKB(1000);
        sandbox.preferences().remove(kLastSettings);
        model.settingsChanged();  // no change: the requirements are only stored
        QCOMPARE(model.readyCount(), 1);
        QCOMPARE(model.activeRecipeName(), QStringLiteral("Mine"));
        QCOMPARE(sandbox.preferences().value(kLastSettings).toByteArray(), stored);

        QVERIFY(exportInto(model, sandbox.path(QStringLiteral("files"))));
        const QString copy = *model.items()[0].output;
        model.setOutputFormat(OutputFormat::png);
        model.settingsChanged();
        QVERIFY(!QFileInfo::exists(copy));
        const ImageItem& item = model.items()[0];
        QCOMPARE(item.state, QStringLiteral("Ready"));
        QVERIFY2(item.isPending() && item.outputBytes == 0 && item.width == 0 && item.fileExtension.isEmpty(),
                 "no size of a copy that is gone");
        QVERIFY(item.thumbnail);
        QCOMPARE(model.completed(), 0);
        QVERIFY(!model.exportedDirectory() && !model.message() && !model.activeRecipeName());
        QCOMPARE(model.appliedSettings().outputFormat, OutputFormat::png);
        QVERIFY(QFileInfo::exists(source));
        QVERIFY(runFit(model));
        model.applyRecipe(UploadRecipe::examples()[0]);  // applying a recipe changes them too
        QCOMPARE(model.readyCount(), 0);
        QCOMPARE(model.appliedSettings(), UploadRecipe::examples()[0].settings());
    }

    void validRequirementsWithSidesAreStoredAndComeBackAtTheNextLaunch() {
        ModelSandbox sandbox;
        AppModel& first = sandbox.model();
        first.setTargetKB(25'001);
        first.settingsChanged();
        QVERIFY(!sandbox.preferences().contains(kLastSettings));
        first.setTargetKB(750);
        first.setMaxEdge(1280);
        first.setOutputFormat(OutputFormat::jpeg);
        setExactSides(first, QStringLiteral("+800"), QStringLiteral("600"));
        first.settingsChanged();
        const FitSettings stored{750'000, 1280, OutputFormat::jpeg, 800, 600};
        QCOMPARE(sandbox.preferences().value(kLastSettings).toByteArray(), dumped(stored));
        QVERIFY(!sandbox.preferences().contains(kActive));
        AppModel& model = sandbox.relaunch();
        QCOMPARE(model.customKB(), QStringLiteral("750"));
        QCOMPARE(model.pixelWidth(), QStringLiteral("800"));
        QVERIFY(model.exactPixels());
        QCOMPARE(model.appliedSettings(), stored);
    }

    void storedRequirementsAreReadOnlyWhenValidAndUnder4096Bytes_data() {
        const FitSettings wholeBytes{1'500'500, 1920, OutputFormat::png, 0, 0};
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<bool>("read");
        QTest::newRow("malformed") << QByteArray("{\"targetBytes\":") << false;
        QTest::newRow("invalid") << dumped(FitSettings{5, 1920, OutputFormat::png, 0, 0}) << false;
        QTest::newRow("4,096 bytes") << padded(wholeBytes, 4096) << false;
        QTest::newRow("4,095 bytes") << padded(wholeBytes, 4095) << true;
    }
    void storedRequirementsAreReadOnlyWhenValidAndUnder4096Bytes() {
        QFETCH(QByteArray, stored);
        QFETCH(bool, read);
        ModelSandbox sandbox;
        sandbox.preferences().setValue(kLastSettings, stored);
        sandbox.preferences().setValue(kActive, QStringLiteral("Web photo"));
        AppModel& model = sandbox.model();
        QVERIFY(!model.activeRecipeName());
        const FitSettings restored{1'500'500, 1920, OutputFormat::png, 0, 0};
        QCOMPARE(model.appliedSettings(), read ? restored : kDefaults);
        if (read) QCOMPARE(model.customKB(), QStringLiteral("1500"));  // whole bytes show as whole kilobytes
    }

    void theActiveNameNeedsAMatchingRecipe() {
        const auto none = nlohmann::json::array();
        QCOMPARE(restoredActiveName(none, {500'000, 1920, OutputFormat::automatic, 0, 0}, QStringLiteral("Web photo")),
                 QStringLiteral("Web photo"));
        QVERIFY2(!restoredActiveName(none, kShop, QStringLiteral("Web photo")), "other requirements than the recipe's");
        const auto cafe = nlohmann::json::array({recipeJson(idNumber(1), "Café", kShop)});
        QCOMPARE(restoredActiveName(cafe, kShop, QStringLiteral("Cafe\u0301"))->normalized(QString::NormalizationForm_C),
                 QStringLiteral("Café"));
        QVERIFY2(!restoredActiveName(cafe, kShop, QStringLiteral("café")), "a name of another case");
    }

    // ---- The recipe library ----
    void savedRecipesAreCheckedCappedAtTwentyAndSurviveARelaunchUntilDeleted() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        model.setOutputFormat(OutputFormat::png);
        QVERIFY(model.saveRecipe(QStringLiteral("  Shop photo  ")));
        QCOMPARE(recipeNames(model), QStringList{QStringLiteral("Shop photo")});
        QCOMPARE(sandbox.preferences().value(kActive).toString(), QStringLiteral("Shop photo"));
        const auto stored = nlohmann::json::parse(sandbox.preferences().value(kRecipes).toByteArray().toStdString());
        QCOMPARE(stored.size(), 1u);
        QCOMPARE(stored[0]["id"].get<std::string>(), model.recipes()[0].id().string());
        QVERIFY(!model.saveRecipe(QStringLiteral("   ")));
        model.setTargetKB(9);
        QVERIFY(!model.saveRecipe(QStringLiteral("Tiny")));
        model.setTargetKB(1000);

        QVERIFY(model.saveRecipe(QStringLiteral("Web photo")));  // a user recipe beside the example of that name
        QVERIFY(model.recipes()[1].id() != UploadRecipe::examples()[0].id());
        QVERIFY(model.saveRecipe(QStringLiteral("STRASSE")));
        QVERIFY(model.saveRecipe(QStringLiteral("Cafe\u0301")));  // e and a combining acute accent
        for (int i = 4; i < 20; ++i) QVERIFY(model.saveRecipe(QStringLiteral("Recipe %1").arg(i)));
        const QByteArray full = sandbox.preferences().value(kRecipes).toByteArray();
        QVERIFY(!model.saveRecipe(QStringLiteral("One more")));
        QCOMPARE(sandbox.preferences().value(kRecipes).toByteArray(), full);
        // A full library still takes replacements, found by full case folding (ß is ss) and
        // canonical equivalence (É is E and an accent).
        QVERIFY(model.saveRecipe(QStringLiteral("straße")));
        QVERIFY(model.saveRecipe(QStringLiteral("CAFÉ")));
        model.setTargetKB(200);
        const Uuid id = model.recipes()[0].id();
        QVERIFY(model.saveRecipe(QStringLiteral("shop PHOTO")));
        QCOMPARE(model.recipes().size(), 20u);
        QCOMPARE(model.recipes()[0].id(), id);
        QCOMPARE(model.recipes()[0].settings().targetBytes, 200'000);

        const QStringList names = recipeNames(model);
        QCOMPARE(names.mid(0, 4), (QStringList{QStringLiteral("shop PHOTO"), QStringLiteral("Web photo"),
                                               QStringLiteral("straße"), QStringLiteral("CAFÉ")}));
        AppModel& relaunched = sandbox.relaunch();
        QCOMPARE(recipeNames(relaunched), names);
        QCOMPARE(relaunched.activeRecipeName(), QStringLiteral("shop PHOTO"));
        QCOMPARE(relaunched.outputFormat(), OutputFormat::png);

        relaunched.deleteRecipe(relaunched.recipes()[1].id());  // not the active one
        QCOMPARE(relaunched.activeRecipeName(), QStringLiteral("shop PHOTO"));
        relaunched.deleteRecipe(QString::fromStdString(relaunched.recipes()[0].id().string()));
        QVERIFY(!relaunched.activeRecipeName());
        QVERIFY(!sandbox.preferences().contains(kActive));
        QCOMPARE(recipeNames(relaunched), names.mid(2));
        QCOMPARE(nlohmann::json::parse(sandbox.preferences().value(kRecipes).toByteArray().toStdString()).size(), 18u);
    }

    void applyingExamplesSwitchesModes() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        model.applyRecipe(UploadRecipe::examples()[1]);
        QVERIFY(model.exactPixels());
        QCOMPARE(model.pixelHeight(), QStringLiteral("600"));
        QCOMPARE(model.customKB(), QStringLiteral("200"));
        QCOMPARE(model.fitSettings(), UploadRecipe::examples()[1].settings());
        QCOMPARE(sandbox.preferences().value(kActive).toString(), QStringLiteral("Square thumbnail"));
        model.settingsChanged();  // the panel reporting the fields the recipe set
        QCOMPARE(model.activeRecipeName(), QStringLiteral("Square thumbnail"));
        model.applyRecipe(QString::fromStdString(UploadRecipe::examples()[0].id().string()));
        QVERIFY(!model.exactPixels());
        QCOMPARE(model.pixelWidth(), QStringLiteral("600"));  // the sides typed before stay
        QCOMPARE(model.activeRecipeName(), QStringLiteral("Web photo"));
        model.setMaxEdge(800);
        model.settingsChanged();
        QVERIFY(!model.activeRecipeName());
        QVERIFY(!sandbox.preferences().contains(kActive));
    }

    // ---- Restoring recipes ----
    void storedRecipesAreRestoredOnlyWhenWholeAndSmall_data() {
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<QStringList>("restored");
        nlohmann::json list = nlohmann::json::array();
        list.push_back(recipeJson(idNumber(0), "Invalid", {5, 0, OutputFormat::png, 0, 0}));
        for (int i = 0; i < 25; ++i) list.push_back(recipeJson(idNumber(i), "R" + std::to_string(i), kShop));
        list[5]["id"] = idNumber(1);  // R4 repeats the id of R1
        QStringList firstTwenty;
        for (int i = 0; i <= 20; ++i)
            if (i != 4) firstTwenty.append(QStringLiteral("R%1").arg(i));
        QTest::newRow("the first twenty valid with distinct ids") << dumped(list) << firstTwenty;
        const auto oneBad = nlohmann::json::array({recipeJson(idNumber(1), "Good", kShop), recipeJson("not-a-uuid", "Bad", kShop)});
        QTest::newRow("one malformed recipe") << dumped(oneBad) << QStringList();
        const auto shop = nlohmann::json::array({recipeJson(idNumber(1), "Shop", kShop)});
        QTest::newRow("100,000 bytes") << padded(shop, 100'000) << QStringList{QStringLiteral("Shop")};
        QTest::newRow("100,001 bytes") << padded(shop, 100'001) << QStringList();
    }
    void storedRecipesAreRestoredOnlyWhenWholeAndSmall() {
        QFETCH(QByteArray, stored);
        QFETCH(QStringList, restored);
        ModelSandbox sandbox;
        sandbox.preferences().setValue(kRecipes, stored);
        QCOMPARE(recipeNames(sandbox.model()), restored);
        QCOMPARE(sandbox.preferences().value(kRecipes).toByteArray(), stored);  // a launch never rewrites them
    }
};

QTEST_MAIN(RequirementsTest)
#include "tst_requirements.moc"
