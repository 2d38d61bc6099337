"""Files of the page directory: what is sent, how, and to whom never."""

import os
import unittest

import kova


class StaticFiles(kova.TestCase):
    def setUp(self):
        self.server = self.start()

    def put(self, name, data):
        path = self.server.pages / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data)
        return path

    def test_header_and_body(self):
        for name, sent_as in (("a.wml", "text/vnd.wap.wml"), ("a.png", "image/png"), ("a.htm", "text/html"),
                              ("a.WML", "application/octet-stream"), ("a", "application/octet-stream")):
            with self.subTest(name):
                self.put(name, b"0123456789" * 250)
                answer = self.server.get("/" + name)
                self.assertEqual(answer.head.split("\r\n"), [
                    "HTTP/1.1 200 OK", "Content-Type: " + sent_as, "Cache-Control: no-cache, must-revalidate",
                    "Pragma: no-cache", "Content-Length: 2500"])
                self.assertEqual(answer.body, b"0123456789" * 250)

    def test_lengths_around_the_piece(self):
        for length in (2, 1023, 1024, 1026, 2048, 65536):
            with self.subTest(length):
                data = os.urandom(length)
                self.put("f", data)
                self.assertEqual(self.server.get("/f").body, data)

    def test_lengths_that_lose_bytes(self):
        for length, sent in ((0, 0), (1, 0), (1025, 1024), (2049, 2048)):
            with self.subTest(length):
                data = os.urandom(length)
                self.put("f", data)
                answer = self.server.get("/f")
                self.assertEqual(answer.body, data[:sent])
                self.assertEqual(bool(answer.raw), bool(sent), "a file of 0 or 1 bytes is answered by closing")

    def test_a_phone_that_cannot_show_a_type_gets_the_nosupport_page(self):
        self.put("a.png", b"picture " * 10)
        self.put("nosupport.wml", b"<wml>sorry</wml>")
        for accept in ("text/vnd.wap.wml", "*/*", ""):
            with self.subTest(accept):
                answer = self.server.get("/a.png", accept)
                self.assertEqual((answer.headers["Content-Type"], answer.body), ("text/vnd.wap.wml", b"<wml>sorry</wml>"))
        self.assertEqual(self.server.get("/a.png", "text/html").body, b"picture " * 10, "a plain web browser gets all")

    def test_a_link_in_the_page_directory_is_followed(self):
        outside = self.server.home / "elsewhere"
        outside.mkdir()
        (outside / "deck.wml").write_bytes(b"linked deck")
        (self.server.pages / "one.wml").symlink_to(outside / "deck.wml")
        (self.server.pages / "all").symlink_to(outside)
        self.assertEqual(self.server.get("/one.wml").body, b"linked deck")
        self.assertEqual(self.server.get("/all/deck.wml").body, b"linked deck")

    def test_a_file_that_shrinks_or_vanishes_while_it_is_sent(self):
        path = self.put("big", os.urandom(8 << 20))
        for change in (lambda: os.truncate(path, 1000), path.unlink):
            with self.server.client(receive_buffer=4096) as phone:
                phone.get("/big")
                phone.receive(1000)
                change()
                phone.rest()
            self.put("big", os.urandom(8 << 20))
        self.put("index.wml", b"still there")
        self.assertEqual(self.server.get("/").body, b"still there")


class Picture(kova.TestCase):
    def test_the_configured_image_may_lie_anywhere(self):
        server = self.start(start=False)
        image = server.home / "my picture.png"
        image.write_bytes(b"\x89PNG" + os.urandom(5000))
        server.write_settings({"Main": {"WAP_Directory": f"{server.pages}/", "image": kova.native(image)}})
        server.start()
        for path in ("/oimg", "oimg", "/oimg?x=1", "/oimg/../../../../etc/passwd"):
            with self.subTest(path):
                answer = server.get(path)
                self.assertEqual((answer.headers["Content-Type"], answer.body), ("image/png", image.read_bytes()))
        self.assertEqual(server.raw(kova.request(str(image))), b"", "its own name is not a way to it")

    def test_no_image_is_a_missing_file(self):
        self.assertEqual(self.start().raw(kova.request("/oimg")), b"")


