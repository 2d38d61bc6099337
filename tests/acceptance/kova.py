"""The built program as its users meet it: started as a process, asked over real sockets on loopback.

KOVA_WAPD names the program. Everything a test starts is stopped by its own process id, and everything it writes lies in
a temporary folder.
"""

import glob
import os
import pathlib
import re
import shutil
import signal
import socket
import struct
import subprocess
import tempfile
import time
import unittest
import xml.etree.ElementTree as tree

WAPD = os.environ["KOVA_WAPD"]
# What runs a program that was built for Windows.
RUN = os.environ.get("KOVA_RUN", "").split()
WINDOWS = bool(RUN)
# What ends the program in order; there it is Ctrl+C.
END = signal.SIGINT if WINDOWS else signal.SIGTERM
ROOT = pathlib.Path(__file__).resolve().parents[2]
PIN = "24681357"
# Long enough for a sanitized build on a busy machine; only a failing test ever waits that long.
PATIENCE = 60
# A sanitized program keeps freed memory for a while; how much it may keep must not hide how much it uses.
os.environ.setdefault("ASAN_OPTIONS", "quarantine_size_mb=2")
# The types that the pages of these tests have; a phone gets only what it says it can show.
ACCEPT = "text/vnd.wap.wml, text/html, image/png, image/jpeg, application/octet-stream"
DOCTYPE = '<!DOCTYPE wml PUBLIC "-//WAPFORUM//DTD WML 1.1//EN" "http://www.wapforum.org/DTD/wml_1.1.xml">'


def wait_until(condition, what, seconds=PATIENCE):
    """Returns the condition's first true value; fails with `what` when it does not come."""
    end = time.monotonic() + seconds
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise AssertionError(f"waited {seconds} s in vain for {what}")
        time.sleep(0.005)


def native(path, windows=WINDOWS):
    """A path as the program has to write it."""
    return "Z:" + str(path).replace("/", "\\") if windows else str(path)


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def tcp_rows(port):
    """The kernel's rows for one local port of 127.0.0.1: (state, peer port, bytes not yet read, inode)."""
    rows = []
    for line in pathlib.Path("/proc/net/tcp").read_text().splitlines()[1:]:
        field = line.split()
        if field[1] == f"0100007F:{port:04X}":
            rows.append((field[3], int(field[2].split(":")[1], 16), int(field[4].split(":")[1], 16), int(field[9])))
    return rows


class Answer:
    """What came back on one connection."""

    def __init__(self, raw):
        self.raw = raw
        head, separator, self.body = raw.partition(b"\r\n\r\n")
        self.head = head.decode("latin-1") if separator else ""
        lines = self.head.split("\r\n")
        self.status = lines[0]
        self.headers = dict(line.split(": ", 1) for line in lines[1:] if ": " in line)

    @property
    def text(self):
        return self.body.decode("utf-8")

    def rows(self):
        """The labels of the deck's links."""
        return re.findall(r"<a href=\"[^\"]*\">([^<]*)</a>", self.text)


class Client:
    """One connection that a test drives step by step."""

    def __init__(self, port, receive_buffer=None):
        self.socket = socket.socket()
        if receive_buffer:
            self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, receive_buffer)
        self.socket.settimeout(PATIENCE)
        self.port = port
        self.socket.connect(("127.0.0.1", port))

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.socket.close()

    def send(self, data):
        self.socket.sendall(data)

    def get(self, path, accept=ACCEPT):
        self.send(request(path, accept))

    def wait_taken(self):
        """Waits until the program has read everything that was sent."""
        own = self.socket.getsockname()[1]
        wait_until(lambda: any(peer == own and unread == 0 and inode for _, peer, unread, inode in tcp_rows(self.port)),
                   "the program to read a piece")

    def receive(self, count):
        data = b""
        while len(data) < count:
            piece = self.socket.recv(min(65536, count - len(data)))
            if not piece:
                break
            data += piece
        return data

    def rest(self):
        pieces = []
        while piece := self.socket.recv(65536):
            pieces.append(piece)
        return b"".join(pieces)

    def hang_up(self):
        """Breaks the connection at once, as a phone that leaves the network's reach."""
        self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.socket.close()


def request(path, accept=ACCEPT):
    if isinstance(path, str):
        path = path.encode()
    return b"GET " + path + b" HTTP/1.1\r\nHost: 127.0.0.1\r\nAccept: " + accept.encode() + b"\r\n\r\n"


