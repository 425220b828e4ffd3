// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <sys/stat.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <system_error>
#include <vector>

#include <QFileDevice>
#include <QSaveFile>
#include <QString>

#include "PathText.h"
#include "PrivateFolder.h"

// The working folder holds fitted copies of the user's photos while the app runs: nobody but
// the user may read them, and nothing planted at the folder's name beforehand is ever used.
namespace parcelo::WorkingFolder {

inline constexpr std::filesystem::perms kFolderMode = std::filesystem::perms::owner_all;
inline constexpr std::filesystem::perms kCopyMode =
    std::filesystem::perms::owner_read | std::filesystem::perms::owner_write;

inline QString reason(const std::error_code& error) { return QString::fromStdString(error.message()); }

// Makes the folder new, mode 0700, with any missing parents; an existing folder, file or link
// at its name is refused ("File exists"), and so is a parent that another user can change (they
// could put a folder of their own in its place). The reason when it cannot.
inline std::optional<QString> create(const QString& location) {
    const std::filesystem::path folder = toFsPath(location);
    std::error_code error;
    std::filesystem::create_directories(folder.parent_path(), error);
    if (error) return reason(error);
    if (auto unsafe = PrivateFolder::openToOthers(fromFsPath(folder.parent_path()))) return unsafe;
    if (::mkdir(folder.c_str(), 0700) != 0) return reason({errno, std::generic_category()});
    // The user's umask could take away the owner's own bits.
    std::filesystem::permissions(folder, kFolderMode, error);
    return error ? std::optional(reason(error)) : std::nullopt;
}

// A subfolder of the working folder, mode 0700; one that is there already is used.
inline std::optional<QString> createSubfolder(const QString& location) {
    const std::filesystem::path folder = toFsPath(location);
    if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) return reason({errno, std::generic_category()});
    std::error_code error;
    if (!std::filesystem::is_directory(folder, error)) return reason(std::make_error_code(std::errc::not_a_directory));
    return std::nullopt;
}

// Writes the copy atomically, readable by the user alone. The reason when it cannot.
inline std::optional<QString> writeCopy(const QString& path, const std::vector<std::uint8_t>& data) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) return file.errorString();
    if (!file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner)) return file.errorString();
    const auto size = static_cast<qint64>(data.size());
    if (file.write(reinterpret_cast<const char*>(data.data()), size) != size || !file.commit())
        return file.errorString();
    return std::nullopt;
}

// Copies a fitted copy within the working folder, readable by the user alone.
inline std::optional<QString> copyPrivately(const QString& from, const QString& to) {
    std::error_code error;
    std::filesystem::copy_file(toFsPath(from), toFsPath(to), error);
    if (!error) std::filesystem::permissions(toFsPath(to), kCopyMode, error);
    return error ? std::optional(reason(error)) : std::nullopt;
}

}  // namespace parcelo::WorkingFolder
