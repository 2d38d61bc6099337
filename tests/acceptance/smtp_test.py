"""Paging through a real SMTP server: aiosmtpd listens on port 25 of a loopback address of its own and keeps what it gets
in a Maildir; the mails are opened with Python's e-mail parser. Listening on port 25 needs root.
"""

import datetime
import email
import email.policy
import email.utils
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import tempfile
import time
import unittest

import kova

MAIL_HOST = "127.0.0.25"
# The package python3-aiosmtpd belongs to Debian's own Python.
DEBIAN_PYTHON = "/usr/bin/python3"


class MailServer:
    def __init__(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="kova-smtp-"))
        self.process = subprocess.Popen(
            [DEBIAN_PYTHON, "-m", "aiosmtpd", "-n", "-l", f"{MAIL_HOST}:25", "-c", "aiosmtpd.handlers.Mailbox",
             str(self.folder / "maildir")], stdin=subprocess.DEVNULL)
        kova.wait_until(lambda: self.process.poll() is not None or self.listens(), "the SMTP server")
        if self.process.poll() is not None:
            raise AssertionError("aiosmtpd did not start")

    def listens(self):
        with socket.socket() as probe:
            return probe.connect_ex((MAIL_HOST, 25)) == 0

    def mails(self, receiver, subject):
        mails = [email.message_from_bytes(file.read_bytes(), policy=email.policy.default)
                 for file in sorted(self.folder.glob("maildir/new/*"))]
        return [mail for mail in mails if (mail["X-RcptTo"], mail["Subject"]) == (receiver, subject)]

    def stop(self):
        self.process.terminate()
        self.process.wait()
        shutil.rmtree(self.folder)


def lines(mail):
    return mail.get_payload(decode=True).decode("utf-8").splitlines()


def local(moment):
    return moment.strftime("%Y%m%dT%H%M%S")


@unittest.skipUnless(os.geteuid() == 0, "listening on port 25 needs root")
class Paging(kova.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.mail_server = MailServer()
        cls.addClassCleanup(cls.mail_server.stop)

    def start_paging(self, receiver, *options, main=None, **pager):
        """The program with an appointment that reminds in five minutes."""
        server = self.start(start=False, options=options, settings={"Main": main or {}, "Pager": {
            "From": "kova@home.test", "To": receiver, "Subject": "Reminder", "SMTP_Server": MAIL_HOST,
            "Check_Interval": "10", **pager}})
        self.now = datetime.datetime.now().replace(microsecond=0)
        self.begin = self.now + datetime.timedelta(minutes=30)
        self.end = self.begin + datetime.timedelta(hours=1)
        server.put("calendar/review.ics", kova.component(
            "VEVENT", "UID:1", f"DTSTART:{local(self.begin)}", f"DTEND:{local(self.end)}", "SUMMARY:Review",
            "LOCATION:Room 2", "DESCRIPTION:Bring the plans\\nand a pencil",
            "BEGIN:VALARM", "ACTION:DISPLAY", "DESCRIPTION:Review", "TRIGGER:-PT25M", "END:VALARM"))
        server.put("calendar/quiet.ics", kova.component(
            "VEVENT", "UID:2", f"DTSTART:{local(self.begin)}", f"DTEND:{local(self.end)}", "SUMMARY:No reminder"))
        server.put("calendar/fair.ics", kova.component(
            "VEVENT", "UID:3", f"DTSTART;VALUE=DATE:{self.now:%Y%m%d}", "DURATION:P1D", "SUMMARY:Büchermesse",
            "DESCRIPTION:before\\n.\\nQUIT\\nafter"))
        server.put("tasks/1.ics", kova.component("VTODO", "UID:4", "CREATED:20200101T000000Z", "SUMMARY:Call Ann",
                                                 "DUE;VALUE=DATE:20301120"))
        server.put("tasks/2.ics", kova.component("VTODO", "UID:5", "CREATED:20200102T000000Z", "SUMMARY:Done",
                                                 "STATUS:COMPLETED"))
        server.put("tasks/3.ics", kova.component("VTODO", "UID:6", "CREATED:20200103T000000Z", "SUMMARY:Whenever"))
        server.start()
        return server

    def mail(self, receiver, subject, seconds=kova.PATIENCE):
        mails = kova.wait_until(lambda: self.mail_server.mails(receiver, subject), f"'{subject}' for {receiver}", seconds)
        self.assertEqual(len(mails), 1)
        return mails[0]

    def page_lines(self):
        return ["Calendar item:", f"{self.begin:%m/%d %H:%M} - {self.end:%H:%M}", " Review", " (Room 2)",
                "Bring the plans", ""]

    def test_check_now_by_signal(self):
        server = self.start_paging("now@phone.test")
        server.process.send_signal(signal.SIGUSR1)
        page = self.mail("now@phone.test", "Reminder")
        self.assertEqual(lines(page), self.page_lines())
        self.assertEqual(page["X-MailFrom"], "kova@home.test")
        self.assertIsNone(page["Date"])
        server.wait_log("Completed.")
        for text in ("Connecting to database...", "Getting reminders...", "Paging for Review...", "Page sent."):
            self.assertIn(text, server.log())

        ini = server.home / "tarvel_wap.ini"
        ini.write_bytes(ini.read_bytes().replace(b"To=now@", b"To=later@"))
        server.process.send_signal(signal.SIGUSR1)
        self.assertEqual(lines(self.mail("later@phone.test", "Reminder")), self.page_lines())

    def test_first_tick_sends_both_formats(self):
        # The first tick comes a minute after the start and has to meet the minute of the daily mails.
        while not 3 <= datetime.datetime.now().second < 45:
            time.sleep(0.5)
        daily = {"Send_Task": "1", "Send_Schedule": "1",
                 "Daily_Mail_Time": (datetime.datetime.now() + datetime.timedelta(minutes=1)).strftime("%H:%M")}
        standard = "standard@phone.test"
        compact = "compact@phone.test"
        server = self.start_paging(standard, "--start-paging", Email_Format="1", **daily)
        self.start_paging(compact, main={"Auto_Start_Paging": 1}, Email_Format="0", **daily)
        server.wait_log("Waiting for next interval (in 10 minutes)")
        server.process.send_signal(signal.SIGUSR1)
        server.wait_log("Stop the timer first.")

        self.assertEqual(lines(self.mail(standard, "Tasks", 90)), ["-Call Ann", " Due:11/20/2030", "", "-Whenever", ""])
        schedule = self.mail(standard, "My today's schedule")
        self.assertEqual(lines(schedule)[:8], [f"For {self.now:%m/%d/%y}:", "", "All day", " Büchermesse", "before",
                                               ".", "QUIT", "after"])
        sent = email.utils.parsedate_to_datetime(schedule["Date"])
        self.assertLess(abs((datetime.datetime.now(datetime.timezone.utc) - sent).total_seconds()), kova.PATIENCE)
        self.assertEqual(lines(self.mail(standard, "Reminder")), self.page_lines())

        self.assertEqual(lines(self.mail(compact, "My Task List")), ["-Call Ann", "-Whenever", ""])
        schedule = lines(self.mail(compact, "Schedule"))
        self.assertEqual(schedule[:3], ["", "All day", " Büchermesse"])
        self.assertNotIn("before", schedule)
        self.assertEqual(lines(self.mail(compact, "Reminder")), self.page_lines())
        server.wait_log("Waiting for next interval (60sec)")


if __name__ == "__main__":
    unittest.main()
