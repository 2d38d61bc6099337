"""The windows of the program for Windows, under Wine on a display of their own, with a picture of each."""

import os
import pathlib
import socket
import subprocess
import unittest

import kova

WAP = os.environ["KOVA_WAP"] + ".exe"
PICTURES = pathlib.Path(os.environ["KOVA_OUTPUT"]) / "pictures"
MAIN = r"^Tarvel Wap Server \["


def output(*command):
    done = subprocess.run(command, capture_output=True, text=True, timeout=kova.PATIENCE)
    return done.stdout.strip()


def window(title):
    """The newest visible window with such a title; nothing when there is none."""
    found = output("xdotool", "search", "--onlyvisible", "--name", title).split()
    return found[-1] if found else None


def wait_window(title):
    return kova.wait_until(lambda: window(title), f"the window {title}")


def windows():
    return output("xdotool", "search", "--onlyvisible", "--classname", "^tarvel_wap.exe$").split()


def has_an_address():
    """Whether this machine's name leads to an address, as the program asks at its start."""
    try:
        return bool(socket.gethostbyname(socket.gethostname()))
    except OSError:
        return False


def press(identity, *keys):
    subprocess.run(["xdotool", "windowactivate", "--sync", identity], timeout=kova.PATIENCE, stderr=subprocess.DEVNULL)
    subprocess.run(["xdotool", "key", "--delay", "80", *keys], check=True, timeout=kova.PATIENCE)


class Windows(kova.TestCase):
    def setUp(self):
        PICTURES.mkdir(exist_ok=True)
        self.server = self.start(start=False)
        (self.server.pages / "index.wml").write_bytes(b"start deck")

    def open(self, *options):
        with open(self.server.log_file, "wb") as log:
            self.server.process = subprocess.Popen(
                [*kova.RUN, WAP, "--home", kova.native(self.server.home), "--outlook", "files", "--address", "127.0.0.1",
                 "--port", str(self.server.port), *options], stdout=log, stderr=log, stdin=subprocess.DEVNULL)
        self.main = wait_window(MAIN)
        if not has_an_address():
            kova.wait_until(lambda: len(windows()) == 2, "the box that says so")
            subprocess.run(["xdotool", "key", "Return"], check=True, timeout=kova.PATIENCE)
            kova.wait_until(lambda: len(windows()) == 1, "the end of the box")

    def take(self, identity, name):
        """A picture in which there is something to see."""
        file = PICTURES / f"windows-{name}.png"
        file.unlink(missing_ok=True)

        def shows():
            before = file.read_bytes() if file.exists() else b""
            subprocess.run(["import", "-window", identity, "-strip", str(file)], check=True, timeout=kova.PATIENCE)
            # Painted to its end.
            return file.read_bytes() == before and int(output("identify", "-format", "%k", str(file))) > 20

        kova.wait_until(shows, f"something to see in {name}")

    def test_every_window_opens_by_keyboard_and_closes(self):
        self.open()
        self.take(self.main, "main")
        # Two buttons share Alt+P, so it only goes from one to the other.
        for name, keys, title in (("launch", ["alt+l"], "Launch center"), ("about", ["alt+a"], "About KOVA"),
                                  ("paging", ["alt+p", "space"], "Paging server"),
                                  ("pop3", ["alt+p", "space"], "Remote mailboxes"),
                                  ("trace", ["alt+t", "Return"], "Tracing Options"),
                                  ("picture", ["alt+t", "Down", "Return"], "Picture for the phone"),
                                  ("telnet", ["alt+t", "Down", "Down", "Return"], "^Telnet")):
            with self.subTest(name):
                press(self.main, *keys)
                opened = wait_window(title)
                self.take(opened, name)
                press(opened, "Escape")
                kova.wait_until(lambda: not window(title), f"the end of {name}")
        press(self.main, "alt+F4")
        self.assertEqual(self.server.process.wait(kova.PATIENCE), 0)

    def test_it_serves_phones_and_closing_it_ends_it(self):
        self.open("--start")
        kova.wait_until(lambda: any(row[0] == "0A" for row in kova.tcp_rows(self.server.port)), "the program to listen")
        self.assertEqual(self.server.get("/").body, b"start deck")
        with self.server.client() as phone:
            phone.send(b"GET /half")
            wait_window(r"\[1 Clients\]")
            # A menu that is open holds no phone up.
            press(self.main, "alt+t")
            self.assertEqual(self.server.get("/").body, b"start deck")
            press(self.main, "Escape", "Escape", "alt+F4")
            self.assertEqual(self.server.process.wait(kova.PATIENCE), 0)
            self.assertEqual(phone.rest(), b"")


if __name__ == "__main__":
    unittest.main()
