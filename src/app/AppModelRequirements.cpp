// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// The requirement half of the model: the editable requirements, their FitSettings and
// summary, their persistence, and the recipe library.

#include <QFile>

#include <nlohmann/json.hpp>

#include "AppModel.h"
#include "AppModelTasks.h"
#include "BatchTexts.h"
#include "RequirementSummary.h"

namespace parcelo {

namespace {

const QString kLastSettingsKey = QStringLiteral("lastSettings.v1");
const QString kRecipesKey = QString::fromUtf8(kStoredRecipesKey);
const QString kActiveRecipeKey = QStringLiteral("activeRecipeName.v1");

// An optional "+" or "-" and ASCII digits that fit 64 bits; anything else is -1, so that
// the settings are invalid. No white space is trimmed.
qint64 exactSide(const QString& text) {
    const qsizetype firstDigit = (text.startsWith(QLatin1Char('+')) || text.startsWith(QLatin1Char('-'))) ? 1 : 0;
    if (text.size() == firstDigit) return -1;
    for (qsizetype i = firstDigit; i < text.size(); ++i)
        if (text[i] < QLatin1Char('0') || text[i] > QLatin1Char('9')) return -1;
    bool ok = false;
    const qint64 value = text.toLongLong(&ok);
    return ok ? value : -1;
}

QString fromUtf8(const std::string& text) { return QString::fromStdString(text); }

// Names are equal when canonically equivalent.
bool sameName(const QString& a, const QString& b) {
    return a.normalized(QString::NormalizationForm_C) == b.normalized(QString::NormalizationForm_C);
}

QVariantMap recipeForView(const UploadRecipe& recipe) {
    const FitSettings& settings = recipe.settings();
    return {
        {QStringLiteral("id"), fromUtf8(recipe.id().string())},
        {QStringLiteral("name"), fromUtf8(recipe.name())},
        {QStringLiteral("targetBytes"), static_cast<qint64>(settings.targetBytes)},
        {QStringLiteral("maxEdge"), static_cast<qint64>(settings.maxEdge)},
        {QStringLiteral("outputFormat"), QString::fromUtf8(rawValue(settings.outputFormat).data())},
        {QStringLiteral("exactWidth"), static_cast<qint64>(settings.exactWidth)},
        {QStringLiteral("exactHeight"), static_cast<qint64>(settings.exactHeight)},
    };
}

std::string_view bytesOf(const QByteArray& data) { return {data.constData(), static_cast<std::size_t>(data.size())}; }

}  // namespace

// ---- Requirement properties: each assignment notifies, and so does the derived state ----

void AppModel::setTargetKB(qint64 kilobytes) {
    assign(targetKB_, kilobytes, &AppModel::targetKBChanged, &AppModel::requirementsChanged);
}

void AppModel::setCustomKB(const QString& text) {
    assign(customKB_, text, &AppModel::customKBChanged);
}

void AppModel::setMaxEdge(qint64 edge) {
    assign(maxEdge_, edge, &AppModel::maxEdgeChanged, &AppModel::requirementsChanged);
}

void AppModel::setOutputFormat(OutputFormat format) {
    assign(outputFormat_, format, &AppModel::outputFormatChanged, &AppModel::requirementsChanged);
}

QString AppModel::outputFormatText() const { return QString::fromUtf8(rawValue(outputFormat_).data()); }

void AppModel::setOutputFormatText(const QString& raw) {
    if (const auto format = outputFormatFromRaw(raw.toStdString())) setOutputFormat(*format);
}

void AppModel::setExactPixels(bool exact) {
    assign(exactPixels_, exact, &AppModel::exactPixelsChanged, &AppModel::requirementsChanged);
}

void AppModel::setPixelWidth(const QString& text) {
    assign(pixelWidth_, text, &AppModel::pixelWidthChanged, &AppModel::requirementsChanged);
}

void AppModel::setPixelHeight(const QString& text) {
    assign(pixelHeight_, text, &AppModel::pixelHeightChanged, &AppModel::requirementsChanged);
}

void AppModel::setActiveRecipeName(std::optional<QString> name) {
    assign(activeRecipeName_, std::move(name), &AppModel::activeRecipeNameChanged);
}

// ---- Derived requirements ----

FitSettings AppModel::fitSettings() const {
    const bool sizeInRange = targetKB_ >= kMinTargetBytes / kBytesPerKB && targetKB_ <= kMaxTargetBytes / kBytesPerKB;
    FitSettings settings;
    settings.targetBytes = sizeInRange ? targetKB_ * kBytesPerKB : 0;
    settings.maxEdge = maxEdge_;
    settings.outputFormat = outputFormat_;
    if (exactPixels_) {
        settings.exactWidth = exactSide(pixelWidth_);
        settings.exactHeight = exactSide(pixelHeight_);
    }
    return settings;
}

QVariantMap AppModel::fitSettingsForView() const {
    const FitSettings settings = fitSettings();
    return {
        {QStringLiteral("targetBytes"), static_cast<qint64>(settings.targetBytes)},
        {QStringLiteral("maxEdge"), static_cast<qint64>(settings.maxEdge)},
        {QStringLiteral("outputFormat"), QString::fromUtf8(rawValue(settings.outputFormat).data())},
        {QStringLiteral("exactWidth"), static_cast<qint64>(settings.exactWidth)},
        {QStringLiteral("exactHeight"), static_cast<qint64>(settings.exactHeight)},
        {QStringLiteral("isValid"), settings.isValid()},
    };
}

QString AppModel::requirementSummary() const {
    const std::optional<ExactTexts> exact =
        exactPixels_ ? std::optional(ExactTexts{pixelWidth_.toStdString(), pixelHeight_.toStdString()}) : std::nullopt;
    return fromUtf8(parcelo::requirementSummary(fitSettings().targetBytes, maxEdge_, outputFormat_, exact));
}

QVariantList AppModel::recipesForView() const {
    QVariantList list;
    for (const auto& recipe : recipes_) list.append(recipeForView(recipe));
    return list;
}

QVariantList AppModel::exampleRecipesForView() {
    QVariantList list;
    for (const auto& recipe : UploadRecipe::examples()) list.append(recipeForView(recipe));
    return list;
}

// ---- Changes and persistence ----

void AppModel::settingsChanged() {
    PARCELO_ASSERT_MAIN_THREAD();
    if (busy_ || exporting_) return;
    const FitSettings current = fitSettings();
    if (appliedSettings_ != current) setActiveRecipeName(std::nullopt);
    persistSettings();
    if (appliedSettings_ == current) return;
    appliedSettings_ = current;
    discardFittedCopies();
}

// Copies made under other requirements no longer fit: every item goes back to pending.
void AppModel::discardFittedCopies() {
    for (const auto& item : items())
        if (item.output) QFile::remove(*item.output);
    items_.updateAll([](ImageItem& item) {
        item.forgetCopy();
        item.state = BatchTexts::ready;
        item.failed = false;
    });
    itemsDidChange();
    setCompleted(0);
    setExportedDirectory(std::nullopt);
    setMessage(std::nullopt);
}

void AppModel::persistSettings() {
    const FitSettings settings = fitSettings();
    if (!settings.isValid() || exactWithoutSides()) return;
    defaults_->setValue(kLastSettingsKey, QByteArray::fromStdString(nlohmann::json(settings).dump()));
    if (activeRecipeName_)
        defaults_->setValue(kActiveRecipeKey, *activeRecipeName_);
    else
        defaults_->remove(kActiveRecipeKey);
}

void AppModel::persistRecipes() {
    nlohmann::json list = nlohmann::json::array();
    for (const auto& recipe : recipes_) list.push_back(recipe);
    defaults_->setValue(kRecipesKey, QByteArray::fromStdString(list.dump()));
}

void AppModel::restoreRecipes() { recipes_ = restoredRecipes(bytesOf(defaults_->value(kRecipesKey).toByteArray())); }

void AppModel::restoreRequirements() {
    const auto settings = restoredSettings(bytesOf(defaults_->value(kLastSettingsKey).toByteArray()));
    if (!settings) return;
    targetKB_ = settings->targetBytes / kBytesPerKB;
    customKB_ = QString::number(targetKB_);
    maxEdge_ = settings->maxEdge;
    outputFormat_ = settings->outputFormat;
    exactPixels_ = settings->isExact();
    if (exactPixels_) {
        pixelWidth_ = QString::number(settings->exactWidth);
        pixelHeight_ = QString::number(settings->exactHeight);
    }
    appliedSettings_ = *settings;
    const QVariant storedName = defaults_->value(kActiveRecipeKey);
    if (!storedName.isValid()) return;
    std::vector<UploadRecipe> candidates = recipes_;
    candidates.insert(candidates.end(), UploadRecipe::examples().begin(), UploadRecipe::examples().end());
    for (const auto& recipe : candidates) {
        if (sameName(fromUtf8(recipe.name()), storedName.toString()) && recipe.settings() == *settings) {
            activeRecipeName_ = fromUtf8(recipe.name());
            return;
        }
    }
}

// ---- The recipe library ----

bool AppModel::saveRecipe(const QString& name) {
    PARCELO_ASSERT_MAIN_THREAD();
    if (busy_ || exporting_) return false;
    const FitSettings settings = fitSettings();
    if (!settings.isValid() || exactWithoutSides()) return false;
    const QString trimmed = name.trimmed();
    const std::string trimmedName = trimmed.toStdString();
    const auto existing = std::find_if(recipes_.begin(), recipes_.end(), [&trimmedName](const UploadRecipe& recipe) {
        return sameNameIgnoringCase(recipe.name(), trimmedName);
    });
    const bool replacing = existing != recipes_.end();
    const UploadRecipe recipe(replacing ? existing->id() : Uuid::random(), trimmedName, settings);
    if (!recipe.isValid()) return false;
    if (replacing)
        *existing = recipe;
    else if (recipes_.size() >= kMaxRecipes)
        return false;
    else
        recipes_.push_back(recipe);
    emit recipesChanged();
    persistRecipes();
    setActiveRecipeName(trimmed);
    persistSettings();
    return true;
}

void AppModel::applyRecipe(const UploadRecipe& recipe) {
    PARCELO_ASSERT_MAIN_THREAD();
    if (busy_ || exporting_ || !recipe.isValid()) return;
    const FitSettings& settings = recipe.settings();
    setTargetKB(settings.targetBytes / kBytesPerKB);
    setCustomKB(QString::number(targetKB_));
    setMaxEdge(settings.maxEdge);
    setOutputFormat(settings.outputFormat);
    setExactPixels(settings.isExact());
    if (exactPixels_) {
        setPixelWidth(QString::number(settings.exactWidth));
        setPixelHeight(QString::number(settings.exactHeight));
    }
    settingsChanged();
    setActiveRecipeName(fromUtf8(recipe.name()));
    persistSettings();
}

void AppModel::applyRecipe(const QString& id) {
    const auto wanted = Uuid::fromString(id.toStdString());
    if (!wanted) return;
    const std::vector<UploadRecipe>* lists[] = {&recipes_, &UploadRecipe::examples()};
    for (const auto* list : lists)
        for (const auto& recipe : *list)
            if (recipe.id() == *wanted) return applyRecipe(recipe);
}

void AppModel::deleteRecipe(const Uuid& id) {
    PARCELO_ASSERT_MAIN_THREAD();
    const auto found =
        std::find_if(recipes_.begin(), recipes_.end(), [&id](const UploadRecipe& recipe) { return recipe.id() == id; });
    if (found != recipes_.end() && activeRecipeName_ && sameName(fromUtf8(found->name()), *activeRecipeName_))
        setActiveRecipeName(std::nullopt);
    std::erase_if(recipes_, [&id](const UploadRecipe& recipe) { return recipe.id() == id; });
    emit recipesChanged();
    persistRecipes();
    persistSettings();
}

void AppModel::deleteRecipe(const QString& id) {
    if (const auto parsed = Uuid::fromString(id.toStdString())) deleteRecipe(*parsed);
}

}  // namespace parcelo
