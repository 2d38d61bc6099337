#!/usr/bin/env python3
"""Runs a command on a display of its own (Xvfb with a window manager) and ends with its exit code.

Usage: scripts/on-display.py COMMAND [ARGUMENT...]
"""

import os
import select
import subprocess
import sys
import tempfile

SIZE = "1280x1024x24"


def end(process):
    process.terminate()
    try:
        process.wait(10)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()


def main():
    quiet = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
    number, told = os.pipe()
    started = [subprocess.Popen(["Xvfb", "-displayfd", str(told), "-screen", "0", SIZE, "-nolisten", "tcp"],
                                pass_fds=[told], **quiet)]
    os.close(told)
    try:
        with os.fdopen(number) as pipe, tempfile.TemporaryDirectory(prefix="kova-home-") as home:
            if not select.select([pipe], [], [], 60)[0]:
                sys.exit("Xvfb does not start")
            # A desktop like any other: no settings of whoever runs this, no language but English.
            environment = {**os.environ, "DISPLAY": ":" + pipe.readline().strip(), "GDK_BACKEND": "x11", "HOME": home,
                           "LC_ALL": "C.UTF-8", "NO_AT_BRIDGE": "1", "XDG_CONFIG_HOME": home}
            environment.pop("WAYLAND_DISPLAY", None)
            started.append(subprocess.Popen(["openbox"], env=environment, **quiet))
            return subprocess.run(sys.argv[1:], env=environment).returncode
    finally:
        for process in reversed(started):
            end(process)


sys.exit(main())
