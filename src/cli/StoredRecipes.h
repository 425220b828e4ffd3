// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <vector>

#include "UploadRecipe.h"

namespace parcelo::cli {

// The recipes the app keeps in the user's preferences, restored as the app restores them: an
// unreadable or oversized library is empty, invalid recipes are dropped. Only reads: safe while
// the app runs and writes the same store.
std::vector<UploadRecipe> storedRecipes();

}  // namespace parcelo::cli
