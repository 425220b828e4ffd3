// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QQmlEngine>
#include <QUrl>

#include "AppModel.h"

namespace parcelo {

// The window that shows Parcelo, as the QML module stores it.
inline const QUrl kMainWindowUrl{QStringLiteral("qrc:/qt/qml/Parcelo/Main.qml")};

// The folder of the QML module's files inside the resources, for loading one view alone.
inline const QString kViewsFolder = QStringLiteral("qrc:/qt/qml/Parcelo/");

// Makes `model` the `AppModel` singleton of `Parcelo.Model` for this engine, with a `FileChooser`
// over it, and serves the images the views ask the model for. The application and the view tests prepare engines alike,
// so that what is tested is what runs.
void prepareEngine(QQmlEngine& engine, AppModel& model);

// Makes Inter the font of every text, Basic the style of every control and Breeze the icon theme,
// whatever the desktop uses, so that Parcelo looks the same everywhere. Needs the application
// object, and comes before any view is loaded.
void applyApplicationLook();

}  // namespace parcelo
