// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "FitSettings.h"
#include "Uuid.h"

namespace parcelo {

// A recipe's name may be at most this many user-perceived characters long.
inline constexpr std::size_t kLongestRecipeName = 40;
// The library holds at most this many recipes; a stored library longer than this many bytes
// is ignored unread.
inline constexpr std::size_t kMaxRecipes = 20;
inline constexpr std::size_t kLongestStoredRecipes = 100'000;
// Where the app keeps the library in its preferences, as UTF-8 JSON bytes; parcelo-fit reads it there.
inline constexpr char kStoredRecipesKey[] = "uploadRecipes.v1";

// A named set of requirements that the user saves once and chooses again later.
class UploadRecipe {
public:
    UploadRecipe(Uuid id, std::string name, FitSettings settings);

    [[nodiscard]] const Uuid& id() const { return id_; }
    // The name as the user gave it, stored unchanged.
    [[nodiscard]] const std::string& name() const { return name_; }
    [[nodiscard]] const FitSettings& settings() const { return settings_; }

    // A name that is more than white space, at most 40 characters as stored, and valid settings.
    [[nodiscard]] bool isValid() const;

    // "Web photo", "Square thumbnail" and "Portrait upload": built once per process,
    // each with its own random id.
    static const std::vector<UploadRecipe>& examples();

    // Same id, canonically equivalent names, equal settings.
    friend bool operator==(const UploadRecipe& a, const UploadRecipe& b);

private:
    Uuid id_;
    std::string name_;
    FitSettings settings_;
};

// The library stored under "uploadRecipes.v1": its valid recipes in order, the first of each id,
// at most 20. Empty when the bytes are oversized, malformed or hold one unreadable recipe;
// damage never throws.
std::vector<UploadRecipe> restoredRecipes(std::string_view stored);

// The recipe a user means by `name`: the library's recipes first, then the examples. The name is
// trimmed and compared as the library compares names, without regard to letter case; a recipe
// whose name is canonically equal wins over one that differs only in case.
std::optional<UploadRecipe> recipeNamed(const std::string& name, const std::vector<UploadRecipe>& library);

// The text without white space and line breaks at either end.
std::string trimmed(const std::string& text);

// The number of user-perceived characters (extended grapheme clusters) of UTF-8 text.
std::size_t characterCount(const std::string& text);

// True when text holds something other than white space and line breaks.
bool hasVisibleText(const std::string& text);

// Whether two recipe names are one name to the library: equal without regard to letter case
// under full Unicode case folding ("STRASSE" is "straße"), canonically equivalent forms equal.
bool sameNameIgnoringCase(const std::string& a, const std::string& b);

}  // namespace parcelo

// The stored form {"id", "name", "settings"}. Reading throws nlohmann::json::exception
// when a key is missing, the id is no UUID or the settings cannot be read.
template <>
struct nlohmann::adl_serializer<parcelo::UploadRecipe> {
    static parcelo::UploadRecipe from_json(const nlohmann::json& json);
    static void to_json(nlohmann::json& json, const parcelo::UploadRecipe& recipe);
};