class Server:
    """One running tarvel_wapd with a program folder of its own."""

    def __init__(self, settings=None, options=(), home=None):
        self.own_home = home is None
        self.home = pathlib.Path(home or tempfile.mkdtemp(prefix="kova-test-"))
        self.pages = self.home / "pages"
        self.outlook = self.home / "outlook"
        self.log_file = self.home / "log.txt"
        self.port = free_port()
        # Never an Outlook of the machine's own.
        self.command = [*RUN, WAPD, "--home", native(self.home), "--outlook", "files"]
        self.options = list(options)
        self.process = None
        if self.own_home:
            self.pages.mkdir()
            self.write_settings({"Main": {"WAP_Directory": native(f"{self.pages}/"), "PIN_Code": PIN}, **(settings or {})})

    def write_settings(self, sections):
        lines = []
        for section, keys in sections.items():
            lines.append(f"[{section}]")
            lines += [f"{key}={value}" for key, value in keys.items()]
        (self.home / "tarvel_wap.ini").write_bytes("".join(line + "\r\n" for line in lines).encode())

    def start(self):
        with open(self.log_file, "ab") as log:
            self.process = subprocess.Popen(
                [*self.command, "--address", "127.0.0.1", "--port", str(self.port), "--start", *self.options],
                stdout=log, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL)
        wait_until(lambda: self.process.poll() is not None or any(row[0] == "0A" for row in tcp_rows(self.port)),
                   "the program to listen")
        if self.process.poll() is not None:
            raise AssertionError("the program ended at once: " + self.log())

    def stop(self, how=END):
        """Ends the program and returns its exit code."""
        if self.process.poll() is None:
            self.process.send_signal(how)
        try:
            return self.process.wait(PATIENCE)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
            raise

    def clean_up(self):
        try:
            if self.process:
                self.stop()
        finally:
            if self.own_home:
                shutil.rmtree(self.home, ignore_errors=True)

    def log(self):
        return self.log_file.read_text(encoding="utf-8", errors="replace")

    def wait_log(self, text, count=1):
        """Lines are written after the answer has gone out."""
        wait_until(lambda: self.log().count(text) >= count, f"the log line '{text}'")

    def memory_kib(self):
        status = pathlib.Path(f"/proc/{self.process.pid}/status").read_text()
        return int(re.search(r"VmRSS:\s+(\d+)", status)[1])

    def temporary_decks(self):
        return glob.glob(glob.escape(str(self.pages)) + "/*.tmp")

    def client(self, **options):
        return Client(self.port, **options)

    def raw(self, data):
        with self.client() as client:
            client.send(data)
            return client.rest()

    def get(self, path, accept=ACCEPT):
        return Answer(self.raw(request(path, accept)))

    def post(self, path, body):
        return Answer(self.raw(f"POST {path} HTTP/1.1\r\nHost: 127.0.0.1\r\nAccept: {ACCEPT}\r\n\r\n{body}".encode()))

    def put(self, name, text, folder=None):
        """Writes a file below the personal data as another program would: beside, then renamed."""
        path = self.outlook / name
        path.parent.mkdir(parents=True, exist_ok=True)
        beside = path.with_name(".beside")
        data = text.encode() if isinstance(text, str) else text
        beside.write_bytes(data)
        beside.rename(path)
        return path


class TestCase(unittest.TestCase):
    def start(self, start=True, **options):
        server = Server(**options)
        self.addCleanup(server.clean_up)
        if start:
            server.start()
        return server

    def assertDeck(self, answer):
        """The answer is a whole, well-formed WML deck."""
        self.assertEqual(answer.status, "HTTP/1.1 200 OK", answer.raw[:200])
        self.assertEqual(answer.headers["Content-Type"], "text/vnd.wap.wml")
        self.assertEqual(int(answer.headers["Content-Length"]), len(answer.body))
        self.assertIn(DOCTYPE, answer.text)
        return tree.fromstring(answer.text)


def component(kind, *lines):
    """An iCalendar file with one component."""
    return "\r\n".join(["BEGIN:VCALENDAR", "VERSION:2.0", "PRODID:-//Other//Program//EN", f"BEGIN:{kind}", *lines,
                        f"END:{kind}", "END:VCALENDAR", ""])


def properties(text):
    """The properties of an iCalendar or vCard file by name, unfolded and unescaped: an independent, simple reader."""
    found = {}
    for line in re.sub(r"\r\n[ \t]", "", text).split("\r\n"):
        name, _, value = line.partition(":")
        value = re.sub(r"\\(.)", lambda m: "\n" if m[1] in "nN" else m[1], value)
        found.setdefault(name.split(";")[0].upper(), []).append(value)
    return found
