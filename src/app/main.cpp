// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// Parcelo: one window over one AppModel for the life of the process.

#include <QGuiApplication>
#include <QtQml/qqmlextensionplugin.h>

#include "AppEngine.h"
#include "ParceloApp.h"
#include "SingleInstance.h"

Q_IMPORT_QML_PLUGIN(ParceloPlugin)
Q_IMPORT_QML_PLUGIN(Parcelo_StylePlugin)

int main(int argc, char* argv[]) {
    // Before the toolkit starts, which looks for the session's runtime folder as it does.
    const QString instanceName = parcelo::SingleInstance::serverName();
    QGuiApplication application(argc, argv);
    parcelo::applyApplicationLook();
    parcelo::ParceloApp parcelo;
    return parcelo.exec(QCoreApplication::arguments().mid(1), instanceName);
}
