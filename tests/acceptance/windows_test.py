"""The zip as its users meet it: unpacked in an empty Wine prefix, with an Outlook beside it or without."""

import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest
import zipfile

import kova

OUTPUT = pathlib.Path(os.environ["KOVA_OUTPUT"])
PREFIX = tempfile.mkdtemp(prefix="kova-prefix-")
os.environ["WINEPREFIX"] = PREFIX
# The clock of those who made the sample.
os.environ["TZ"] = "Europe/Berlin"
C = pathlib.Path(PREFIX) / "drive_c"


def setUpModule():
    # Not through a pipe, which Wine's services would keep.
    quiet = {"stdin": subprocess.DEVNULL, "stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
    subprocess.run([*kova.RUN, "wineboot", "--init"], check=True, timeout=300, **quiet)
    subprocess.run(["wineserver", "--wait"], check=True, timeout=kova.PATIENCE)


def tearDownModule():
    subprocess.run(["wineserver", "--kill"], timeout=kova.PATIENCE)
    shutil.rmtree(PREFIX, ignore_errors=True)


def run(program, *arguments):
    with tempfile.TemporaryFile() as out, tempfile.TemporaryFile() as err:
        done = subprocess.run([*kova.RUN, str(program), *arguments], stdin=subprocess.DEVNULL, stdout=out, stderr=err,
                              timeout=kova.PATIENCE)
        for file in (out, err):
            file.seek(0)
        return done.returncode, out.read().decode(), err.read().decode()


class Zip(kova.TestCase):
    def setUp(self):
        self.home = C / "Program Files" / "KOVA é" / "kova-wap"
        shutil.rmtree(self.home.parent, ignore_errors=True)
        self.unpack()

    def unpack(self):
        shutil.rmtree(self.home, ignore_errors=True)
        with zipfile.ZipFile(OUTPUT / "kova-wap-windows.zip") as archive:
            archive.extractall(self.home.parent)
        for path in (self.home / "outlook").rglob("*"):
            os.utime(path, (1000000000, 1000000000))

    def serve(self, *options):
        server = kova.Server(home=self.home, options=options)
        server.log_file = self.home.parent / "log.txt"
        server.log_file.unlink(missing_ok=True)
        # The program's folder is the one it lies in.
        server.command = [*kova.RUN, str(self.home / "tarvel_wapd.exe")]
        self.addCleanup(server.clean_up)
        server.start()
        return server

    def register(self, *options):
        """Makes our own server of automation the Outlook of this prefix, over the folders of the zip."""
        self.control = self.home.parent / "control"
        self.control.write_text("")
        status, _, error = run(OUTPUT / "tests" / "test_outlook.exe", "/register", "--folder",
                               kova.native(self.home / "outlook"), "--control", kova.native(self.control), *options)
        self.assertEqual(status, 0, error)
        self.addCleanup(self.unregister)

    def unregister(self):
        self.control.write_text("quit\n")
        self.assertEqual(run(OUTPUT / "tests" / "test_outlook.exe", "/unregister")[0], 0)

    def decks(self, server):
        paths = ["/", "/oabt", "/ocal", "/ocon", "/acal", "/acon", "/atsk", "/anot", "/oeml", "/otsk", "/onot", "/comd",
                 "/pop3", "/ocon?caltp=", "/ocon?caltp=*", "/ocon?caltp=an", "/ocon?caltp=zzz"]
        paths += [f"/ocal?caltp={kind}&dat={month:02}/{14 + month}" for kind in "DWM" for month in (2, 6, 11)]
        paths += [f"/{route}={position:02}" for route in ("ocon?contp", "oeml?caltp", "otsk?caltp", "onot?caltp")
                  for position in range(1, 14)]
        return {path: server.get(path).raw for path in paths}

    def add(self, server):
        for path in ("/acal?caltp=Caf%C3%A9&dat=270714&tim=1230&dur=90&rem=20", "/atsk?caltp=Milk&dat=two%20litres",
                     "/acon?caltp=Zo%C3%AB%20Z&dat=Ltd&eml=z@example.org&hom=1&bus=2&pag=3",
                     "/anot?caltp=Heading&dat=%E4%B8%96%E7%95%8C"):
            self.assertIn("has been added in your list.", server.get(f"{path}&pin=73106482").text)
        return [server.get(path).raw for path in ("/ocon?caltp=zo", "/otsk", "/onot", "/ocal?caltp=D&dat=07/14")]

    def test_from_outlook_and_from_files_the_same_decks(self):
        self.register()
        outlook = self.serve()
        from_outlook = self.decks(outlook)
        self.assertTrue(pathlib.Path(f"{self.control}.pid").exists(), "Outlook was asked")
        for path, answer in from_outlook.items():
            self.assertTrue(answer.startswith(b"HTTP/1.1 200 OK"), path)
        self.assertIn("Week planning", kova.Answer(from_outlook["/ocal?caltp=M&dat=06/20"]).text)
        self.assertEqual(outlook.stop(), 0)
        problems = [line for line in outlook.log().splitlines() if "utlook" in line]
        self.assertEqual(problems, [])

        files = self.serve("--outlook", "files")
        for path, answer in self.decks(files).items():
            self.assertEqual(answer, from_outlook[path], path)

    def test_adding_to_outlook_and_to_files_makes_the_same_items(self):
        self.register()
        outlook = self.serve()
        added = self.add(outlook)
        self.assertEqual(outlook.stop(), 0)
        self.unpack()
        self.assertEqual(self.add(self.serve("--outlook=files")), added)

    def test_without_an_outlook_it_serves_the_files(self):
        for options, said in (((), False), (("--outlook", "outlook"), True)):
            server = self.serve(*options)
            self.assertGreaterEqual(len(server.get("/ocon?caltp=").rows()), 10)
            self.assertEqual("There is no Outlook on this machine" in server.log(), said)
            self.assertEqual(server.stop(), 0)

    def test_a_hanging_outlook_holds_nobody_up_for_long(self):
        self.register()
        server = self.serve()
        (self.home / "pages" / "plain.wml").write_bytes(b"plain deck")
        self.assertIn("Week planning", server.get("/ocal?caltp=M&dat=06/20").text)
        self.control.write_text("hang GetDefaultFolder 600000\n")
        self.assertEqual(server.get("/oeml").status, "HTTP/1.1 200 OK")
        server.wait_log("no answer")
        self.assertEqual(server.get("/plain.wml").body, b"plain deck")
        self.assertEqual(server.stop(), 0)

    def test_both_programs_say_what_they_are(self):
        for name in ("tarvel_wapd", "tarvel_wap"):
            program = self.home / f"{name}.exe"
            self.assertEqual(run(program, "--version"), (0, f"{name} 1.7\r\n", ""))
            status, out, error = run(program, "--nonsense")
            self.assertEqual((status, out), (2, ""))
            self.assertIn(f"usage: {name}", error)

    def test_a_command_is_started_and_a_word_is_never_a_second_one(self):
        server = self.serve()
        with open(self.home / "tarvel_wap.ini", "ab") as file:
            file.write(b"CMD_Title_2=Batch\r\nCMD_Command_2=write.bat\r\nCMD_Title_3=Missing\r\nCMD_Command_3=missing.exe\r\n")
        (self.home / "write.bat").write_bytes(b"@echo %~1>word.part\r\n@ren word.part word.txt\r\n")
        word = self.home / "word.txt"
        self.assertIn("Command: Batch has been lauched.", server.get("/comd?caltp=2&par=hello&pin=").text)
        self.assertEqual(kova.wait_until(lambda: word.exists() and word.read_text(), "the command"), "hello\n")
        for text in ("x&echo>harm", "x|echo>harm", "%PATH%", '"&echo>harm&"', "x\r\necho>harm", "^&echo>harm"):
            escaped = "".join(f"%{byte:02X}" for byte in text.encode())
            self.assertDeck(server.get(f"/comd?caltp=2&par={escaped}&pin="))
        server.wait_log("a batch file gets none of", 6)
        self.assertDeck(server.get("/comd?caltp=3&par=&pin="))
        server.wait_log("Command 3 (Missing) could not be started: missing.exe: ")
        self.assertFalse((self.home / "harm").exists())


if __name__ == "__main__":
    unittest.main()
