// The requirements: their FitSettings, summary, changes and persistence; the recipe library.

#include <QtTest>

#include <nlohmann/json.hpp>

#include "AppTestSupport.h"

using namespace parcelo;
using namespace parcelo::test;

namespace {

const QString kLastSettings = QStringLiteral("lastSettings.v1");
const QString kRecipes = QStringLiteral("uploadRecipes.v1");
const QString kActive = QStringLiteral("activeRecipeName.v1");

QByteArray settingsJson(const FitSettings& settings) { return QByteArray::fromStdString(nlohmann::json(settings).dump()); }

nlohmann::json recipeJson(const std::string& id, const std::string& name, const FitSettings& settings) {
    return {{"id", id}, {"name", name}, {"settings", settings}};
}

std::string idNumber(int n) { return QStringLiteral("00000000-0000-4000-8000-%1").arg(n, 12, 10, QLatin1Char('0')).toStdString(); }

const FitSettings kShop{300'000, 1280, OutputFormat::jpeg, 0, 0};

QStringList recipeNames(const AppModel& model) {
    QStringList names;
    for (const auto& recipe : model.recipes()) names.append(QString::fromStdString(recipe.name()));
    return names;
}

void storeRecipes(QSettings& preferences, const nlohmann::json& list) {
    preferences.setValue(kRecipes, QByteArray::fromStdString(list.dump()));
}

}  // namespace

class RequirementsTest : public QObject {
    Q_OBJECT

private slots:
    // ---- FitSettings and the summary ----
    void initialRequirements() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        QCOMPARE(model.fitSettings(), (FitSettings{1'000'000, 2560, OutputFormat::automatic, 0, 0}));
        QCOMPARE(model.appliedSettings(), model.fitSettings());
        QCOMPARE(model.requirementSummary(), QStringLiteral("≤ 1 MB · Up to 2560 px · Auto format"));
        QCOMPARE(model.customKB(), QStringLiteral("1000"));
        QVERIFY(!model.activeRecipeName());
    }

