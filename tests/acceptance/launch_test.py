"""The launch center: a phone starts commands on the PC."""

import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import unittest

import kova


class Launch(kova.TestCase):
    def setUp(self):
        # A folder whose name a shell would take apart.
        self.home = pathlib.Path(tempfile.mkdtemp(prefix="kova-test-")) / "program's $HOME"
        self.addCleanup(shutil.rmtree, self.home.parent)
        subprocess.run([kova.ROOT / "scripts" / "first-run.sh", self.home], check=True, timeout=kova.PATIENCE)
        self.server = self.start(home=self.home)

    def ask(self, path):
        answer = self.server.get(path)
        self.assertDeck(answer)
        return answer.text

    def add_settings(self, *lines):
        with open(self.home / "tarvel_wap.ini", "a", newline="") as file:
            file.write("".join(line + "\r\n" for line in lines))

    def text_of(self, name):
        path = self.home / name
        return kova.wait_until(lambda: path.exists() and path.read_text(), name)

    def test_sample_commands(self):
        self.assertIn('<option value="0">Write the time</option>\r\n<option value="1">Write a word</option>\r\n</select>',
                      self.ask("/comd"))

        self.assertIn("<p>Command: Write the time has been lauched.<br/>", self.ask("/comd?caltp=0&par=&pin="))
        self.assertRegex(self.text_of("time.txt"), r"^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\n$")

        self.assertIn("<p>Invalid PIN code.<br/>", self.ask("/comd?caltp=1&par=no&pin=1"))
        self.assertIn("<p>Invalid command.<br/>", self.ask("/comd?caltp=2&par=no&pin=1"))
        self.assertIn("<p>Command: Write a word has been lauched.<br/>", self.ask("/comd?caltp=1&par=hi%20you&pin=1234"))
        self.assertEqual(self.text_of("word.txt"), "hi you\n")
        kova.wait_until(lambda: not self.server.temporary_decks(), "the decks to be removed")

    def test_parameter_is_never_a_second_command(self):
        for text in (";touch harm", "$(touch harm)", "`touch harm`", "|touch harm", ">harm", "&touch harm",
                     "\ntouch harm", "\r\ntouch harm\r\n"):
            with self.subTest(text):
                (self.home / "word.txt").unlink(missing_ok=True)
                escaped = "".join(f"%{byte:02X}" for byte in text.encode())
                self.assertIn("has been lauched.", self.ask(f"/comd?caltp=1&par={escaped}&pin=1234"))
                self.assertEqual(self.text_of("word.txt").split(), text.split())
        self.assertFalse((self.home / "harm").exists())

    def test_command_that_cannot_be_started_is_a_log_line(self):
        self.add_settings("CMD_Title_4=Broken", "CMD_Command_4=commands/missing.sh")
        self.assertIn("<p>Command: Broken has been lauched.<br/>", self.ask("/comd?caltp=4&par=x&pin="))
        self.server.wait_log(
            "Command 4 (Broken) could not be started: commands/missing.sh: No such file or directory")
        self.assertIn("has been lauched.", self.ask("/comd?caltp=1&par='&pin=1234"))
        self.server.wait_log("Command 1 (Write a word) could not be started: a quote (') has no end")

    def test_started_program_stands_alone(self):
        script = self.home / "commands" / "stay.sh"
        script.write_text("#!/bin/sh\necho $$ >pid.part\nmv pid.part pid.txt\nexec sleep 600\n")
        script.chmod(0o700)
        self.add_settings("CMD_Title_5=Stay", "CMD_Command_5=commands/stay.sh")
        self.ask("/comd?caltp=5&par=&pin=")
        pid = int(self.text_of("pid.txt"))
        self.addCleanup(os.kill, pid, signal.SIGKILL)
        proc = pathlib.Path(f"/proc/{pid}")
        kova.wait_until(lambda: (proc / "comm").read_text() == "sleep\n", "the program")

        self.assertEqual({f.name: os.readlink(f) for f in (proc / "fd").iterdir()},
                         {"0": "/dev/null", "1": "/dev/null", "2": "/dev/null"})
        self.assertEqual(os.getsid(pid), pid)
        self.assertIn("SigBlk:\t0000000000000000\n", (proc / "status").read_text())
        server = self.server.process.pid
        self.assertEqual(pathlib.Path(f"/proc/{server}/task/{server}/children").read_text(), "")

        # It outlives the server and does not keep its port.
        self.assertEqual(self.server.stop(), 0)
        self.assertEqual((proc / "comm").read_text(), "sleep\n")
        self.assertNotIn("0A", [row[0] for row in kova.tcp_rows(self.server.port)])


if __name__ == "__main__":
    unittest.main()
