"""Phones as they are: slow, many, cut off, and sometimes broken."""

import os
import time
import unittest

import kova

DECK = b"<wml>" + b"deck " * 99 + b"</wml>"


class Pieces(kova.TestCase):
    def test_a_request_cut_at_every_place_after_its_first_five_bytes(self):
        server = self.start(options=["--max-clients", "500"])
        (server.pages / "index.wml").write_bytes(DECK)
        whole = kova.request("/index.wml")
        phones = []
        for cut in range(5, len(whole)):
            phone = server.client()
            self.addCleanup(phone.socket.close)
            phone.send(whole[:cut])
            phones.append((cut, phone))
        for cut, phone in phones:
            phone.wait_taken()
            phone.send(whole[cut:])
        for cut, phone in phones:
            self.assertEqual(kova.Answer(phone.rest()).body, DECK, f"cut at {cut}")

    def test_byte_by_byte(self):
        server = self.start()
        (server.pages / "index.wml").write_bytes(DECK)
        whole = kova.request("/index.wml")
        with server.client() as phone:
            phone.send(whole[:5])
            for i in range(5, len(whole)):
                phone.wait_taken()
                phone.send(whole[i:i + 1])
            self.assertEqual(kova.Answer(phone.rest()).body, DECK)

    def test_what_follows_a_complete_request_is_thrown_away(self):
        server = self.start()
        (server.pages / "big").write_bytes(os.urandom(4 << 20))
        with server.client(receive_buffer=4096) as phone:
            phone.get("/big")
            first = phone.receive(1000)
            phone.send(kova.request("/big") * 1000 + b"garbage" * 1000)
            answer = kova.Answer(first + phone.rest())
        self.assertEqual(answer.body, (server.pages / "big").read_bytes())
        server.wait_log("Finished sending data")
        self.assertEqual(server.log().count(" requested "), 1)

    def test_what_is_no_request_is_ignored_until_one_begins(self):
        server = self.start()
        (server.pages / "index.wml").write_bytes(DECK)
        with server.client() as phone:
            phone.send(b"HEAD / HTTP/1.1\r\n\r\n")
            phone.wait_taken()
            phone.get("/")
            self.assertEqual(kova.Answer(phone.rest()).body, DECK)


class Many(kova.TestCase):
    def test_200_clients_at_once(self):
        server = self.start(options=["--max-clients", "200"])
        (server.pages / "index.wml").write_bytes(DECK)
        (server.pages / "a.bin").write_bytes(os.urandom(50000))
        paths = ["/", "/a.bin", "/oabt", "/ocal", "/acal", "/ocal?caltp=W&dat=03/14", "/ocon?caltp=", "/oeml"]
        alone = {path: server.get(path).body for path in paths}
        phones = []
        for i in range(200):
            phone = server.client()
            self.addCleanup(phone.socket.close)
            phone.send(b"GET /")
            phones.append((paths[i % len(paths)], phone))
        server.wait_log("Active Clients: 200")
        for path, phone in phones:
            phone.send(kova.request(path)[5:])
        for path, phone in phones:
            self.assertEqual(kova.Answer(phone.rest()).body, alone[path], path)
        kova.wait_until(lambda: not server.temporary_decks(), "the decks to be removed")

    def test_the_limit_refuses_the_next_one_until_a_place_is_free(self):
        server = self.start(options=["--max-clients", "2"])
        (server.pages / "index.wml").write_bytes(DECK)
        with server.client() as first, server.client():
            server.wait_log("Active Clients: 2")
            with server.client() as third:
                self.assertEqual(third.rest(), b"")
            server.wait_log("Maximum number of clients exceeded, dropping #3")
            first.get("/")
            self.assertEqual(kova.Answer(first.rest()).body, DECK)
            self.assertEqual(server.get("/").body, DECK)


class Broken(kova.TestCase):
    def test_malformed_requests_do_not_use_up_the_places(self):
        server = self.start(options=["--max-clients", "10"])
        (server.pages / "index.wml").write_bytes(DECK)
        malformed = [b"GET /x\r\n\r\n", b"POST /x HTTP/1.1", b"POST /x\r\n\r\n", b"GET /acal?caltp=%zz HTTP/1.1\r\n\r\n",
                     b"POST /acal HTTP/1.1\r\n\r\ncaltp=%4"]
        phones = []
        for i in range(30):
            phone = server.client()
            self.addCleanup(phone.socket.close)
            phone.send(malformed[i % len(malformed)])
            self.assertEqual(phone.rest(), b"")  # the phone keeps its end open
            phones.append(phone)
        self.assertEqual(server.get("/").body, DECK)
        server.wait_log("Finished sending data")
        self.assertEqual(server.log().count("Error occurred while parsing the GET command"), 30)
        self.assertIn("Active Clients: 1\r\n", server.log_file.read_bytes().decode())
        self.assertNotIn("Active Clients: 2", server.log())
        self.assertNotIn("Active Clients < 0", server.log())

    def test_a_request_without_end_costs_no_memory(self):
        server = self.start()
        (server.pages / "index.wml").write_bytes(DECK)
        self.assertEqual(server.get("/").body, DECK)
        before = server.memory_kib()
        for start in (b"GET /", b"GET / HTTP/1.1\r\n", b"nonsense"):
            with self.subTest(start), server.client() as phone:
                phone.send(start)
                try:
                    for _ in range(512):
                        phone.send(b"x" * 65536)
                except (BrokenPipeError, ConnectionResetError):
                    pass  # it was thrown out
        self.assertEqual(server.get("/").body, DECK)
        self.assertLess(server.memory_kib() - before, 16 << 10)

    def test_bytes_at_random_do_no_harm(self):
        server = self.start(options=["--max-clients", "300"])
        (server.pages / "index.wml").write_bytes(DECK)
        for i in range(200):
            with server.client() as phone:
                phone.send([b"GET ", b"POST ", b"GET /ocal?", b"POST /acon HTTP/1.1\r\n\r\n"][i % 4] +
                           os.urandom(i * 3) + b" \r\n\r\n")
                phone.hang_up()
        self.assertEqual(server.get("/").body, DECK)


