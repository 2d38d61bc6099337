"""What the benchmarks of running programs share."""

import os
import pathlib
import socket
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
ACCEPT = "text/vnd.wap.wml, application/octet-stream"
TICKS = os.sysconf("SC_CLK_TCK")


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def wait_for(port):
    for _ in range(500):
        try:
            socket.create_connection(("127.0.0.1", port)).close()
            return
        except ConnectionRefusedError:
            time.sleep(0.02)
    sys.exit(f"nothing listens on port {port}")


def process_tree(pid):
    found = [pid]
    for child in pathlib.Path(f"/proc/{pid}/task/{pid}/children").read_text().split():
        found += process_tree(int(child))
    return found


def cpu_seconds(pid):
    """User and system time of the process and its children, in seconds."""
    total = 0
    for each in process_tree(pid):
        fields = pathlib.Path(f"/proc/{each}/stat").read_text().rsplit(")", 1)[1].split()
        total += int(fields[11]) + int(fields[12])
    return total / TICKS


def get(port, path):
    with socket.create_connection(("127.0.0.1", port)) as peer:
        peer.sendall(f"GET {path} HTTP/1.1\r\nHost: a\r\nConnection: close\r\nAccept: {ACCEPT}\r\n\r\n".encode())
        data = b""
        while piece := peer.recv(65536):
            data += piece
    return data
