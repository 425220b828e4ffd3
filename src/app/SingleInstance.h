// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QLocalServer>
#include <QObject>
#include <QStringList>

namespace parcelo {

// One Parcelo per user session: a second launch hands its files to the running instance over a
// local socket and ends. The files travel as absolute paths, resolved by the launching process.
// A file name can be private (a passport scan, a medical form): it only ever goes to a Parcelo of
// the same user, and the socket lives where no other user can take its name first.
class SingleInstance : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    // The socket of this user's session: in the runtime folder when the session has one of the
    // user's own, else in a private folder of the user in the temporary folder, which becomes the
    // runtime folder of a session without one: ask before the toolkit starts. Empty, said on the
    // terminal, when there is no safe place for it. Says at most one thing: ask once.
    [[nodiscard]] static QString serverName();

    // Hands `paths` to a running instance of this user; true when it answered that it took them.
    // Another user's listener at the name gets nothing.
    [[nodiscard]] static bool forward(const QStringList& paths, const QString& name);

    // Starts taking the files of later launches of this user, in place of a socket that no
    // instance of the user answers on (left behind by one that crashed). False when one answers
    // on the socket, or listening is impossible.
    bool listen(const QString& name);

signals:
    // A later launch sent these paths (possibly none: it only asks for the window).
    void filesReceived(const QStringList& paths);

private:
    void accept();

    QLocalServer server_;
};

}  // namespace parcelo
