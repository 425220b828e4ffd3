#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The Parcelo developers
# SPDX-License-Identifier: GPL-3.0-or-later

"""Runs a test as a client of a Wayland compositor of its own (Weston), and fails it when
anything is written to standard error.

Weston runs on the X server that with-display.sh gives the test: its X11 backend gives the
session a seat with a keyboard and a pointer, as every desktop session has. (Its headless
backend has no seat, and Qt 6.4's Wayland text input then reads through a null seat and
crashes, which no desktop session would show.) Weston says it is ready through the systemd
notification socket, so nothing waits on the clock.
"""

import os
import socket
import subprocess
import sys
import tempfile

with tempfile.TemporaryDirectory() as runtime:
    os.chmod(runtime, 0o700)
    notify_path = os.path.join(runtime, "notify")
    ready = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
    ready.bind(notify_path)
    ready.settimeout(60)
    # The session's own folders, so that preferences and caches never touch the user's.
    session = dict(os.environ, XDG_RUNTIME_DIR=runtime, XDG_CONFIG_HOME=os.path.join(runtime, "config"),
                   XDG_CACHE_HOME=os.path.join(runtime, "cache"))
    weston = subprocess.Popen(
        ["weston", "--backend=x11-backend.so", "--use-pixman", "--socket=parcelo-test", "--idle-time=0",
         "--no-config", "--modules=systemd-notify.so"],
        env=dict(session, NOTIFY_SOCKET=notify_path), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        while b"READY=1" not in ready.recv(4096):
            pass
        client = dict(session, WAYLAND_DISPLAY="parcelo-test", QT_QPA_PLATFORM="wayland")
        client.pop("DISPLAY", None)
        test = subprocess.run(sys.argv[1:], env=client, stderr=subprocess.PIPE, text=True)
    finally:
        weston.terminate()
        weston.wait()
    sys.stderr.write(test.stderr)
    if test.returncode == 0 and test.stderr.strip():
        print("FAIL: the test wrote to standard error under Wayland")
        sys.exit(1)
    sys.exit(test.returncode)
