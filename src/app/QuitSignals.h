// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QObject>
#include <QSocketNotifier>

namespace parcelo {

// Turns SIGTERM, SIGINT and SIGHUP into a signal on the event loop, so that a logout or a Ctrl+C
// quits Parcelo the way closing its window does: the model cleans up before the process ends.
// The handler only writes one byte into a socket pair; everything else runs on the main thread.
// One instance at a time; the previous handlers come back when it is destroyed.
class QuitSignals : public QObject {
    Q_OBJECT

public:
    explicit QuitSignals(QObject* parent = nullptr);
    ~QuitSignals() override;
    QuitSignals(const QuitSignals&) = delete;
    QuitSignals& operator=(const QuitSignals&) = delete;

signals:
    // One of the three signals arrived; `number` is the signal's number.
    void received(int number);

private:
    void readSignal();

    QSocketNotifier* notifier_ = nullptr;
};

}  // namespace parcelo
