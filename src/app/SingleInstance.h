// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QLocalServer>
#include <QObject>
#include <QStringList>

namespace parcelo {

// One Parcelo per user session: a second launch hands its files to the running instance over a
// local socket and ends. The files travel as absolute paths, resolved by the launching process.
class SingleInstance : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    // The socket of this user's session: in the runtime folder when the session has one,
    // else in the temporary folder under the user's id.
    [[nodiscard]] static QString serverName();

    // Hands `paths` to a running instance; true when one answered that it took them.
    [[nodiscard]] static bool forward(const QStringList& paths, const QString& name = serverName());

    // Starts taking the files of later launches, in place of a socket left behind by an instance
    // that crashed (nobody answers on it). False when another instance answers on the socket, or
    // listening is impossible.
    bool listen(const QString& name = serverName());

signals:
    // A later launch sent these paths (possibly none: it only asks for the window).
    void filesReceived(const QStringList& paths);

private:
    void accept();

    QLocalServer server_;
};

}  // namespace parcelo
