// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "SingleInstance.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>

#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocalSocket>

#include "PrivateFolder.h"

namespace parcelo {

namespace {

// An instance answers once its window is up: a launch right after the first waits for the first
// to load its window, which takes seconds on a busy machine. Only a hung instance takes longer.
constexpr int kAnswerTimeoutMs = 30'000;
constexpr char kTaken = 'k';

const QString kSocketName = QStringLiteral("parcelo.socket");

// True when the process at the other end of the connection runs as this user.
bool sameUser(const QLocalSocket& socket) {
    ucred peer{};
    socklen_t size = sizeof peer;
    return ::getsockopt(static_cast<int>(socket.socketDescriptor()), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 &&
           peer.uid == ::geteuid();
}

void cannotTakeFiles(const QString& reason) {
    qWarning("Parcelo cannot take files from later launches: %s", qPrintable(reason));
}

// A private folder of this user beside the one whose name another user took: the first of the
// user's own, so that later launches find the same one, or else a new one.
QString folderBeside(const QString& taken) {
    const QFileInfo name(taken);
    const QString prefix = name.fileName() + QLatin1Char('-');
    for (const QString& entry : name.dir().entryList({prefix + QLatin1Char('*')}, QDir::Dirs | QDir::NoSymLinks, QDir::Name))
        if (const QString folder = name.dir().filePath(entry); PrivateFolder::isPrivate(folder)) return folder;
    QByteArray pattern = QFile::encodeName(taken + QStringLiteral("-XXXXXX"));
    return ::mkdtemp(pattern.data()) ? QFile::decodeName(pattern) : QString();
}

// The session's folder when it has no runtime folder of the user's: "parcelo-<uid>" in the
// temporary folder, made private or found so. Whatever another user made at that name first is
// left alone, and said on the terminal.
QString temporarySessionFolder() {
    const QString temp = QDir::tempPath();
    if (const auto unsafe = PrivateFolder::openToOthers(temp)) {
        cannotTakeFiles(*unsafe);
        return {};
    }
    const QString folder = QDir(temp).filePath(QStringLiteral("parcelo-%1").arg(::geteuid()));
    const QByteArray path = QFile::encodeName(folder);
    // The user's umask could take away the owner's own bits.
    if (::mkdir(path.constData(), 0700) == 0 && ::chmod(path.constData(), 0700) == 0) return folder;
    if (errno != EEXIST) {
        cannotTakeFiles(QString::fromStdString(std::error_code(errno, std::generic_category()).message()));
        return {};
    }
    if (PrivateFolder::isPrivate(folder)) return folder;
    const QString beside = folderBeside(folder);
    if (beside.isEmpty())
        cannotTakeFiles(folder + QStringLiteral(" isn’t this user’s alone"));
    else
        qWarning("Parcelo doesn’t use %s, which isn’t this user’s alone; it uses %s instead", qPrintable(folder), qPrintable(beside));
    return beside;
}

}  // namespace

QString SingleInstance::serverName() {
    // A runtime folder not of this user is another user's session (a shell of `su` keeps it).
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty() && PrivateFolder::isPrivate(runtime)) return QDir(runtime).filePath(kSocketName);
    const QString folder = temporarySessionFolder();
    if (folder.isEmpty()) return {};
    // A session without a runtime folder gets this one, for the toolkit too, which would otherwise
    // make one of its own under a fixed name in the temporary folder, and complain on the terminal.
    if (runtime.isEmpty()) qputenv("XDG_RUNTIME_DIR", QFile::encodeName(folder));
    return QDir(folder).filePath(kSocketName);
}

bool SingleInstance::forward(const QStringList& paths, const QString& name) {
    if (name.isEmpty()) return false;
    QLocalSocket socket;
    socket.connectToServer(name);
    if (!socket.waitForConnected(kAnswerTimeoutMs) || !sameUser(socket)) return false;
    QByteArray message;
    QDataStream out(&message, QIODevice::WriteOnly);
    out << paths;
    socket.write(message);
    if (!socket.waitForBytesWritten(kAnswerTimeoutMs)) return false;
    while (socket.bytesAvailable() < 1)
        if (!socket.waitForReadyRead(kAnswerTimeoutMs)) return false;
    char answer = 0;
    return socket.getChar(&answer) && answer == kTaken;
}

bool SingleInstance::listen(const QString& name) {
    if (name.isEmpty()) return false;
    server_.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&server_, &QLocalServer::newConnection, this, &SingleInstance::accept, Qt::UniqueConnection);
    // Listening with access options replaces whatever is at the name, the socket of a live
    // instance too (one started since our launch looked). Only a socket that no instance of this
    // user answers on, left by one that crashed, may go.
    QLocalSocket probe;
    probe.connectToServer(name);
    if (probe.waitForConnected(kAnswerTimeoutMs) && sameUser(probe)) return false;
    probe.abort();
    return server_.listen(name);
}

void SingleInstance::accept() {
    while (QLocalSocket* socket = server_.nextPendingConnection()) {
        if (!sameUser(*socket)) {
            socket->abort();  // another user's: not a byte read, not a byte answered
            socket->deleteLater();
            continue;
        }
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            QDataStream in(socket);
            in.startTransaction();
            QStringList paths;
            in >> paths;
            if (!in.commitTransaction()) return;  // the rest is still on its way
            socket->putChar(kTaken);
            socket->flush();
            socket->disconnectFromServer();
            emit filesReceived(paths);
        });
    }
}

}  // namespace parcelo
