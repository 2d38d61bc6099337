"""Remote mailboxes against a real POP3 server, Dovecot, which the test starts on a loopback address of its own.

Mailboxes are always asked for on port 110, so the test must be root; it also needs Debian's dovecot-pop3d.
"""

import re
import socket
import threading
import time
import unittest

import dovecot
import kova
from dovecot import MAIL_ADDRESS, PASSWORD

# An address of the test's own, as those of the mail server.
SILENT_ADDRESS = f"127.0.111.{dovecot.NUMBER}"
# A refused log-in is noticed by two time-outs of a minute each.
REFUSED_SECONDS = 200

PLAIN = b"""Return-Path: <bob@example.test>
From: Bob <bob@example.test>
Subject: Lunch & "more"
To: owner@example.test

At noon?

..and a line with dots
.
Cost: $5 <now>
"""
QUOTED = b"""From: Zo=C3=AB <zoe@example.test>
Subject: Re: =?iso-8859-1?q?Caf=E9?= tomorrow
Content-transfer-encoding: quoted-printable

Caf=E9 at nine, soft=
break, x=3D41
"""
RELATED = b"""From: Ann <ann@example.test>
Subject: related
Content-type: multipart/related;
\tboundary="mark"

Preamble
--mark
Content-type: text/plain; charset=iso-8859-1
Content-transfer-encoding: quoted-printable

The =E9 text
--mark
Content-type: image/png

binary
--mark--
"""
EIGHT_BIT = b"From: Eva <eva@example.test>\nSubject: 8 bit\n\nLatin-1: \xe9\xfc\n"
UTF_8 = "From: Eva <eva@example.test>\nSubject: UTF-8\n\nUTF-8: é 日本\n".encode()
NO_SUBJECT = b"From: Nobody <no@example.test>\nTo: owner@example.test\n\nNo subject here\n"
LONG = b"From: Long <long@example.test>\nSubject: long\n\n" + b"0123456789" * 5 + (b"\n" + b"x" * 70) * 140 + b"\n"
KINDS = [PLAIN, QUOTED, RELATED, EIGHT_BIT, UTF_8, NO_SUBJECT, LONG]


