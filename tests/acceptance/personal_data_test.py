"""What the phone reads from, and adds to, the files of other programs."""

import datetime
import email.message
import os
import time
import unittest
import urllib.parse

import kova

os.environ["TZ"] = "Europe/Berlin"  # the program inherits it
time.tzset()
YEAR = datetime.date.today().year


def day(text):
    """An iCalendar date of this year: the phone's form knows no other."""
    return f"{YEAR}{text}"


def query(route, **fields):
    return f"/{route}?" + "&".join(f"{key}={urllib.parse.quote(str(value))}" for key, value in fields.items())


class Reading(kova.TestCase):
    def setUp(self):
        self.server = self.start()

    def deck(self, path):
        answer = self.server.get(path)
        self.assertDeck(answer)
        return answer.text

    def test_every_page_without_any_data(self):
        for path in ("/oabt", "/ocal", "/ocon", "/acal", "/acon", "/atsk", "/anot", "/oeml", "/otsk", "/onot",
                     "/ocon?caltp=", "/ocon?caltp=*", "/ocal?caltp=D&dat=03/14", "/ocal?caltp=W&dat=03/14",
                     "/ocal?caltp=M&dat=03/14"):
            with self.subTest(path):
                self.deck(path)
        self.assertIn("No new e-mails.<br/>", self.deck("/oeml"))
        self.assertFalse(self.server.outlook.exists(), "looking makes no folders")

    def test_calendar(self):
        self.server.put("calendar/a.ics", kova.component(
            "VEVENT", "UID:a", "DTSTAMP:20050101T000000Z", f"DTSTART:{day('0314T093000')}", f"DTEND:{day('0314T104500')}",
            "SUMMARY:Tea & <cakes>", "LOCATION:Room $2", "DESCRIPTION:First line\\nsecond"))
        self.server.put("calendar/b.ics", kova.component(
            "VEVENT", "UID:b", "DTSTAMP:20050101T000000Z", f"DTSTART;TZID=America/New_York:{day('0315T080000')}",
            "DURATION:PT30M", "SUMMARY:Call"))
        self.server.put("calendar/c.ics", kova.component(
            "VEVENT", "UID:c", "DTSTAMP:20050101T000000Z", f"DTSTART;VALUE=DATE:{day('0320')}", "SUMMARY:Whole day"))
        one = self.deck("/ocal?caltp=D&dat=03/14")
        self.assertIn(f"<u>For 03/14/{YEAR % 100:02}:</u>", one)
        self.assertIn("09:30 - 10:45<br/>Tea &amp; &lt;cakes&gt; (Room $$2)", one)
        self.assertIn("First line<br/>", one)
        self.assertNotIn("second", one)
        self.assertNotIn("Call", one)
        week = self.deck("/ocal?caltp=W&dat=03/14")
        self.assertEqual(week.count("<u>For "), 3)
        self.assertIn("All day<br/>Whole day", week)
        # In the middle of March New York keeps summer time already and Berlin does not.
        self.assertIn("13:00 - 13:30<br/>Call", week)
        self.assertEqual(kova.Answer(self.server.raw(
            f"POST /ocal HTTP/1.1\r\nAccept: {kova.ACCEPT}\r\n\r\ncaltp=D&dat=03%2F14".encode())).text, one)

    def test_a_recurring_appointment_with_an_exception(self):
        name = "series.ics"
        self.server.put("calendar/" + name, "\r\n".join([
            "BEGIN:VCALENDAR", "VERSION:2.0",
            "BEGIN:VEVENT", "UID:s", "DTSTAMP:20050101T000000Z", "DTSTART;TZID=Europe/Berlin:20050103T080000",
            "DTEND;TZID=Europe/Berlin:20050103T090000", "RRULE:FREQ=DAILY",
            f"EXDATE;TZID=Europe/Berlin:{day('0702T080000')}", "SUMMARY:Usual", "END:VEVENT",
            "BEGIN:VEVENT", "UID:s", "DTSTAMP:20050101T000000Z",
            f"RECURRENCE-ID;TZID=Europe/Berlin:{day('0703T080000')}",
            f"DTSTART;TZID=Europe/Berlin:{day('0703T200000')}", f"DTEND;TZID=Europe/Berlin:{day('0703T210000')}",
            "SUMMARY:Moved", "END:VEVENT", "END:VCALENDAR", ""]))
        self.assertIn("08:00 - 09:00<br/>Usual", self.deck("/ocal?caltp=D&dat=07/01"))
        self.assertNotIn("Usual", self.deck("/ocal?caltp=D&dat=07/02"))
        moved = self.deck("/ocal?caltp=D&dat=07/03")
        self.assertIn("20:00 - 21:00<br/>Moved", moved)
        self.assertNotIn("Usual", moved)
        self.assertIn("08:00 - 09:00<br/>Usual", self.deck("/ocal?caltp=D&dat=12/01"), "also in winter time")

    def test_contacts(self):
        for i, name in enumerate(("Jordan;Anne", "Kim;Lee", "Ärmel;Jörg")):
            last, first = name.split(";")
            self.server.put(f"contacts/{i}.vcf", f"BEGIN:VCARD\r\nVERSION:3.0\r\nN:{name};;;\r\nFN:{first} {last}\r\n"
                            f"TEL;TYPE=CELL:+49 555 {i}\r\nREV:2005010{i + 1}T000000Z\r\nEND:VCARD\r\n")
            os.utime(self.server.outlook / f"contacts/{i}.vcf", (i * 1000, i * 1000))
        self.assertEqual(self.server.get("/ocon?caltp=an").rows()[:2], ["01:Jordan, Anne", "back"])
        self.assertEqual(self.server.get("/ocon?caltp=*").rows()[:3], ["01:Jordan, Anne", "02:Kim, Lee", "03:Ärmel, Jörg"])
        self.assertEqual(self.server.post("/ocon", "caltp=lee").rows()[0], "01:Kim, Lee")
        self.assertIn('<a href="/ocon?contp=02">01:Kim, Lee</a>', self.deck("/ocon?caltp=Kim"))
        self.assertIn("<b>Kim</b><br/><b>Lee</b><br/>MN:+49 555 1<br/>", self.deck("/ocon?contp=02"))

    def test_inbox(self):
        box = self.server.outlook / "inbox"
        for folder in ("cur", "new", "tmp"):
            (box / folder).mkdir(parents=True)
        mails = (("new/1", "Unread in new", "körper"), ("cur/2:2,", "Seen by a program, not read", "b"),
                 ("cur/3:2,S", "Read", "c"), ("cur/4:2,FRS", "Read too", "d"))
        for i, (name, subject, body) in enumerate(mails):
            message = email.message.EmailMessage()
            message["From"], message["Subject"] = "a@example.org", subject
            message.set_content(body)
            path = box / name
            path.write_bytes(message.as_bytes())
            when = datetime.datetime(2005, 3, 14, 9, 26 + i).timestamp()
            os.utime(path, (when, when))
        rows = self.server.get("/oeml").text
        self.assertIn('envelope2" src=""/>Unread in new</a> <small>@03-14 09:26</small><br/>', rows)
        self.assertIn('envelope2" src=""/>Seen by a program, not read</a> <small>@03-14 09:27</small><br/>', rows)
        self.assertNotIn("Read<", rows)
        detail = self.deck("/oeml?caltp=01")
        self.assertIn(f"Subject: Unread in new<br/>Size: {(box / 'new/1').stat().st_size}<br/>", detail)
        self.assertIn("körper", detail)

    def test_tasks_and_notes(self):
        self.server.put("tasks/t.ics", kova.component(
            "VTODO", "UID:t", "DTSTAMP:20050101T000000Z", "SUMMARY:Paint the door", "DUE;VALUE=DATE:20300314",
            "STATUS:COMPLETED", "DESCRIPTION:green\\nnot blue"))
        self.server.put("notes/n.md", "Shopping\nmilk & bread\n")
        self.assertEqual(self.server.get("/otsk").rows()[0], "01:Paint the door")
        task = self.deck("/otsk?caltp=01")
        self.assertIn("<small>green<br/>not blue</small><br/>", task)
        self.assertIn("Start:1/1/4501<br/>", task)
        self.assertIn("Due:3/14/2030<br/>", task)
        self.assertIn("% Complete:100<br/>", task)
        self.assertEqual(self.server.get("/onot").rows()[0], "01:Shopping")
        self.assertIn("Shopping<br/>milk &amp; bread", self.deck("/onot?caltp=01"))

    def test_a_change_by_another_program_shows_on_the_next_request(self):
        event = ("VEVENT", "UID:x", "DTSTAMP:20050101T000000Z", f"DTSTART:{day('0314T093000')}")
        show = "/ocal?caltp=D&dat=03/14"
        for round_ in range(20):
            path = self.server.put("calendar/x.ics", kova.component(*event, f"SUMMARY:Version {round_}"))
            self.assertIn(f"Version {round_}", self.deck(show))
            path.write_text(kova.component(*event, f"SUMMARY:Written over {round_}"))
            self.assertIn(f"Written over {round_}", self.deck(show))
            path.rename(path.with_name("y.ics"))
            self.assertEqual(self.deck(show).count("Written over"), 1)
            path.with_name("y.ics").unlink()
            self.assertNotIn("Written over", self.deck(show))
        self.server.outlook.rename(self.server.home / "moved away")
        self.deck(show)
        (self.server.home / "moved away").rename(self.server.outlook)
        self.server.put("calendar/x.ics", kova.component(*event, "SUMMARY:Back again"))
        self.assertIn("Back again", self.deck(show))

    def test_broken_files_are_skipped_with_one_log_line_each(self):
        good = kova.component("VEVENT", "UID:g", "DTSTAMP:20050101T000000Z", f"DTSTART:{day('0314T093000')}", "SUMMARY:Good")
        self.server.put("calendar/good.ics", good)
        self.server.put("calendar/garbage.ics", os.urandom(5000))
        os.mkfifo(self.server.outlook / "calendar/pipe.ics")
        (self.server.outlook / "calendar/loop.ics").symlink_to("loop.ics")
        (self.server.outlook / "calendar/folder.ics").mkdir()
        for _ in range(3):
            self.assertIn("Good", self.deck("/ocal?caltp=D&dat=03/14"))
        self.server.wait_log("Finished sending data", 3)
        self.assertEqual(self.server.log().count("garbage.ics"), 1)

    def test_folders_of_the_owner_s_choice(self):
        elsewhere = self.server.home / "my tasks"
        server = self.start(settings={"Main": {}, "Outlook": {"Tasks_Folder": elsewhere}})
        elsewhere.mkdir()
        (elsewhere / "t.ics").write_text(kova.component("VTODO", "UID:t", "DTSTAMP:20050101T000000Z", "SUMMARY:Elsewhere"))
        self.assertEqual(server.get("/otsk").rows()[0], "01:Elsewhere")


