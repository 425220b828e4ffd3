// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "SingleInstance.h"

#include <unistd.h>

#include <QDataStream>
#include <QDir>
#include <QFileInfo>
#include <QLocalSocket>

namespace parcelo {

namespace {

// Generous for a local socket; only a hung instance takes longer.
constexpr int kAnswerTimeoutMs = 5000;
constexpr char kTaken = 'k';

}  // namespace

QString SingleInstance::serverName() {
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty() && QFileInfo(runtime).isDir()) return QDir(runtime).filePath(QStringLiteral("parcelo.socket"));
    return QDir::temp().filePath(QStringLiteral("parcelo-%1.socket").arg(::getuid()));
}

bool SingleInstance::forward(const QStringList& paths, const QString& name) {
    QLocalSocket socket;
    socket.connectToServer(name);
    if (!socket.waitForConnected(kAnswerTimeoutMs)) return false;
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
    server_.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&server_, &QLocalServer::newConnection, this, &SingleInstance::accept, Qt::UniqueConnection);
    // Listening with access options replaces whatever is at the name, the socket of a live
    // instance too (one started since our launch looked). Only a socket nobody answers on, left
    // by an instance that crashed, may go.
    QLocalSocket probe;
    probe.connectToServer(name);
    if (probe.waitForConnected(kAnswerTimeoutMs)) return false;
    return server_.listen(name);
}

void SingleInstance::accept() {
    while (QLocalSocket* socket = server_.nextPendingConnection()) {
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
