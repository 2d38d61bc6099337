"""The decks in a real WML browser, wApua, on a display of its own.

The pictures are kept in the folder that KOVA_PICTURES names, or below the build folder.
"""

import datetime
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

import dovecot
import kova

PICTURES = pathlib.Path(os.environ.get("KOVA_PICTURES") or pathlib.Path(os.environ["KOVA_OUTPUT"]) / "pictures")
SIZE = "420x360"
# A greenish display as of a phone, and links that can be told from text.
BROWSER_SETTINGS = """
WAPBackground: #DCE6D0
LinkBackground: #DCE6D0
LinkForeground: #00358A
HoverBackground: #DCE6D0
HTTP_Accept_Image: image/vnd.wap.wbmp; level=0, application/octet-stream
"""


def end(process):
    process.terminate()
    try:
        process.wait(10)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()


class Browser(kova.TestCase):
    def setUp(self):
        for program in ("wapua", "Xvfb", "import"):
            self.assertTrue(shutil.which(program), f"{program} is missing: scripts/install-packages.sh test")
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="kova-test-"))
        self.addCleanup(shutil.rmtree, self.folder)
        home = self.folder / "home"
        subprocess.run([kova.ROOT / "scripts" / "first-run.sh", home], check=True, timeout=kova.PATIENCE)
        ini = home / "tarvel_wap.ini"
        ini.write_bytes(ini.read_bytes().replace(b"kova.png", b"kova.wbmp"))  # the kind that this browser can show
        self.server = self.start(home=home)
        self.display = self.start_display()
        PICTURES.mkdir(parents=True, exist_ok=True)

    def start_display(self):
        number, told = os.pipe()
        display = subprocess.Popen(["Xvfb", "-displayfd", str(told), "-screen", "0", SIZE + "x24", "-nolisten", "tcp"],
                                   pass_fds=[told], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.addCleanup(end, display)
        os.close(told)
        with os.fdopen(number) as pipe:
            name = pipe.readline().strip()
        self.assertTrue(name, "Xvfb did not start")
        return ":" + name

    def picture(self):
        """The display as rows of RGB pixels."""
        ppm = subprocess.run(["import", "-display", self.display, "-window", "root", "-depth", "8", "ppm:-"],
                             capture_output=True, timeout=kova.PATIENCE).stdout
        magic, size, depth, pixels = ppm.split(b"\n", 3) if ppm.count(b"\n") > 2 else (b"", b"0 0", b"", b"")
        width, height = map(int, size.split())
        return [[pixels[3 * (y * width + x):3 * (y * width + x) + 3] for x in range(width)] for y in range(height)]

    def show(self, path, name):
        """Opens the page and returns its picture once that stands still."""
        settings = self.folder / "wapua.rc"
        settings.write_text(BROWSER_SETTINGS)
        url = f"http://127.0.0.1:{self.server.port}{path}"
        browser = subprocess.Popen(["wapua", "-f", settings, url], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                   env={**os.environ, "DISPLAY": self.display, "HOME": str(self.folder),
                                        "http_proxy": "", "no_proxy": "127.0.0.1"})
        self.addCleanup(end, browser)
        self.server.wait_log("requested " + ("/index.wml" if path.startswith("/#") or path == "/" else path.split("#")[0]))
        self.server.wait_log("Finished sending data")
        last = []

        def stands_still():
            picture = self.picture()
            if picture == (last[0] if last else None) and self.written(picture) > 300:
                return picture
            last[:] = [picture]
            return None
        picture = kova.wait_until(stands_still, "the browser to show the page")
        target = PICTURES / (name + ".png")
        subprocess.run(["import", "-display", self.display, "-window", "root", "-strip", target], check=True,
                       timeout=kova.PATIENCE)
        self.assertGreater(target.stat().st_size, 1000)
        end(browser)
        return picture

    @staticmethod
    def written(picture):
        """How many pixels of the text area, without buttons, scroll bar and the browser's own sign, are written on."""
        page = bytes.fromhex(BROWSER_SETTINGS.split("WAPBackground: #")[1][:6])
        area = [pixel for row in picture[70:285] for pixel in row[8:360]]
        return sum(1 for pixel in area if pixel != page) if page in area else 0

    def test_pages(self):
        today = datetime.date.today().strftime("%m/%d")
        start = self.show("/", "start-deck")
        calendar = self.show(f"/ocal?caltp=W&dat={today}", "calendar")
        self.assertNotEqual(start, calendar)
        contact = self.show("/ocon?contp=01", "contact")
        self.assertNotEqual(calendar, contact)
        self.show("/oeml?caltp=01", "e-mail")
        self.show("/#picture", "picture")

    @unittest.skipIf(dovecot.skip_reason(), dovecot.skip_reason())
    def test_mailbox(self):
        server = dovecot.Dovecot()
        self.addCleanup(server.stop)
        server.add_mailbox("owner", [
            b"From: Mia Keller <mia@example.test>\nSubject: Lunch on Friday?\n\nAt noon, in the new place.\n",
            b"From: Print room <print@example.test>\nSubject: Your posters\n\nThey are ready.\n",
            b"From: Zoe <zoe@example.test>\nSubject: Tomorrow\n\nShall we meet at nine?\n"])
        ini = self.server.home / "tarvel_wap.ini"
        account = {"Title": "Office", "Server": dovecot.MAIL_ADDRESS, "User": "owner", "Pass": dovecot.PASSWORD, "PIN": 4711}
        rows = "".join(f"POP3_{key}_0={value}\r\n" for key, value in account.items())
        ini.write_bytes(ini.read_bytes().replace(b"[Main]\r\n", b"[Main]\r\n" + rows.encode(), 1))
        listing = self.show("/pop3?caltp=0&pin=4711", "mailbox")
        mail = self.show("/pop3?caltp=0&pin=4711&poppos=1", "mail")
        self.assertNotEqual(listing, mail)


if __name__ == "__main__":
    unittest.main()