class Slow(kova.TestCase):
    def test_a_phone_that_stops_in_the_middle_and_goes_on_gets_every_byte(self):
        server = self.start()
        (server.pages / "index.wml").write_bytes(DECK)
        for size, buffer in ((1 << 20, 4096), (12 << 20, 65536)):  # the second is more than any socket buffer takes
            with self.subTest(size):
                data = os.urandom(size)
                (server.pages / "file.bin").write_bytes(data)
                with server.client(receive_buffer=buffer) as phone:
                    phone.get("/file.bin")
                    first = phone.receive(size // 2)
                    for _ in range(20):
                        self.assertEqual(server.get("/").body, DECK, "the others are served meanwhile")
                    answer = kova.Answer(first + phone.rest())
                self.assertEqual(int(answer.headers["Content-Length"]), size)
                self.assertTrue(answer.body == data, "every byte arrives, once, in order")
        self.assertNotIn("WOULDBLOCK", server.log())

    def test_a_stopped_phone_costs_neither_time_nor_memory(self):
        server = self.start()
        (server.pages / "file.bin").write_bytes(os.urandom(16 << 20))
        (server.pages / "index.wml").write_bytes(DECK)
        self.assertEqual(server.get("/").body, DECK)
        before = server.memory_kib()
        with server.client(receive_buffer=4096) as phone:
            phone.get("/file.bin")
            phone.receive(1000)
            # As soon as the kernel's buffers are full the program has nothing to do for this phone.
            def at_rest():
                ticks = self.ticks(server)
                time.sleep(0.2)
                return self.ticks(server) == ticks
            kova.wait_until(at_rest, "the program to be at rest")
            self.assertLess(server.memory_kib() - before, 16 << 10)

    @staticmethod
    def ticks(server):
        with open(f"/proc/{server.process.pid}/stat") as stat:
            fields = stat.read().rsplit(")", 1)[1].split()
        return int(fields[11]) + int(fields[12])


class TemporaryDecks(kova.TestCase):
    """A deck of many megabytes, so that it is still being sent when the test looks."""

    def setUp(self):
        self.server = self.start()
        events = "".join(
            f"BEGIN:VEVENT\r\nUID:{i}@other\r\nDTSTAMP:20050101T000000Z\r\nDTSTART:20050101T100000\r\n"
            f"RRULE:FREQ=DAILY\r\nSUMMARY:{i} {'long ' * 300}\r\nEND:VEVENT\r\n" for i in range(400))
        self.server.put("calendar/many.ics", f"BEGIN:VCALENDAR\r\nVERSION:2.0\r\n{events}END:VCALENDAR\r\n")

    def open_phone(self):
        phone = self.server.client(receive_buffer=4096)
        self.addCleanup(phone.socket.close)
        phone.get("/ocal?caltp=M&dat=03/14")
        phone.receive(1000)
        return phone

    def test_only_the_owner_may_read_it_and_it_is_gone_after_sending(self):
        phone = self.open_phone()
        decks = self.server.temporary_decks()
        self.assertEqual([os.path.basename(deck) for deck in decks], ["ocal1.tmp"])
        # Wine shows a deck of its owner's as one of his group's as well.
        self.assertEqual(os.stat(decks[0]).st_mode & (0o007 if kova.WINDOWS else 0o777), 0 if kova.WINDOWS else 0o600)
        self.assertTrue(phone.rest().endswith(b"</wml>\r\n"))
        kova.wait_until(lambda: not self.server.temporary_decks(), "the deck to be removed")

    def test_it_is_gone_when_the_phone_hangs_up(self):
        for leave in (kova.Client.hang_up, lambda phone: phone.socket.close()):
            phone = self.open_phone()
            self.assertEqual(len(self.server.temporary_decks()), 1)
            leave(phone)
            kova.wait_until(lambda: not self.server.temporary_decks(), "the deck to be removed")

    def test_it_is_gone_when_the_program_ends(self):
        self.open_phone()
        self.assertEqual(self.server.stop(), 0)
        self.assertEqual(self.server.temporary_decks(), [])


if __name__ == "__main__":
    unittest.main()
