"""Options, exit codes, log and settings of the program."""

import os
import pathlib
import re
import signal
import socket
import subprocess
import tempfile
import unittest

import kova


def run(*options, **more):
    return subprocess.run([kova.WAPD, *options], capture_output=True, text=True, timeout=kova.PATIENCE, **more)


class Options(kova.TestCase):
    def test_help_and_version(self):
        done = run("--help")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        for option in ("--home", "--address", "--port", "--max-clients", "--start", "--start-paging", "--version"):
            self.assertIn(option, done.stdout)
        done = run("--version")
        self.assertEqual(done.returncode, 0)
        self.assertRegex(done.stdout, r"\b1\.7\b")

    def test_a_bad_option_shows_the_usage_and_exits_2(self):
        for options in (["--nonsense"], ["--home"], ["stray"], ["--start=yes"], ["--portly", "1"]):
            with self.subTest(options):
                done = run(*options)
                self.assertEqual(done.returncode, 2)
                self.assertIn("usage:", done.stderr)
                self.assertEqual(done.stdout, "")

    def test_a_folder_that_is_not_there_is_an_error(self):
        done = run("--home", "/nonexistent/folder", "--start")
        self.assertEqual(done.returncode, 1)
        self.assertIn("/nonexistent/folder", done.stderr)

    def test_what_cannot_listen_says_why_and_exits_1(self):
        taken = socket.socket()
        self.addCleanup(taken.close)
        taken.bind(("127.0.0.1", 0))
        taken.listen()
        port = str(taken.getsockname()[1])
        cases = [
            (["--address", "127.0.0.1", "--port", port], "Another application is already listening on this port"),
            (["--address", "192.0.2.1", "--port", port], "IP address not used by this PC.   Detected IP address is:"),
            (["--port", "0"], "The specified port number is invalid"),
            (["--port", "65536"], "The specified port number is invalid"),
            (["--port", "blank"], "The specified port number is invalid"),
            (["--port", port, "--max-clients", "1000"], "The specified maximum number of clients is invalid"),
            (["--port", port, "--max-clients", "-1"], "The specified maximum number of clients is invalid"),
        ]
        for options, message in cases:
            with self.subTest(options), tempfile.TemporaryDirectory() as home:
                done = run("--home", home, "--start", *options)
                self.assertEqual(done.returncode, 1)
                self.assertIn(message, done.stderr)
                self.assertIn(message, done.stdout, "a message box becomes a log line")

    def test_the_program_s_folder_becomes_the_current_directory(self):
        server = self.start()
        self.assertEqual(os.readlink(f"/proc/{server.process.pid}/cwd"), str(server.home))

    def test_a_fresh_folder_serves_its_own_pages(self):
        server = self.start(settings={"Main": {}})
        (server.home / "index.wml").write_text("<wml/>")
        self.assertEqual(server.get("/").body, b"<wml/>")

    def test_auto_start_listens_as_stored(self):
        server = self.start(start=False)
        server.write_settings({"Main": {"Local_Port": str(server.port), "Auto_Start": "1"}})
        log = open(server.log_file, "wb")
        self.addCleanup(log.close)
        server.process = subprocess.Popen([kova.WAPD, "--home", str(server.home)], stdout=log, stderr=log)
        listening = f":{server.port:04X}"
        kova.wait_until(lambda: any(line.split()[1].endswith(listening) and line.split()[3] == "0A" for line in
                                    pathlib.Path("/proc/net/tcp").read_text().splitlines()[1:]), "the auto start")
        self.assertEqual(server.stop(), 0)

    def test_signals_end_it_in_order(self):
        for how in (signal.SIGTERM, signal.SIGINT):
            with self.subTest(how.name):
                server = self.start()
                with server.client() as waiting:
                    waiting.send(b"GET /half")
                    self.assertEqual(server.stop(how), 0)
                self.assertEqual(server.temporary_decks(), [])


class Log(kova.TestCase):
    def test_the_lines_of_one_request(self):
        server = self.start()
        (server.pages / "index.wml").write_bytes(b"x" * 100)
        server.get("/")
        server.wait_log("Finished sending data")
        server.get("/gone.wml")
        server.wait_log("File Availability Error")
        self.assertEqual(server.stop(), 0)
        lines = server.log_file.read_bytes().decode().split("\r\n")
        self.assertEqual(lines.pop(), "", "every line ends with CR LF")
        for line in lines:
            self.assertRegex(line, r"^\d\d-\d\d-\d\d \d\d:\d\d:\d\d \S")
        texts = [re.sub(r"handle = \d+", "handle = N", line[18:]) for line in lines]
        self.assertIn("Client 1 requested /index.wml", texts, "/ is the start deck")
        first = texts.index("127.0.0.1 Connected on Index 1, Active Clients: 1")
        self.assertEqual(texts[first + 1:first + 4], [
            "Client 1 requested /index.wml",
            "Sending 100 bytes to client 1",
            "Socket 1 (handle = N) disconnected: Finished sending data",
        ])
        second = texts.index("Client 1 requested /gone.wml")
        self.assertRegex(texts[second + 1], r"^File Availability Error: /gone.wml  #: \d+ on client 127.0.0.1 at BYTE 0$")

    def test_the_default_pin_is_warned_about_until_it_is_changed(self):
        for main, warned in (({}, True), ({"PIN_Code": "73106482"}, True), ({"PIN_Code": "11223344"}, False)):
            with self.subTest(main):
                server = self.start(settings={"Main": main})
                server.stop()
                self.assertEqual("PIN_Code" in server.log(), warned)

    def test_a_reader_that_stops_reading_the_log_holds_nothing_up(self):
        server = self.start(start=False)
        (server.pages / "index.wml").write_bytes(b"deck " * 100)
        reader, writer = os.pipe()
        self.addCleanup(os.close, reader)
        server.process = subprocess.Popen(
            [kova.WAPD, "--home", str(server.home), "--address", "127.0.0.1", "--port", str(server.port), "--start"],
            stdout=writer, stderr=subprocess.DEVNULL)
        os.close(writer)
        kova.wait_until(lambda: any(row[0] == "0A" for row in kova.tcp_rows(server.port)), "the program to listen")
        for _ in range(600):  # about four times what the pipe holds
            self.assertEqual(server.get("/").body, b"deck " * 100)
        self.assertEqual(server.stop(), 0)


class Settings(kova.TestCase):
    def test_the_typed_fields_are_stored_and_the_rest_of_the_file_stays(self):
        server = self.start(start=False)
        (server.home / "tarvel_wap.ini").write_bytes(
            b"; my own words\r\n[Other]\r\nkey = value\r\n[main]\r\nPIN_Code=11112222\r\n")
        server.start()
        server.stop()
        text = (server.home / "tarvel_wap.ini").read_bytes().decode()
        self.assertTrue(text.startswith("; my own words\r\n[Other]\r\nkey = value\r\n[main]\r\nPIN_Code=11112222\r\n"))
        self.assertIn(f"Local_Port={server.port}\r\n", text)
        self.assertIn("Local_Address=127.0.0.1\r\n", text)
        self.assertEqual((server.home / "tarvel_wap.ini").stat().st_mode & 0o777, 0o600)


if __name__ == "__main__":
    unittest.main()