class Adding(kova.TestCase):
    def setUp(self):
        self.server = self.start()

    def files(self, folder):
        path = self.server.outlook / folder
        return sorted(path.iterdir()) if path.exists() else []

    def only_file(self, folder):
        files = self.files(folder)
        self.assertEqual(len(files), 1, files)
        self.assertEqual(files[0].stat().st_mode & 0o077, 0, "nobody else's business")
        return kova.properties(files[0].read_bytes().decode())

    def test_a_meeting(self):
        answer = self.server.get(query("acal", caltp="Lunch; with, Ann\\e", dat="%02d0714" % (YEAR % 100), tim="1230",
                                       dur=90, rem=20, pin=kova.PIN))
        self.assertDeck(answer)
        self.assertIn("The meeting has been added in your list.", answer.text)
        event = self.only_file("calendar")
        self.assertEqual(event["SUMMARY"][0], "Lunch; with, Ann\\e")
        self.assertEqual(event["DTSTART"], [f"{YEAR}0714T103000Z"], "12:30 of Berlin's summer")
        self.assertEqual(event["DTEND"], [f"{YEAR}0714T120000Z"])
        self.assertEqual(event["TRIGGER"], ["-PT20M"])
        self.assertIn("entered via cell phone", event["DESCRIPTION"])
        self.assertEqual(len(event["UID"]), 1)
        self.assertIn("12:30 - 14:00<br/>Lunch; with, Ann\\e", self.server.get("/ocal?caltp=D&dat=07/14").text)

    def test_a_meeting_at_an_impossible_time(self):
        for fields in ({"dat": "050230", "tim": "0930"}, {"dat": "050314", "tim": "2460"}, {"dat": "0503", "tim": "0930"},
                       {"dat": "", "tim": ""}, {"dat": "abcdef", "tim": "ghij"}):
            with self.subTest(fields):
                answer = self.server.get(query("acal", caltp="x", **fields, dur=1, rem=1, pin=kova.PIN))
                self.assertIn("<p>Invalid date/time.<br/>", answer.text)
        self.assertEqual(self.files("calendar"), [])

    def test_a_contact(self):
        answer = self.server.get(query("acon", caltp="Anne Jordan", dat="Jordan, Ltd", eml="anne@example.org", hom="111",
                                       bus="222", pag="333", pin=kova.PIN))
        self.assertIn("The contact has been added in your list.", answer.text)
        card = self.only_file("contacts")
        self.assertEqual((card["FN"], card["N"][0][:11]), (["Anne Jordan"], "Jordan;Anne"))
        self.assertEqual((card["ORG"], card["EMAIL"]), (["Jordan, Ltd"], ["anne@example.org"]))
        self.assertEqual(sorted(card["TEL"]), ["111", "222", "333"])
        self.assertEqual(self.server.get("/ocon?caltp=jordan").rows()[0], "01:Jordan, Anne")
        self.assertIn("You must enter a name.", self.server.get(query(
            "acon", caltp="", dat="x", eml="", hom="", bus="", pag="", pin=kova.PIN)).text)
        self.only_file("contacts")

    def test_a_task_and_a_note(self):
        self.assertIn("The task has been added in your list.",
                      self.server.get(query("atsk", caltp="Buy milk", dat="two litres", pin=kova.PIN)).text)
        self.assertIn("The note has been added in your list.",
                      self.server.get(query("anot", caltp="Heading", dat="The text", pin=kova.PIN)).text)
        task, note = self.only_file("tasks"), self.only_file("notes")
        self.assertEqual((task["SUMMARY"], task["DESCRIPTION"]), (["Buy milk"], ["two litres"]))
        self.assertEqual((note["SUMMARY"], note["DESCRIPTION"]), (["Heading"], ["The text"]))
        self.assertEqual(self.server.get("/otsk").rows()[0], "01:Buy milk")
        self.assertEqual(self.server.get("/onot").rows()[0], "01:Heading")

    def test_by_a_posted_form(self):
        body = urllib.parse.urlencode({"caltp": "Posted", "dat": "text", "pin": kova.PIN})
        self.assertIn("The note has been added", self.server.post("/anot", body).text)
        self.assertEqual(self.only_file("notes")["SUMMARY"], ["Posted"])
        self.server.wait_log(f"Client 1 Post parameters: {body}")

    def test_without_the_pin_nothing_is_added(self):
        forms = {"acal": {"caltp": "x", "dat": "300101", "tim": "1200", "dur": 1, "rem": 1},
                 "acon": {"caltp": "x", "dat": "", "eml": "", "hom": "", "bus": "", "pag": ""},
                 "atsk": {"caltp": "x", "dat": "y"}, "anot": {"caltp": "x", "dat": "y"}}
        for route, fields in forms.items():
            for pin in ("", "73106482", kova.PIN + " ", kova.PIN[:-1], "0"):
                with self.subTest(route=route, pin=pin):
                    answer = self.server.get(query(route, **fields, pin=pin))
                    self.assertDeck(answer)
                    self.assertIn("<p>Invalid PIN code.<br/>", answer.text)
            self.assertIn("Invalid PIN code.", self.server.get(query(route, **fields)).text, "no PIN field at all")
        self.assertFalse(self.server.outlook.exists())

    def test_texts_cannot_break_out_of_the_item(self):
        nasty = "a\r\nEND:VTODO\r\nBEGIN:VALARM\r\nx\n\ty\0z\x1b"
        self.server.get(query("atsk", caltp=nasty, dat=nasty, pin=kova.PIN))
        data = self.files("tasks")[0].read_bytes()
        self.assertEqual(data.count(b"\nEND:VTODO"), 1)
        self.assertNotIn(b"BEGIN:VALARM\r\n", data)
        self.assertNotIn(b"\0", data)
        self.assertEqual(len(self.server.get("/otsk").rows()), 3, "one task, Main and About")

    def test_a_long_text_is_folded_and_kept(self):
        text = "ä1€ " * 300
        self.server.get(query("anot", caltp="long", dat=text, pin=kova.PIN))
        data = self.files("notes")[0].read_bytes()
        self.assertLessEqual(max(len(line) for line in data.split(b"\r\n")), 75)
        self.assertEqual(kova.properties(data.decode())["DESCRIPTION"][0].strip(), text.strip())

    def test_what_cannot_be_saved_is_not_said_to_be_saved(self):
        self.server.outlook.mkdir()
        (self.server.outlook / "tasks").write_text("a file where the folder should be")
        answer = self.server.get(query("atsk", caltp="x", dat="y", pin=kova.PIN))
        self.assertNotIn(b"has been added", answer.raw)
        self.server.wait_log("Finished sending data")
        self.assertIn("Not saved: ", self.server.log())
        (self.server.outlook / "tasks").unlink()
        self.assertIn("has been added", self.server.get(query("atsk", caltp="x", dat="y", pin=kova.PIN)).text)

    def test_the_others_files_are_never_touched(self):
        path = self.server.put("tasks/mine.ics", kova.component("VTODO", "UID:m", "DTSTAMP:20050101T000000Z", "SUMMARY:Mine"))
        os.utime(path, (1000, 1000))
        before = (path.read_bytes(), path.stat().st_mtime_ns, path.stat().st_ino)
        self.server.get(query("atsk", caltp="x", dat="y", pin=kova.PIN))
        self.server.get("/otsk")
        self.assertEqual((path.read_bytes(), path.stat().st_mtime_ns, path.stat().st_ino), before)


if __name__ == "__main__":
    unittest.main()
