// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// Parcelo: one window over one AppModel for the life of the process.

#include <cstdio>
#include <optional>
#include <string_view>

#include <QGuiApplication>
#include <QtQml/qqmlextensionplugin.h>

#include "AppEngine.h"
#include "ParceloApp.h"
#include "SingleInstance.h"

Q_IMPORT_QML_PLUGIN(ParceloPlugin)
Q_IMPORT_QML_PLUGIN(Parcelo_ModelPlugin)
Q_IMPORT_QML_PLUGIN(Parcelo_StylePlugin)

namespace {

constexpr const char* kUsage =
    "Usage: parcelo [--] [FILE_OR_FOLDER...]\n"
    "       parcelo --help | --version\n"
    "\n"
    "Opens Parcelo, which makes upload-ready copies of images within a size limit, with the\n"
    "images and folders given (folders with all their subfolders). When Parcelo is already\n"
    "running, they are added to its window and this launch ends.\n"
    "\n"
    "  -h, --help      Show this help.\n"
    "  --version       Show the version.\n"
    "  --              Every argument after it is a file or folder.\n"
    "\n"
    "parcelo-fit makes the same copies from the command line; see parcelo-fit --help.\n";

constexpr const char* kVersion = "parcelo " PARCELO_VERSION "\n";

// --help and --version answer before there is an application object, so they open no window
// and need no display; Qt's own options (-platform and the like) are Qt's business.
std::optional<const char*> answerOnTerminal(int argc, char* argv[]) {
    for (int at = 1; at < argc; ++at) {
        const std::string_view argument = argv[at];
        if (argument == "--") break;
        if (argument == "-h" || argument == "--help") return kUsage;
        if (argument == "--version") return kVersion;
    }
    return std::nullopt;
}

}  // namespace

int main(int argc, char* argv[]) {
    if (const auto answer = answerOnTerminal(argc, argv)) return std::fputs(*answer, stdout) < 0 ? 1 : 0;
    // Before the toolkit starts, which looks for the session's runtime folder as it does.
    const QString instanceName = parcelo::SingleInstance::serverName();
    QGuiApplication application(argc, argv);
    parcelo::applyApplicationLook();
    parcelo::ParceloApp parcelo;
    QStringList paths = QCoreApplication::arguments().mid(1);
    paths.removeOne(QStringLiteral("--"));
    return parcelo.exec(paths, instanceName);
}
