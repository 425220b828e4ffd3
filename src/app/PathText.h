// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <filesystem>

#include <QFile>
#include <QString>

namespace parcelo {

// Paths cross between Qt and the engine in the file system's own encoding.
inline std::filesystem::path toFsPath(const QString& path) {
    return std::filesystem::path(QFile::encodeName(path).toStdString());
}

inline QString fromFsPath(const std::filesystem::path& path) {
    return QFile::decodeName(QByteArray::fromStdString(path.native()));
}

}  // namespace parcelo