    void sizeLimitRange_data() {
        QTest::addColumn<qint64>("kilobytes");
        QTest::addColumn<qint64>("bytes");
        QTest::addColumn<QString>("summarySize");
        QTest::newRow("below") << qint64{9} << qint64{0} << QStringLiteral("Zero KB");
        QTest::newRow("lowest") << qint64{10} << qint64{10'000} << QStringLiteral("10 KB");
        QTest::newRow("preset") << qint64{500} << qint64{500'000} << QStringLiteral("500 KB");
        QTest::newRow("highest") << qint64{25'000} << qint64{25'000'000} << QStringLiteral("25 MB");
        QTest::newRow("above") << qint64{25'001} << qint64{0} << QStringLiteral("Zero KB");
    }
    void sizeLimitRange() {
        QFETCH(qint64, kilobytes);
        QFETCH(qint64, bytes);
        QFETCH(QString, summarySize);
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        model.setTargetKB(kilobytes);
        QCOMPARE(model.fitSettings().targetBytes, bytes);
        QCOMPARE(model.fitSettings().isValid(), bytes != 0);
        QVERIFY(model.requirementSummary().startsWith(QStringLiteral("≤ ") + summarySize + QStringLiteral(" · ")));
    }

    void exactSideTexts_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<qint64>("side");
        QTest::newRow("plain") << QStringLiteral("600") << qint64{600};
        QTest::newRow("plus") << QStringLiteral("+600") << qint64{600};
        QTest::newRow("minus") << QStringLiteral("-64") << qint64{-64};
        QTest::newRow("leading space") << QStringLiteral(" 600") << qint64{-1};
        QTest::newRow("unit") << QStringLiteral("600px") << qint64{-1};
        QTest::newRow("grouping") << QStringLiteral("6,000") << qint64{-1};
        QTest::newRow("decimal") << QStringLiteral("600.0") << qint64{-1};
        QTest::newRow("empty") << QString() << qint64{-1};
        QTest::newRow("sign only") << QStringLiteral("+") << qint64{-1};
        QTest::newRow("arabic digits") << QStringLiteral("٦٠٠") << qint64{-1};
        QTest::newRow("beyond 64 bits") << QStringLiteral("99999999999999999999") << qint64{-1};
    }
    void exactSideTexts() {
        QFETCH(QString, text);
        QFETCH(qint64, side);
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        model.setExactPixels(true);
        model.setPixelWidth(text);
        model.setPixelHeight(QStringLiteral("800"));
        QCOMPARE(model.fitSettings().exactWidth, side);
        QCOMPARE(model.fitSettings().exactHeight, 800);
        QCOMPARE(model.fitSettings().isValid(), side == 600);
        model.setExactPixels(false);
        QCOMPARE(model.fitSettings().exactWidth, 0);
    }

    void summaryShowsTextsAsTypedAndTheEdgeCap() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        model.setTargetKB(200);
        model.setExactPixels(true);
        model.setPixelWidth(QStringLiteral("600"));
        model.setPixelHeight(QStringLiteral("800"));
        model.setOutputFormat(OutputFormat::jpeg);
        QCOMPARE(model.requirementSummary(), QStringLiteral("≤ 200 KB · 600 × 800 px · JPEG"));
        model.setExactPixels(false);
        model.setMaxEdge(0);
        model.setOutputFormat(OutputFormat::png);
        QCOMPARE(model.requirementSummary(), QStringLiteral("≤ 200 KB · Up to 8192 px · PNG"));
    }

    void everyAssignmentNotifies() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        QSignalSpy target(&model, &AppModel::targetKBChanged);
        QSignalSpy derived(&model, &AppModel::requirementsChanged);
        model.setTargetKB(1000);
        model.setTargetKB(1000);
        QCOMPARE(target.count(), 2);
        QCOMPARE(derived.count(), 2);
        QSignalSpy format(&model, &AppModel::outputFormatChanged);
        QVERIFY(model.setProperty("outputFormat", QStringLiteral("png")));
        QCOMPARE(format.count(), 1);
        QCOMPARE(model.outputFormat(), OutputFormat::png);
        QCOMPARE(model.fitSettingsForView().value(QStringLiteral("outputFormat")).toString(), QStringLiteral("png"));
    }

    // ---- settingsChanged ----
    void aChangeDiscardsEveryFittedCopy() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QString source = addPhoto(sandbox);
        QVERIFY(!source.isEmpty());
        QVERIFY(runFit(model));
        QVERIFY(exportInto(model, sandbox.path(QStringLiteral("files"))));
        const QString copy = *model.items()[0].output;
        model.setOutputFormat(OutputFormat::png);
        model.settingsChanged();
        QVERIFY(!QFileInfo::exists(copy));
        QCOMPARE(model.items()[0].state, QStringLiteral("Ready"));
        QVERIFY(model.items()[0].isPending() && model.items()[0].outputBytes == 0);
        QVERIFY(model.items()[0].thumbnail);
        QCOMPARE(model.completed(), 0);
        QVERIFY(!model.exportedDirectory() && !model.message());
        QCOMPARE(model.appliedSettings().outputFormat, OutputFormat::png);
        model.setOutputFormat(OutputFormat::automatic);
        model.settingsChanged();
        QCOMPARE(model.readyCount(), 0);
        QVERIFY(QFileInfo::exists(source));
    }

