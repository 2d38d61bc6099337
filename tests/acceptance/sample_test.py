"""The program's folder as a first run makes it: good pages, and data that is never empty."""

import datetime
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

import kova


def first_run(home):
    subprocess.run([kova.ROOT / "scripts" / "first-run.sh", home], check=True, timeout=kova.PATIENCE)


class Sample(kova.TestCase):
    def setUp(self):
        self.home = pathlib.Path(tempfile.mkdtemp(prefix="kova-test-")) / "program's folder"
        self.addCleanup(shutil.rmtree, self.home.parent)
        first_run(self.home)

    def test_settings(self):
        ini = self.home / "tarvel_wap.ini"
        self.assertEqual(ini.stat().st_mode & 0o777, 0o600)
        lines = ini.read_bytes().decode().split("\r\n")
        self.assertIn(f"WAP_Directory={self.home}/pages/", lines)
        self.assertNotIn("\n", "".join(lines))

    def test_a_second_run_changes_nothing(self):
        (self.home / "pages" / "index.wml").write_text("my own start deck")
        (self.home / "outlook" / "tasks" / "printer.ics").unlink()
        (self.home / "tarvel_wap.ini").write_text("[Main]\r\nPIN_Code=1\r\n")
        before = {path: path.stat().st_mtime_ns for path in self.home.rglob("*")}
        first_run(self.home)
        self.assertEqual({path: path.stat().st_mtime_ns for path in self.home.rglob("*")}, before)

    def test_a_first_run_that_was_interrupted_is_finished(self):
        (self.home / "tarvel_wap.ini").unlink()
        shutil.rmtree(self.home / "outlook" / "inbox")
        shutil.rmtree(self.home / "pages")
        (self.home / "outlook" / "notes" / "mine.md").write_text("kept")
        first_run(self.home)
        self.assertTrue((self.home / "tarvel_wap.ini").exists() and (self.home / "pages" / "index.wml").exists())
        self.assertEqual(len(list((self.home / "outlook" / "inbox" / "new").iterdir())), 4)
        self.assertEqual((self.home / "outlook" / "notes" / "mine.md").read_text(), "kept")

    def test_pages_are_sent_whole(self):
        for path in (self.home / "pages").iterdir():
            length = path.stat().st_size
            self.assertTrue(length > 1 and length % 1024 != 1, f"{path.name} would lose its last byte")

    def test_every_link_of_the_start_deck_leads_to_a_deck(self):
        server = self.start(home=self.home)
        start = server.get("/")
        deck = self.assertDeck(start)
        self.assertLess(len(start.body), 1400, "more than a phone of that time takes in one deck")
        cards = {card.get("id") for card in deck.iter("card")}
        for link in (a.get("href") for a in deck.iter("a")):
            with self.subTest(link):
                if link.startswith("#"):
                    self.assertIn(link[1:], cards)
                else:
                    self.assertDeck(server.get(link))
        for image in deck.iter("img"):
            self.assertTrue(server.get(image.get("src")).body.startswith(b"\x89PNG"))
        self.assertDeck(server.get("/oimg", accept="text/vnd.wap.wml"))

    def test_no_page_is_empty_whatever_today_is(self):
        server = self.start(home=self.home)
        today = datetime.date.today()
        for offset in range(0, 365, 4):
            day = datetime.date(today.year, 1, 1) + datetime.timedelta(offset)
            answer = server.get(f"/ocal?caltp=D&dat={day:%m/%d}")
            self.assertDeck(answer)
            self.assertIn(f"<u>For {day:%m/%d/%y}:</u>", answer.text)
        self.assertGreaterEqual(len(server.get("/ocon?caltp=").rows()), 10 + 3)
        for path in ("/oeml", "/otsk", "/onot"):
            answer = server.get(path)
            self.assertDeck(answer)
            links = re.findall(r'href="(/\w+\?caltp=\d\d)"', answer.text)
            self.assertGreaterEqual(len(links), 3)
            for link in links:
                self.assertDeck(server.get(link))
        for position in range(1, 13):
            detail = server.get(f"/ocon?contp={position:02}")
            self.assertDeck(detail)
            self.assertIn("<b>", detail.text)
        self.assertEqual([line for line in server.log().splitlines() if "outlook" in line], [], "nothing was skipped")


if __name__ == "__main__":
    unittest.main()