class Forbidden(kova.TestCase):
    """Every trick is answered as a missing file: not a byte, and the usual log line."""

    def assertMissing(self, server, path):
        before = len(server.log())
        self.assertEqual(server.raw(kova.request(path)), b"")
        kova.wait_until(lambda: "Finished sending data" in server.log()[before:], "the end of the request")
        self.assertIn("File Availability Error: ", server.log()[before:])

    def test_tricks(self):
        server = self.start()
        (server.home / "secret.wml").write_bytes(b"secret " * 10)
        (server.home / "pages-old").mkdir()
        (server.home / "pages-old" / "secret.wml").write_bytes(b"secret " * 10)
        (server.pages / "sub.wml").mkdir()
        os.mkfifo(server.pages / "fifo.wml")
        (server.pages / "x:y.wml").write_bytes(b"a name with a colon")
        (server.pages / "index.wml").write_bytes(b"start deck")
        absolute = str(server.home / "secret.wml")
        tricks = [
            "/../secret.wml", "/sub.wml/../../secret.wml", "/./../secret.wml", "//..//secret.wml", "/..\\secret.wml",
            "../secret.wml", "..", "/..", "/%2e%2e/secret.wml", "/%2e%2e%2fsecret.wml", "/..%2fsecret.wml",
            "/../pages-old/secret.wml", "-old/secret.wml", absolute, "/" + absolute, "file://" + absolute,
            "http://127.0.0.1/index.wml", "c:\\secret.wml", "/x:y.wml", "/:", ":" + absolute,
            b"/index.wml\0", b"/../secret.wml\0.wml", b"/\xff\xfe.wml", "/" + "a" * 300 + ".wml", "/" + "a/" * 20000 + ".wml",
            "/sub.wml", "/sub.wml/", "/.", "//", "/fifo.wml", "/index.wml/", "/index.wml/x.wml", "/missing.wml", "?", "/?",
        ]
        if kova.WINDOWS:
            # Wine opens a file whose name has a separator at its end.
            tricks.remove("/index.wml/")
            (server.pages / "a file with a long name.wml").write_bytes(b"reached by its short name")
            tricks += ["/index.wml.", "/index.wml::$DATA", "/INDEX.WML:stream", "/con", "/NUL.wml",
                       "/aux.txt", "/com1", "/sub.wml/prn", "/AFILEW~1.WML", "/C:", "/C:secret.wml", "/*.wml",
                       "/index?.wml", "/a|b", "/<", '/"', r"/\\?\C:\windows\win.ini", "//127.0.0.1/c$/windows/win.ini",
                       r"\\127.0.0.1\c$\x", r"/\\.\pipe\x", r"/..\..\tarvel_wap.ini", r"/index.wml\..\..\secret.wml",
                       r"/sub.wml\..\..\secret.wml"]
        for path in tricks:
            with self.subTest(path[:60]):
                self.assertMissing(server, path)
        self.assertEqual(server.get("/").body, b"start deck")

    def test_a_page_directory_without_a_separator_at_its_end_has_no_neighbours(self):
        server = self.start(start=False)
        (server.home / "pages-old").mkdir()
        (server.home / "pages-old" / "secret.wml").write_bytes(b"secret " * 10)
        server.write_settings({"Main": {"WAP_Directory": kova.native(server.pages)}})
        server.start()
        self.assertMissing(server, "-old/secret.wml")

    def test_settings_and_personal_data_are_never_sent(self):
        server = self.start(settings={"Main": {}})  # the page directory is then the program's folder
        server.put("contacts/one.vcf", "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:One\r\nEND:VCARD\r\n")
        for path in ("/tarvel_wap.ini", "//tarvel_wap.ini", "/./tarvel_wap.ini", "/outlook/contacts/one.vcf"):
            with self.subTest(path):
                self.assertMissing(server, path)


if __name__ == "__main__":
    unittest.main()