@unittest.skipIf(dovecot.skip_reason(), dovecot.skip_reason())
class RemoteMailboxes(kova.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.dovecot = dovecot.Dovecot()
        cls.addClassCleanup(cls.dovecot.stop)
        cls.dovecot.add_mailbox("kinds", KINDS)
        cls.dovecot.add_mailbox("many", [b"From: <%d@example.test>\nSubject: mail %d\n\n.\n" % (i, i)
                                         for i in range(1, 121)])
        cls.dovecot.add_mailbox("empty", [])
        accounts = {}
        for n, (user, server, password) in enumerate((("kinds", MAIL_ADDRESS, PASSWORD),
                                                      ("many", MAIL_ADDRESS, PASSWORD),
                                                      ("empty", MAIL_ADDRESS, PASSWORD),
                                                      ("kinds", MAIL_ADDRESS, "wrong"),
                                                      ("kinds", SILENT_ADDRESS, PASSWORD))):
            accounts |= {f"POP3_Title_{n}": f"Box {n}", f"POP3_Server_{n}": server, f"POP3_User_{n}": user,
                         f"POP3_Pass_{n}": password}
        accounts["POP3_PIN_0"] = "4711"
        cls.accounts = accounts

        # This one takes its minutes while the other tests run.
        cls.refused_server = kova.Server()
        cls.addClassCleanup(cls.refused_server.clean_up)
        cls.start_with_accounts(cls.refused_server)
        cls.refused = None

        def ask():
            with cls.refused_server.client() as phone:
                phone.socket.settimeout(REFUSED_SECONDS)
                phone.get("/pop3?caltp=3&pin=")
                cls.refused = kova.Answer(phone.rest())
        cls.refused_thread = threading.Thread(target=ask)
        cls.refused_thread.start()
        cls.addClassCleanup(cls.refused_thread.join)

    @classmethod
    def start_with_accounts(cls, server):
        server.write_settings({"Main": {"WAP_Directory": f"{server.pages}/", "PIN_Code": kova.PIN, **cls.accounts}})
        server.start()

    def setUp(self):
        self.server = self.start(start=False)
        self.start_with_accounts(self.server)

    def deck(self, path):
        answer = self.server.get(path)
        self.assertDeck(answer)
        kova.wait_until(lambda: not self.server.temporary_decks(), "the end of the deck")
        return answer.text

    def message(self, number):
        """The line of a message's card, between the title and the footer."""
        text = self.deck(f"/pop3?caltp=0&pin=4711&poppos={number}")
        return re.search(rf"<i>E-mail #{number}:</i><br/>\r\n(.*)<br/>\r\n <a href=\"/\">Main</a> \r\n", text, re.S)[1]

    def test_account_card(self):
        options = re.findall('<option value="(.)">(.*)</option>', self.deck("/pop3"))
        self.assertEqual(options, [(str(n), f"Box {n}") for n in range(5)])

    def test_listing(self):
        before = self.dovecot.state_of("kinds")
        text = self.deck("/pop3?caltp=0&pin=4711")
        rows = re.findall(r'<a href="(/pop3\?[^"]*)">#(\d+)</a> From: (.*)<br/>\r\n  Sjt:(.*)<br/>\r\n', text)
        self.assertIn("7 e-mail(s):<br/>", text)
        self.assertEqual([row[1:] for row in rows[:5]], [
            ("1", "bob@example.test", "Lunch &amp; &quot;more&quot;"),
            ("2", "zoe@example.test", "Re: =?iso-8859-1?q?Caf=E9?= tomorrow"),
            ("3", "ann@example.test", "related"), ("4", "eva@example.test", "8 bit"),
            ("5", "eva@example.test", "UTF-8")])
        self.assertEqual(rows[5][2], "no@example.test")
        self.assertEqual(rows[0][0], "/pop3?caltp=0&amp;pin=4711&amp;poppos=1")
        self.assertEqual(self.dovecot.state_of("kinds"), before, "reading changes nothing on the server")

    def test_messages(self):
        before = self.dovecot.state_of("kinds")
        self.assertEqual(self.message(1),
                         " From: bob@example.test<br/>  Sjt:Lunch &amp; &quot;more&quot;<br/>At noon?<br/>"
                         "...and a line with dots<br/>..<br/>Cost: $$5 &lt;now&gt;<br/>")
        self.assertEqual(self.message(2),
                         " From: zoe@example.test<br/>  Sjt:Café<br/>Café at nine, softbreak, xA<br/>")
        self.assertEqual(self.message(3), " From: ann@example.test<br/>  Sjt:related<br/><br/>The é text<br/>")
        self.assertEqual(self.message(4), " From: eva@example.test<br/>  Sjt:8 bit<br/>Latin-1: éü<br/>")
        self.assertEqual(self.message(5), " From: eva@example.test<br/>  Sjt:UTF-8<br/>UTF-8: é 日本<br/>")
        self.assertTrue(self.message(6).startswith(" From: no@example.test<br/>  Sjt:"))
        self.assertTrue(self.message(6).endswith("No subject here<br/>"))
        long = self.message(7)
        self.assertEqual(long[-4:], " ...")
        self.assertEqual(len(long.replace("\r\n", "")), 1954)
        self.assertIn('<i>E-mail #8:</i><br/>\r\n <a href="/">Main</a> \r\n', self.deck("/pop3?caltp=0&pin=4711&poppos=8"))
        self.assertEqual(self.dovecot.state_of("kinds"), before)

    def test_many_and_none(self):
        text = self.deck("/pop3?caltp=1&pin=whatever")
        self.assertIn("120 e-mail(s):<br/>", text)
        self.assertEqual(re.findall(r">#(\d+)</a> From: (\d+)@example.test<", text),
                         [(str(i), str(i)) for i in range(1, 51)])
        self.assertIn("<br/>\r\n0 e-mail(s):<br/>\r\n <a href=\"/\">Main</a>", self.deck("/pop3?caltp=2&pin="))

    def test_phones_at_the_same_time(self):
        paths = ["/pop3?caltp=0&pin=4711", "/pop3?caltp=1&pin=", "/pop3?caltp=2&pin=", "/pop3?caltp=0&pin=4711&poppos=3"]
        alone = [self.deck(path) for path in paths]
        phones = [self.server.client() for _ in paths]
        for phone, path in zip(phones, paths):
            self.addCleanup(phone.socket.close)
            phone.get(path)
        self.assertEqual([kova.Answer(phone.rest()).text for phone in phones], alone)

    def test_wrong_pin(self):
        self.assertIn("<p>Invalid PIN code.<br/>", self.deck("/pop3?caltp=0&pin=1"))

    def test_silent_server_holds_nobody_else(self):
        (self.server.pages / "index.wml").write_bytes(b"start deck")
        with socket.create_server((SILENT_ADDRESS, 110)) as silent, self.server.client() as phone:
            phone.get("/pop3?caltp=4&pin=")
            silent.settimeout(kova.PATIENCE)
            connection, _ = silent.accept()
            with connection:
                begin = time.monotonic()
                for _ in range(100):
                    self.assertEqual(self.server.get("/").body, b"start deck")
                self.assertLess(time.monotonic() - begin, 20)
                phone.hang_up()
                kova.wait_until(lambda: not self.server.temporary_decks(), "the end of the deck")
                self.assertEqual(self.server.stop(), 0, "the program ends in the middle of a visit")

    def test_wrong_password(self):
        self.refused_thread.join(REFUSED_SECONDS)
        self.assertIsNotNone(self.refused)
        self.assertDeck(self.refused)
        self.assertIn("e-mail(s):<br/>\r\n <a href=\"/\">Main</a>", self.refused.text)
        self.assertNotIn("#1", self.refused.text)


if __name__ == "__main__":
    unittest.main()
