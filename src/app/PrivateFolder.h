// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <optional>

#include <QString>

// Folders of this user inside folders that other users share, such as the temporary folder. A
// name there may have been taken first by someone else, and a folder that another user can
// change lets them swap what is in it: nothing found there is trusted unless it is the user's own.
namespace parcelo::PrivateFolder {

// Why what this user keeps inside `parent` could be renamed or replaced by another user: a
// folder on the way there is theirs, or open to them for writing without the sticky bit that
// keeps each user's entries their own. Nothing when it is safe.
[[nodiscard]] std::optional<QString> openToOthers(const QString& parent);

// True when `path` is a real folder (not a link) of this user that nobody else may enter.
[[nodiscard]] bool isPrivate(const QString& path);

}  // namespace parcelo::PrivateFolder
