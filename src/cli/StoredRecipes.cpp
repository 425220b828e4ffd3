// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "StoredRecipes.h"

#include <QByteArray>
#include <QSettings>
#include <QString>

namespace parcelo::cli {

// The app's preferences store: the one QSettings gives the organisation and application
// "Parcelo" (~/.config/Parcelo/Parcelo.conf). QSettings reads its own file format, byte values
// included; a store only read is never locked or written back, and the app replaces the file
// whole when it saves, so a read never sees half of a save.
std::vector<UploadRecipe> storedRecipes() {
    const QSettings preferences(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("Parcelo"),
                                QStringLiteral("Parcelo"));
    const QByteArray stored = preferences.value(QString::fromUtf8(kStoredRecipesKey)).toByteArray();
    return restoredRecipes({stored.constData(), static_cast<std::size_t>(stored.size())});
}

}  // namespace parcelo::cli
