"""The desktop program as a process: how it starts and how it ends. Its windows have tests of their own."""

import os
import subprocess
import sys
import unittest

import kova

WAP = os.environ["KOVA_WAP"]


class Desktop(kova.TestCase):
    def test_without_a_display_it_names_the_other_program(self):
        home = self.start(start=False).home
        bare = {name: value for name, value in os.environ.items() if name not in ("DISPLAY", "WAYLAND_DISPLAY")}
        for display in ({}, {"DISPLAY": ":4711"}):
            ended = subprocess.run([WAP, "--home", home], env={**bare, **display}, capture_output=True, text=True,
                                   timeout=kova.PATIENCE)
            self.assertEqual(ended.returncode, 1, display)
            self.assertIn("use tarvel_wapd", ended.stderr)
            self.assertEqual(ended.stdout, "")

    def test_a_bad_option_is_named(self):
        ended = subprocess.run([WAP, "--hom"], capture_output=True, text=True, timeout=kova.PATIENCE)
        self.assertEqual(ended.returncode, 2)
        self.assertIn("usage: tarvel_wap --home", ended.stderr)

    def test_sigterm_ends_it_in_order_while_a_message_box_stands(self):
        server = self.start(start=False)
        with kova.socket.socket() as busy:
            busy.bind(("127.0.0.1", server.port))
            busy.listen()
            with open(server.log_file, "ab") as log:
                server.process = subprocess.Popen(
                    [sys.executable, kova.ROOT / "scripts" / "on-display.py", "sh", "-c",
                     # A box comes when the port is busy, or the host's name leads nowhere: the second window.
                     '"$@" & while [ "$(xdotool search --onlyvisible --classname tarvel_wap | wc -l)" -lt 2 ]; do sleep 0.1;'
                     " done;"
                     " kill -TERM $!; wait $!", "sh",
                     WAP, "--home", str(server.home), "--address", "127.0.0.1", "--port", str(server.port), "--start"],
                    stdout=log, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL)
            self.assertEqual(server.process.wait(kova.PATIENCE), 0, server.log())


if __name__ == "__main__":
    unittest.main()
