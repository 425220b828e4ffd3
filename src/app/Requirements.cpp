// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "Requirements.h"

#include <algorithm>
#include <limits>

#include <QLocale>

#include <QScopedValueRollback>
#include <QVariantMap>

#include <nlohmann/json.hpp>

#include "RequirementSummary.h"

namespace parcelo {

namespace {

const QString kLastSettingsKey = QStringLiteral("lastSettings.v1");
const QString kRecipesKey = QString::fromUtf8(kStoredRecipesKey);
const QString kActiveRecipeKey = QStringLiteral("activeRecipeName.v1");

// The integer a requirement field's text stands for: an optional "+" or "-" and ASCII digits
// that fit 64 bits, nothing else; no white space is trimmed. The one reader of typed numbers.
std::optional<qint64> integerValue(const QString& text) {
    const qsizetype firstDigit = (text.startsWith(QLatin1Char('+')) || text.startsWith(QLatin1Char('-'))) ? 1 : 0;
    if (text.size() == firstDigit) return std::nullopt;
    for (qsizetype i = firstDigit; i < text.size(); ++i)
        if (text[i] < QLatin1Char('0') || text[i] > QLatin1Char('9')) return std::nullopt;
    bool ok = false;
    const qint64 value = text.toLongLong(&ok);
    return ok ? std::optional(value) : std::nullopt;
}

int saturated(qint64 value) {
    return static_cast<int>(std::clamp<qint64>(value, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

bool exactSideAllowed(const QString& text) {
    const auto side = integerValue(text);
    return side && *side >= kMinExactSide && *side <= kMaxExactSide;
}

// The optional requirements: an empty field is none (0), any other text that is no integer is
// out of range (-1), and an integer is taken unchanged for the bounds to judge.
std::int64_t optionalValue(const QString& text) {
    if (text.isEmpty()) return 0;
    return integerValue(text).value_or(-1);
}

// Whole kilobytes as bytes; past what bytes can hold it stays out of range.
std::int64_t kilobytesToBytes(std::int64_t kilobytes) {
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max() / kBytesPerKB;
    return std::clamp(kilobytes, -most, most) * kBytesPerKB;
}

// An optional requirement's field as a recipe or the stored requirements give it.
QString optionalText(std::int64_t value) { return value == 0 ? QString() : QString::number(value); }

QString fromUtf8(const std::string& text) { return QString::fromStdString(text); }
QString fromUtf8(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }

// Names are equal when canonically equivalent.
bool sameName(const QString& a, const QString& b) {
    return a.normalized(QString::NormalizationForm_C) == b.normalized(QString::NormalizationForm_C);
}

QVariantMap recipeForView(const UploadRecipe& recipe, const FitSettings& current) {
    return {
        {QStringLiteral("id"), fromUtf8(recipe.id().string())},
        {QStringLiteral("name"), fromUtf8(recipe.name())},
        {QStringLiteral("matches"), recipe.settings() == current},
    };
}

QVariantList recipesForView(const std::vector<UploadRecipe>& recipes, const FitSettings& current) {
    QVariantList list;
    for (const auto& recipe : recipes) list.append(recipeForView(recipe, current));
    return list;
}

std::string_view bytesOf(const QByteArray& data) { return {data.constData(), static_cast<std::size_t>(data.size())}; }

}  // namespace

Requirements::Requirements(QSettings* preferences, QObject* parent) : QObject(parent), defaults_(preferences) {
    restoreRecipes();
    restoreRequirements();
    // Each recipe's check mark follows the requirements.
    connect(this, &Requirements::changed, this, &Requirements::recipesChanged);
}

// ---- Requirement properties: each assignment notifies and re-applies ----

// A preset or a recipe sets the limit: the field shows it.
void Requirements::setTargetKB(qint64 kilobytes) {
    if (!editable_) return;
    customKB_ = QString::number(kilobytes);
    emit customKBChanged();
    edit(targetKB_, kilobytes, &Requirements::targetKBChanged);
}

// Typed: the limit follows the text.
void Requirements::setCustomKB(const QString& text) {
    if (!editable_) return;
    customKB_ = text;
    emit customKBChanged();
    edit(targetKB_, integerValue(text).value_or(0), &Requirements::targetKBChanged);
}

int Requirements::targetKB() const { return saturated(targetKB_); }

int Requirements::maxEdge() const { return saturated(maxEdge_); }

void Requirements::setMaxEdge(qint64 edge) { edit(maxEdge_, edge, &Requirements::maxEdgeChanged); }

void Requirements::setOutputFormat(OutputFormat format) {
    edit(outputFormat_, format, &Requirements::outputFormatChanged);
}

QString Requirements::outputFormatText() const { return fromUtf8(rawValue(outputFormat_)); }

void Requirements::setOutputFormatText(const QString& raw) {
    if (const auto format = outputFormatFromRaw(raw.toStdString())) setOutputFormat(*format);
}

void Requirements::setExactPixels(bool exact) { edit(exactPixels_, exact, &Requirements::exactPixelsChanged); }

void Requirements::setPixelWidth(const QString& text) { edit(pixelWidth_, text, &Requirements::pixelWidthChanged); }

void Requirements::setPixelHeight(const QString& text) { edit(pixelHeight_, text, &Requirements::pixelHeightChanged); }

void Requirements::setMinimumKB(const QString& text) { edit(minimumKB_, text, &Requirements::minimumKBChanged); }

void Requirements::setResolutionDpi(const QString& text) {
    edit(resolutionDpi_, text, &Requirements::resolutionDpiChanged);
}

void Requirements::setActiveRecipeName(std::optional<QString> name) {
    activeRecipeName_ = std::move(name);
    emit activeRecipeNameChanged();
}

void Requirements::setEditable(bool editable) {
    if (editable_ == editable) return;
    editable_ = editable;
    emit canSaveRecipeChanged();
}

// ---- Derived requirements ----

FitSettings Requirements::fitSettings() const {
    const bool sizeInRange = targetKB_ >= kMinTargetBytes / kBytesPerKB && targetKB_ <= kMaxTargetBytes / kBytesPerKB;
    FitSettings settings;
    settings.targetBytes = sizeInRange ? targetKB_ * kBytesPerKB : 0;
    settings.maxEdge = maxEdge_;
    settings.outputFormat = outputFormat_;
    if (exactPixels_) {
        settings.exactWidth = integerValue(pixelWidth_).value_or(-1);
        settings.exactHeight = integerValue(pixelHeight_).value_or(-1);
    }
    settings.minBytes = kilobytesToBytes(optionalValue(minimumKB_));
    settings.dpi = optionalValue(resolutionDpi_);
    return settings;
}

bool Requirements::exactWithoutSides() const {
    const FitSettings settings = fitSettings();
    return exactPixels_ && settings.exactWidth == 0 && settings.exactHeight == 0;
}

bool Requirements::usable() const { return fitSettings().isValid() && !exactWithoutSides(); }

bool Requirements::exactCropping() const {
    const FitSettings settings = fitSettings();
    return exactPixels_ && settings.isValid() && settings.isExact();
}

QString Requirements::summary() const {
    const std::optional<ExactTexts> exact =
        exactPixels_ ? std::optional(ExactTexts{pixelWidth_.toStdString(), pixelHeight_.toStdString()}) : std::nullopt;
    // A smallest size or resolution out of range is left out; the notes say what is allowed.
    const FitSettings settings = fitSettings();
    return fromUtf8(requirementSummary(settings.targetBytes, maxEdge_, outputFormat_, exact,
                                       settings.hasValidMinimum() ? settings.minBytes : 0,
                                       settings.hasValidDpi() ? settings.dpi : 0));
}

bool Requirements::sizeNoteWarns() const {
    const FitSettings settings = fitSettings();
    return settings.targetBytes == 0 || !settings.hasValidMinimum();
}

QString Requirements::sizeNote() const {
    if (fitSettings().targetBytes == 0) return QStringLiteral("Enter a limit from 10 to 25,000 KB.");
    if (sizeNoteWarns())
        return QStringLiteral("Enter a minimum from %1 to %2 KB.").arg(kMinMinimumBytes / kBytesPerKB).arg(targetKB_);
    return QStringLiteral("Per image · 10 KB to 25 MB");
}

bool Requirements::dimensionsNoteWarns() const {
    return exactPixels_ && !(exactSideAllowed(pixelWidth_) && exactSideAllowed(pixelHeight_));
}

QString Requirements::dimensionsNote() const {
    if (!exactPixels_)
        return maxEdge_ == 0 ? QStringLiteral("Up to %1 px. May shrink to fit.\nNever enlarged.").arg(kMaxMaxEdge)
                             : QStringLiteral("May shrink to fit the KB limit.\nNever enlarged.");
    return dimensionsNoteWarns()
               ? QStringLiteral("Use %1–%2 pixels for each side.").arg(kMinExactSide).arg(kMaxExactSide)
               : QStringLiteral("Adjust each crop in the preview.\n%1–%2 px per side.").arg(kMinExactSide).arg(kMaxExactSide);
}

bool Requirements::formatNoteWarns() const { return !fitSettings().hasValidDpi(); }

QString Requirements::formatNote() const {
    if (formatNoteWarns()) return QStringLiteral("Enter a resolution from %1 to %2 dpi.").arg(kMinDpi).arg(kMaxDpi);
    switch (outputFormat_) {
    case OutputFormat::automatic: return QStringLiteral("JPEG for photos. PNG for transparency.");
    case OutputFormat::jpeg: return QStringLiteral("Transparency becomes a white background.");
    case OutputFormat::png: return QStringLiteral("Keeps transparency. Can make larger files.");
    }
    return {};
}

int Requirements::cropWidth() const { return saturated(integerValue(pixelWidth_).value_or(kDefaultExactSide)); }

int Requirements::cropHeight() const { return saturated(integerValue(pixelHeight_).value_or(kDefaultExactSide)); }

QVariantList Requirements::recipesForView() const { return parcelo::recipesForView(recipes_, fitSettings()); }

QVariantList Requirements::exampleRecipesForView() const {
    return parcelo::recipesForView(UploadRecipe::examples(), fitSettings());
}

QVariantList Requirements::sizePresets() {
    QVariantList presets;
    for (const qint64 kilobytes : {200, 500, 1000, 2000}) {
        const QString label = kilobytes < kBytesPerKB ? QStringLiteral("%1 KB").arg(kilobytes)
                                                      : QStringLiteral("%1 MB").arg(kilobytes / kBytesPerKB);
        presets.append(QVariantMap{{QStringLiteral("kilobytes"), kilobytes}, {QStringLiteral("label"), label}});
    }
    return presets;
}

QVariantList Requirements::edgeChoices() {
    QVariantList choices;
    for (const qint64 edge : {0, 2560, 1920, 1280, 800}) {
        const QString label = edge == 0 ? QStringLiteral("Original · up to %1 px").arg(kMaxMaxEdge)
                                        : QStringLiteral("%1 px").arg(edge);
        choices.append(QVariantMap{{QStringLiteral("edge"), edge}, {QStringLiteral("label"), label}});
    }
    return choices;
}

QString Requirements::sizeRangeDescription() {
    const QLocale english(QLocale::English);
    return QStringLiteral("%1 to %2 kilobytes per image")
        .arg(english.toString(kMinTargetBytes / kBytesPerKB), english.toString(kMaxTargetBytes / kBytesPerKB));
}

QString Requirements::edgeDescription() const {
    return maxEdge() == 0 ? QStringLiteral("Original, up to %1 pixels").arg(kMaxMaxEdge)
                          : QStringLiteral("%1 pixels").arg(maxEdge());
}

QString Requirements::minimumDescription() {
    return QStringLiteral("Optional, %1 kilobyte up to the size limit").arg(kMinMinimumBytes / kBytesPerKB);
}

QString Requirements::resolutionDescription() {
    const QLocale english(QLocale::English);
    return QStringLiteral("Optional, %1 to %2 dots per inch").arg(english.toString(kMinDpi), english.toString(kMaxDpi));
}

// ---- Changes and persistence ----

void Requirements::settingsChanged() {
    if (!editable_) return;
    const FitSettings current = fitSettings();
    if (appliedSettings_ != current) setActiveRecipeName(std::nullopt);
    persistSettings();
    if (appliedSettings_ == current) return;
    appliedSettings_ = current;
    emit settingsReplaced();
}

void Requirements::persistSettings() {
    const FitSettings settings = fitSettings();
    if (!settings.isValid() || exactWithoutSides()) return;
    defaults_->setValue(kLastSettingsKey, QByteArray::fromStdString(nlohmann::json(settings).dump()));
    if (activeRecipeName_)
        defaults_->setValue(kActiveRecipeKey, *activeRecipeName_);
    else
        defaults_->remove(kActiveRecipeKey);
}

void Requirements::persistRecipes() {
    nlohmann::json list = nlohmann::json::array();
    for (const auto& recipe : recipes_) list.push_back(recipe);
    defaults_->setValue(kRecipesKey, QByteArray::fromStdString(list.dump()));
}

void Requirements::restoreRecipes() { recipes_ = restoredRecipes(bytesOf(defaults_->value(kRecipesKey).toByteArray())); }

void Requirements::restoreRequirements() {
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
    minimumKB_ = optionalText(settings->minBytes / kBytesPerKB);
    resolutionDpi_ = optionalText(settings->dpi);
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

bool Requirements::isRecipeName(const QString& name) { return !name.trimmed().isEmpty(); }

bool Requirements::saveRecipe(const QString& name) {
    if (!canSaveRecipe()) return false;
    const QString trimmed = name.trimmed();
    const std::string trimmedName = trimmed.toStdString();
    const auto existing = std::find_if(recipes_.begin(), recipes_.end(), [&trimmedName](const UploadRecipe& recipe) {
        return sameNameIgnoringCase(recipe.name(), trimmedName);
    });
    const bool replacing = existing != recipes_.end();
    const UploadRecipe recipe(replacing ? existing->id() : Uuid::random(), trimmedName, fitSettings());
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

// The recipe's fields are set as one edit: the requirements are re-applied once, then the
// recipe's name is in force.
void Requirements::applyRecipe(const UploadRecipe& recipe) {
    if (!editable_ || !recipe.isValid()) return;
    const FitSettings& settings = recipe.settings();
    {
        const QScopedValueRollback batch(applyingRecipe_, true);
        setTargetKB(settings.targetBytes / kBytesPerKB);
        setMaxEdge(settings.maxEdge);
        setOutputFormat(settings.outputFormat);
        setExactPixels(settings.isExact());
        if (exactPixels_) {
            setPixelWidth(QString::number(settings.exactWidth));
            setPixelHeight(QString::number(settings.exactHeight));
        }
        setMinimumKB(optionalText(settings.minBytes / kBytesPerKB));
        setResolutionDpi(optionalText(settings.dpi));
    }
    settingsChanged();
    setActiveRecipeName(fromUtf8(recipe.name()));
    persistSettings();
}

void Requirements::applyRecipe(const QString& id) {
    const auto wanted = Uuid::fromString(id.toStdString());
    if (!wanted) return;
    const std::vector<UploadRecipe>* lists[] = {&recipes_, &UploadRecipe::examples()};
    for (const auto* list : lists)
        for (const auto& recipe : *list)
            if (recipe.id() == *wanted) return applyRecipe(recipe);
}

void Requirements::deleteRecipe(const Uuid& id) {
    const auto found =
        std::find_if(recipes_.begin(), recipes_.end(), [&id](const UploadRecipe& recipe) { return recipe.id() == id; });
    if (found != recipes_.end() && activeRecipeName_ && sameName(fromUtf8(found->name()), *activeRecipeName_))
        setActiveRecipeName(std::nullopt);
    std::erase_if(recipes_, [&id](const UploadRecipe& recipe) { return recipe.id() == id; });
    emit recipesChanged();
    persistRecipes();
    persistSettings();
}

void Requirements::deleteRecipe(const QString& id) {
    if (const auto parsed = Uuid::fromString(id.toStdString())) deleteRecipe(*parsed);
}

}  // namespace parcelo