    void aCallWithoutAChangeOnlyStoresTheRequirements() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QString source = addPhoto(sandbox);
        QVERIFY(!source.isEmpty());
        QVERIFY(runFit(model));
        QVERIFY(model.saveRecipe(QStringLiteral("Mine")));
        model.settingsChanged();
        QCOMPARE(model.readyCount(), 1);
        QCOMPARE(model.activeRecipeName(), QStringLiteral("Mine"));
        QCOMPARE(sandbox.preferences().value(kLastSettings).toByteArray(), settingsJson(model.fitSettings()));
    }

    void aChangeDuringARunIsNeitherStoredNorApplied() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QString source = addPhoto(sandbox);
        QVERIFY(!source.isEmpty());
        QVERIFY(model.saveRecipe(QStringLiteral("Mine")));
        const QByteArray stored = sandbox.preferences().value(kLastSettings).toByteArray();
        model.fit(false);
        QVERIFY(model.busy());
        model.setTargetKB(200);
        model.settingsChanged();
        QCOMPARE(model.targetKB(), 200);
        QCOMPARE(sandbox.preferences().value(kLastSettings).toByteArray(), stored);
        QCOMPARE(model.activeRecipeName(), QStringLiteral("Mine"));
        QVERIFY(waitUntil(model, &AppModel::busyChanged, [&model] { return !model.busy(); }));
        QCOMPARE(model.readyCount(), 1);
    }

    void invalidOrSidelessRequirementsAreNotStored() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        model.setTargetKB(25'001);
        model.settingsChanged();
        QVERIFY(!sandbox.preferences().contains(kLastSettings));
        model.setTargetKB(500);
        model.setExactPixels(true);
        model.setPixelWidth(QStringLiteral("0"));
        model.setPixelHeight(QStringLiteral("0"));
        QVERIFY(model.fitSettings().isValid());
        model.settingsChanged();
        QVERIFY(!sandbox.preferences().contains(kLastSettings));
        model.setPixelWidth(QStringLiteral("640"));
        model.setPixelHeight(QStringLiteral("480"));
        model.settingsChanged();
        QCOMPARE(sandbox.preferences().value(kLastSettings).toByteArray(),
                 settingsJson({500'000, 2560, OutputFormat::automatic, 640, 480}));
        QVERIFY(!sandbox.preferences().contains(kActive));
    }

    // ---- Restoring requirements ----
    void storedRequirementsComeBackAtTheNextLaunch() {
        ModelSandbox sandbox;
        AppModel& first = sandbox.model();
        first.setTargetKB(750);
        first.setMaxEdge(1280);
        first.setOutputFormat(OutputFormat::jpeg);
        first.setExactPixels(true);
        first.setPixelWidth(QStringLiteral("+800"));
        first.setPixelHeight(QStringLiteral("600"));
        first.settingsChanged();
        AppModel& model = sandbox.relaunch();
        QCOMPARE(model.targetKB(), 750);
        QCOMPARE(model.customKB(), QStringLiteral("750"));
        QCOMPARE(model.maxEdge(), 1280);
        QCOMPARE(model.outputFormat(), OutputFormat::jpeg);
        QVERIFY(model.exactPixels());
        QCOMPARE(model.pixelWidth(), QStringLiteral("800"));
        QCOMPARE(model.appliedSettings(), (FitSettings{750'000, 1280, OutputFormat::jpeg, 800, 600}));
    }

    void aSizeOfWholeBytesRestoresWholeKilobytes() {
        ModelSandbox sandbox;
        sandbox.preferences().setValue(kLastSettings, settingsJson({1'500'500, 1920, OutputFormat::png, 0, 0}));
        AppModel& model = sandbox.model();
        QCOMPARE(model.targetKB(), 1500);
        QCOMPARE(model.customKB(), QStringLiteral("1500"));
        QCOMPARE(model.appliedSettings().targetBytes, 1'500'500);
        QVERIFY(!model.exactPixels());
        QCOMPARE(model.pixelWidth(), QStringLiteral("600"));
    }

    void badStoredRequirementsAreIgnored_data() {
        QTest::addColumn<QByteArray>("stored");
        QTest::newRow("malformed") << QByteArray("{\"targetBytes\":");
        QTest::newRow("missing key") << QByteArray(R"({"targetBytes":500000,"outputFormat":"auto","exactWidth":0,"exactHeight":0})");
        QTest::newRow("invalid") << settingsJson({5, 1920, OutputFormat::png, 0, 0});
        QByteArray padded = settingsJson({500'000, 1920, OutputFormat::png, 0, 0});
        padded.append(QByteArray(4096 - padded.size(), ' '));
        QTest::newRow("4,096 bytes") << padded;
    }
    void badStoredRequirementsAreIgnored() {
        QFETCH(QByteArray, stored);
        ModelSandbox sandbox;
        sandbox.preferences().setValue(kLastSettings, stored);
        sandbox.preferences().setValue(kActive, QStringLiteral("Web photo"));
        AppModel& model = sandbox.model();
        QCOMPARE(model.fitSettings(), (FitSettings{1'000'000, 2560, OutputFormat::automatic, 0, 0}));
        QVERIFY(!model.activeRecipeName());
    }

    void justUnder4096BytesIsRead() {
        ModelSandbox sandbox;
        QByteArray padded = settingsJson({500'000, 1920, OutputFormat::png, 0, 0});
        padded.append(QByteArray(4095 - padded.size(), ' '));
        sandbox.preferences().setValue(kLastSettings, padded);
        QCOMPARE(sandbox.model().targetKB(), 500);
    }

    void theActiveNameNeedsAMatchingRecipe() {
        const FitSettings webPhoto{500'000, 1920, OutputFormat::automatic, 0, 0};
        {
            ModelSandbox sandbox;
            sandbox.preferences().setValue(kLastSettings, settingsJson(webPhoto));
            sandbox.preferences().setValue(kActive, QStringLiteral("Web photo"));
            QCOMPARE(sandbox.model().activeRecipeName(), QStringLiteral("Web photo"));
        }
        {
            ModelSandbox sandbox;
            sandbox.preferences().setValue(kLastSettings, settingsJson(kShop));
            sandbox.preferences().setValue(kActive, QStringLiteral("Web photo"));
            QVERIFY(!sandbox.model().activeRecipeName());
        }
        {
            ModelSandbox sandbox;
            storeRecipes(sandbox.preferences(), nlohmann::json::array({recipeJson(idNumber(1), "Café", kShop)}));
            sandbox.preferences().setValue(kLastSettings, settingsJson(kShop));
            sandbox.preferences().setValue(kActive, QStringLiteral("Cafe\u0301"));
            QCOMPARE(sandbox.model().activeRecipeName()->normalized(QString::NormalizationForm_C), QStringLiteral("Café"));
        }
        {
            ModelSandbox sandbox;
            storeRecipes(sandbox.preferences(), nlohmann::json::array({recipeJson(idNumber(1), "Shop", kShop)}));
            sandbox.preferences().setValue(kLastSettings, settingsJson(kShop));
            sandbox.preferences().setValue(kActive, QStringLiteral("shop"));
            QVERIFY(!sandbox.model().activeRecipeName());
        }
    }

    // ---- Saving recipes ----
    void savingTrimsTheNameAndMakesItActive() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        QVERIFY(model.saveRecipe(QStringLiteral("  Shop photo  ")));
        QCOMPARE(recipeNames(model), QStringList{QStringLiteral("Shop photo")});
        QCOMPARE(model.activeRecipeName(), QStringLiteral("Shop photo"));
        QCOMPARE(sandbox.preferences().value(kActive).toString(), QStringLiteral("Shop photo"));
        const auto stored = nlohmann::json::parse(sandbox.preferences().value(kRecipes).toByteArray().toStdString());
        QCOMPARE(stored.size(), 1u);
        QCOMPARE(QString::fromStdString(stored[0]["name"].get<std::string>()), QStringLiteral("Shop photo"));
        QCOMPARE(stored[0]["id"].get<std::string>(), model.recipes()[0].id().string());
    }

    void aFullLibraryOnlyAcceptsReplacements() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        QVERIFY(model.saveRecipe(QStringLiteral("Shop photo")));
        for (int i = 1; i < 20; ++i) QVERIFY(model.saveRecipe(QStringLiteral("Recipe %1").arg(i)));
        const QByteArray stored = sandbox.preferences().value(kRecipes).toByteArray();
        QVERIFY(!model.saveRecipe(QStringLiteral("One more")));
        QCOMPARE(sandbox.preferences().value(kRecipes).toByteArray(), stored);
        const Uuid id = model.recipes()[0].id();
        model.setTargetKB(200);
        QVERIFY(model.saveRecipe(QStringLiteral("shop PHOTO")));
        QCOMPARE(model.recipes().size(), 20u);
        QCOMPARE(model.recipes()[0].id(), id);
        QCOMPARE(QString::fromStdString(model.recipes()[0].name()), QStringLiteral("shop PHOTO"));
        QCOMPARE(model.recipes()[0].settings().targetBytes, 200'000);
    }

    void savingIsRefusedForBadNamesOrRequirements() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        QVERIFY(!model.saveRecipe(QStringLiteral("   ")));
        QVERIFY(!model.saveRecipe(QStringLiteral("\n")));
        QVERIFY(!model.saveRecipe(QString(41, QLatin1Char('x'))));
        QVERIFY(model.saveRecipe(QString(40, QLatin1Char('x'))));
        model.setExactPixels(true);
        model.setPixelWidth(QStringLiteral("0"));
        model.setPixelHeight(QStringLiteral("0"));
        QVERIFY(!model.saveRecipe(QStringLiteral("Zero")));
        model.setExactPixels(false);
        model.setTargetKB(9);
        QVERIFY(!model.saveRecipe(QStringLiteral("Tiny")));
        QCOMPARE(model.recipes().size(), 1u);
    }

    void anExampleNameMakesAUserRecipeBesideTheExample() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        QVERIFY(model.saveRecipe(QStringLiteral("Web photo")));
        QCOMPARE(model.recipes().size(), 1u);
        QVERIFY(model.recipes()[0].id() != UploadRecipe::examples()[0].id());
    }

    // ---- Applying and deleting ----
    void applyingExamplesSwitchesModes() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        model.applyRecipe(UploadRecipe::examples()[1]);
        QVERIFY(model.exactPixels());
        QCOMPARE(model.pixelWidth(), QStringLiteral("600"));
        QCOMPARE(model.pixelHeight(), QStringLiteral("600"));
        QCOMPARE(model.maxEdge(), 2560);
        QCOMPARE(model.outputFormat(), OutputFormat::jpeg);
        QCOMPARE(model.targetKB(), 200);
        QCOMPARE(model.customKB(), QStringLiteral("200"));
        QCOMPARE(model.activeRecipeName(), QStringLiteral("Square thumbnail"));
        QCOMPARE(sandbox.preferences().value(kActive).toString(), QStringLiteral("Square thumbnail"));
        model.settingsChanged();  // the panel reporting the fields the recipe set
        QCOMPARE(model.activeRecipeName(), QStringLiteral("Square thumbnail"));
        model.applyRecipe(QString::fromStdString(UploadRecipe::examples()[0].id().string()));
        QVERIFY(!model.exactPixels());
        QCOMPARE(model.pixelWidth(), QStringLiteral("600"));
        QCOMPARE(model.activeRecipeName(), QStringLiteral("Web photo"));
        model.setMaxEdge(800);
        model.settingsChanged();
        QVERIFY(!model.activeRecipeName());
        QVERIFY(!sandbox.preferences().contains(kActive));
    }

    void applyingDiscardsCopiesMadeUnderOtherRequirements() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        const QString source = addPhoto(sandbox);
        QVERIFY(!source.isEmpty());
        QVERIFY(runFit(model));
        model.applyRecipe(UploadRecipe::examples()[0]);
        QCOMPARE(model.readyCount(), 0);
        QCOMPARE(model.appliedSettings(), UploadRecipe::examples()[0].settings());
    }

    void deletingTheActiveRecipeClearsTheName() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        QVERIFY(model.saveRecipe(QStringLiteral("First")));
        QVERIFY(model.saveRecipe(QStringLiteral("Second")));
        model.deleteRecipe(model.recipes()[0].id());
        QCOMPARE(model.activeRecipeName(), QStringLiteral("Second"));
        QCOMPARE(recipeNames(model), QStringList{QStringLiteral("Second")});
        sandbox.preferences().remove(kRecipes);
        model.deleteRecipe(Uuid::random());
        QCOMPARE(model.activeRecipeName(), QStringLiteral("Second"));
        QVERIFY2(sandbox.preferences().contains(kRecipes), "an unknown id stores the list again");
        model.deleteRecipe(QString::fromStdString(model.recipes()[0].id().string()));
        QVERIFY(!model.activeRecipeName());
        QVERIFY(!sandbox.preferences().contains(kActive));
        QCOMPARE(sandbox.preferences().value(kRecipes).toByteArray(), QByteArray("[]"));
    }

    // ---- Restoring recipes ----
    void theFirstTwentyValidRecipesWithDistinctIdsAreRestored() {
        ModelSandbox sandbox;
        nlohmann::json list = nlohmann::json::array();
        list.push_back(recipeJson(idNumber(0), "Invalid", {5, 0, OutputFormat::png, 0, 0}));
        for (int i = 0; i < 25; ++i) list.push_back(recipeJson(idNumber(i), "R" + std::to_string(i), kShop));
        list[5]["id"] = idNumber(1);  // the fifth valid entry repeats the id of the second
        storeRecipes(sandbox.preferences(), list);
        AppModel& model = sandbox.model();
        QCOMPARE(model.recipes().size(), 20u);
        QCOMPARE(QString::fromStdString(model.recipes()[0].name()), QStringLiteral("R0"));
        QCOMPARE(QString::fromStdString(model.recipes()[1].name()), QStringLiteral("R1"));
        QVERIFY(!recipeNames(model).contains(QStringLiteral("R4")));
        QCOMPARE(QString::fromStdString(model.recipes()[19].name()), QStringLiteral("R20"));
    }

    void oneMalformedRecipeEmptiesTheLibrary() {
        ModelSandbox sandbox;
        nlohmann::json list = nlohmann::json::array({recipeJson(idNumber(1), "Good", kShop),
                                                     recipeJson("not-a-uuid", "Bad", kShop)});
        storeRecipes(sandbox.preferences(), list);
        QVERIFY(sandbox.model().recipes().empty());
    }

    void storedRecipesOf100001BytesAreIgnored() {
        auto paddedList = [](std::size_t bytes) {
            nlohmann::json list = nlohmann::json::array({recipeJson(idNumber(1), "Shop", kShop)});
            const std::string text = list.dump();
            return QByteArray::fromStdString(text.substr(0, text.size() - 1) + std::string(bytes - text.size(), ' ') + "]");
        };
        {
            ModelSandbox sandbox;
            const QByteArray stored = paddedList(100'001);
            QCOMPARE(stored.size(), 100'001);
            sandbox.preferences().setValue(kRecipes, stored);
            QVERIFY(sandbox.model().recipes().empty());
            QCOMPARE(sandbox.preferences().value(kRecipes).toByteArray(), stored);
        }
        {
            ModelSandbox sandbox;
            sandbox.preferences().setValue(kRecipes, paddedList(100'000));
            QCOMPARE(sandbox.model().recipes().size(), 1u);
        }
    }

    void recipesSurviveARelaunch() {
        ModelSandbox sandbox;
        AppModel& first = sandbox.model();
        first.setOutputFormat(OutputFormat::png);
        QVERIFY(first.saveRecipe(QStringLiteral("Transparent")));
        AppModel& model = sandbox.relaunch();
        QCOMPARE(recipeNames(model), QStringList{QStringLiteral("Transparent")});
        QCOMPARE(model.activeRecipeName(), QStringLiteral("Transparent"));
        QCOMPARE(model.outputFormat(), OutputFormat::png);
        QCOMPARE(model.recipesForView().size(), 1);
    }
};

QTEST_MAIN(RequirementsTest)
#include "tst_requirements.moc"
