// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "UploadRecipe.h"

#include <algorithm>
#include <memory>

#include <nlohmann/json.hpp>
#include <unicode/brkiter.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

namespace parcelo {

namespace {

icu::UnicodeString unicode(const std::string& text) {
    return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())));
}

// Decomposed form, so that "é" typed as one character equals "e" with a combining accent.
icu::UnicodeString decomposed(const icu::UnicodeString& text) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* nfd = icu::Normalizer2::getNFDInstance(status);
    if (U_FAILURE(status)) return text;
    icu::UnicodeString result = nfd->normalize(text, status);
    return U_SUCCESS(status) ? result : text;
}

icu::UnicodeString decomposed(const std::string& text) { return decomposed(unicode(text)); }

// The form in which names equal without regard to case are equal: full case folding between
// canonical decompositions, as Unicode's canonical caseless match has it.
icu::UnicodeString caselessKey(const std::string& text) {
    icu::UnicodeString folded = decomposed(text);
    folded.foldCase();
    return decomposed(folded);
}

UploadRecipe example(const char* name, std::int64_t targetBytes, std::int64_t maxEdge, OutputFormat format,
                     std::int64_t exactWidth, std::int64_t exactHeight) {
    return {Uuid::random(), name,
            FitSettings{.targetBytes = targetBytes,
                        .maxEdge = maxEdge,
                        .outputFormat = format,
                        .exactWidth = exactWidth,
                        .exactHeight = exactHeight}};
}

}  // namespace

UploadRecipe::UploadRecipe(Uuid id, std::string name, FitSettings settings)
    : id_(id), name_(std::move(name)), settings_(settings) {}

bool UploadRecipe::isValid() const {
    return hasVisibleText(name_) && characterCount(name_) <= kLongestRecipeName && settings_.isValid();
}

const std::vector<UploadRecipe>& UploadRecipe::examples() {
    static const std::vector<UploadRecipe> recipes{
        example("Web photo", 500'000, 1'920, OutputFormat::automatic, 0, 0),
        example("Square thumbnail", 200'000, 2'560, OutputFormat::jpeg, 600, 600),
        example("Portrait upload", 200'000, 2'560, OutputFormat::jpeg, 600, 800),
    };
    return recipes;
}

bool operator==(const UploadRecipe& a, const UploadRecipe& b) {
    return a.id_ == b.id_ && a.settings_ == b.settings_ &&
           (a.name_ == b.name_ || decomposed(a.name_) == decomposed(b.name_));
}

std::size_t characterCount(const std::string& text) {
    const icu::UnicodeString unicodeText = unicode(text);
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::BreakIterator> characters(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    if (U_FAILURE(status)) return static_cast<std::size_t>(unicodeText.countChar32());
    characters->setText(unicodeText);
    std::size_t count = 0;
    while (characters->next() != icu::BreakIterator::DONE) ++count;
    return count;
}

std::vector<UploadRecipe> restoredRecipes(std::string_view stored) {
    if (stored.size() > kLongestStoredRecipes) return {};
    std::vector<UploadRecipe> decoded;
    try {
        const auto json = nlohmann::json::parse(stored);
        if (!json.is_array()) return {};
        for (const auto& element : json) decoded.push_back(element.get<UploadRecipe>());
    } catch (const nlohmann::json::exception&) {
        return {};
    }
    std::vector<UploadRecipe> kept;
    for (auto& recipe : decoded) {
        const bool idTaken = std::any_of(kept.begin(), kept.end(),
                                         [&recipe](const UploadRecipe& other) { return other.id() == recipe.id(); });
        if (recipe.isValid() && !idTaken && kept.size() < kMaxRecipes) kept.push_back(std::move(recipe));
    }
    return kept;
}

bool sameNameIgnoringCase(const std::string& a, const std::string& b) { return caselessKey(a) == caselessKey(b); }

std::optional<UploadRecipe> recipeNamed(const std::string& name, const std::vector<UploadRecipe>& library) {
    std::vector<UploadRecipe> candidates = library;
    candidates.insert(candidates.end(), UploadRecipe::examples().begin(), UploadRecipe::examples().end());
    const std::string wanted = trimmed(name);
    const icu::UnicodeString wantedForm = decomposed(wanted);
    for (const auto& recipe : candidates)
        if (decomposed(recipe.name()) == wantedForm) return recipe;
    for (const auto& recipe : candidates)
        if (sameNameIgnoringCase(recipe.name(), wanted)) return recipe;
    return std::nullopt;
}

std::string trimmed(const std::string& text) {
    const icu::UnicodeString unicodeText = unicode(text);
    std::int32_t start = 0;
    std::int32_t end = unicodeText.length();
    while (start < end && u_isUWhiteSpace(unicodeText.char32At(start))) start = unicodeText.moveIndex32(start, 1);
    while (end > start && u_isUWhiteSpace(unicodeText.char32At(end - 1))) end = unicodeText.moveIndex32(end, -1);
    std::string result;
    unicodeText.tempSubStringBetween(start, end).toUTF8String(result);
    return result;
}

bool hasVisibleText(const std::string& text) {
    const icu::UnicodeString unicodeText = unicode(text);
    for (std::int32_t index = 0; index < unicodeText.length(); index = unicodeText.moveIndex32(index, 1)) {
        if (!u_isUWhiteSpace(unicodeText.char32At(index))) return true;
    }
    return false;
}

}  // namespace parcelo

using parcelo::UploadRecipe;

UploadRecipe nlohmann::adl_serializer<UploadRecipe>::from_json(const nlohmann::json& json) {
    const auto id = parcelo::Uuid::fromString(json.at("id").get<std::string>());
    if (!id) throw nlohmann::json::type_error::create(302, "\"id\" is not a UUID", &json);
    return {*id, json.at("name").get<std::string>(), json.at("settings").get<parcelo::FitSettings>()};
}

void nlohmann::adl_serializer<UploadRecipe>::to_json(nlohmann::json& json, const UploadRecipe& recipe) {
    json = nlohmann::json{{"id", recipe.id().string()}, {"name", recipe.name()}, {"settings", recipe.settings()}};
}
