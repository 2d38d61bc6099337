"""Nothing that the phone was told to be saved is lost, whatever happens to the program."""

import collections
import signal
import threading
import unittest

import kova

FORMS = {
    "acal": ("&dat=300101&tim=1200&dur=30&rem=5", "calendar", "SUMMARY", "VEVENT"),
    "acon": ("&dat=Company&eml=a@example.org&hom=1&bus=2&pag=3", "contacts", "FN", "VCARD"),
    "atsk": ("&dat=text", "tasks", "SUMMARY", "VTODO"),
    "anot": ("&dat=text", "notes", "SUMMARY", "VJOURNAL"),
}
PHONES = 6


class Killed(kova.TestCase):
    def test_kill_while_items_are_being_added(self):
        for successes in (1, 40, 150):
            with self.subTest(successes):
                self.kill_after(successes)

    def kill_after(self, successes):
        server = self.start(options=["--max-clients", "50"])
        told = []
        sent = set()
        lock = threading.Lock()
        enough = threading.Event()

        def phone(number):
            for count in range(100000):
                route = list(FORMS)[(number + count) % len(FORMS)]
                title = f"Item{number}x{count}end"
                with lock:
                    sent.add((route, title))
                try:
                    answer = server.raw(kova.request(f"/{route}?caltp={title}{FORMS[route][0]}&pin={kova.PIN}"))
                except OSError:
                    return
                if b"has been added" not in answer:
                    return
                with lock:
                    told.append((route, title))
                    if len(told) >= successes:
                        enough.set()

        phones = [threading.Thread(target=phone, args=(number,)) for number in range(PHONES)]
        for thread in phones:
            thread.start()
        self.assertTrue(enough.wait(kova.PATIENCE))
        server.process.kill()
        for thread in phones:
            thread.join(kova.PATIENCE)
        self.assertEqual(server.stop(signal.SIGKILL), -signal.SIGKILL)

        found = self.items(server)
        for item in told:
            self.assertEqual(found[item], 1, f"{item} was told to be saved")
        for item, count in found.items():
            self.assertIn(item, sent)
            self.assertEqual(count, 1)

        # What the next start shows is the same.
        server.start()
        shown = server.get("/ocal?caltp=D&dat=01/01")
        self.assertDeck(shown)
        names = [title for route, title in told if route == "acon"]
        for title in names[:20]:
            rows = server.get(f"/ocon?caltp={title}").rows()
            self.assertEqual(len([row for row in rows if title in row]), 1)
        added = server.get(f"/anot?caltp=After&dat=x&pin={kova.PIN}")
        self.assertIn("has been added", added.text)

    def items(self, server):
        found = collections.Counter()
        for route, (_, folder, name, kind) in FORMS.items():
            path = server.outlook / folder
            for file in path.iterdir() if path.exists() else []:
                if file.suffix not in (".ics", ".vcf") or file.name.startswith("."):
                    continue  # what was being written; no program takes it for an item
                text = file.read_bytes().decode()
                self.assertTrue(text.endswith(f"END:{kind}\r\n" + ("" if kind == "VCARD" else "END:VCALENDAR\r\n")), text)
                self.assertEqual(text.count(f"BEGIN:{kind}\r\n"), 1)
                properties = kova.properties(text)
                self.assertEqual(len(properties["UID"]), 1)
                found[(route, properties[name][0])] += 1
        return found


if __name__ == "__main__":
    unittest.main()
