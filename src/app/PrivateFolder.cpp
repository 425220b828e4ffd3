// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "PrivateFolder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "PathText.h"

namespace parcelo::PrivateFolder {

namespace {

// Root can change anything anyway; any other owner is another user.
bool ownedByUs(const struct stat& info) { return info.st_uid == ::geteuid() || info.st_uid == 0; }

bool othersMayWrite(const struct stat& info) {
    return (info.st_mode & (S_IWGRP | S_IWOTH)) != 0 && (info.st_mode & S_ISVTX) == 0;
}

}  // namespace

std::optional<QString> openToOthers(const QString& parent) {
    std::error_code error;
    // Links on the way are followed as every later use of the path follows them.
    std::filesystem::path folder = std::filesystem::canonical(toFsPath(parent), error);
    if (error) return QString::fromStdString(error.message());
    for (;; folder = folder.parent_path()) {
        struct stat info {};
        if (::stat(folder.c_str(), &info) != 0) return QString::fromStdString(std::error_code(errno, std::generic_category()).message());
        if (!ownedByUs(info) || othersMayWrite(info)) return fromFsPath(folder) + QStringLiteral(" can be changed by another user");
        if (folder == folder.root_path()) return std::nullopt;
    }
}

bool isPrivate(const QString& path) {
    struct stat info {};
    return ::lstat(QFile::encodeName(path).constData(), &info) == 0 && S_ISDIR(info.st_mode) &&
           info.st_uid == ::geteuid() && (info.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

}  // namespace parcelo::PrivateFolder
