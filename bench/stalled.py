"""The measurements of stalled.sh: pages are asked for one after the other, with and without a conversation under way
with a mail server that has taken the connection and says nothing."""

import datetime
import os
import pathlib
import shutil
import signal
import socket
import statistics
import sys
import time
from contextlib import contextmanager

ROOT = pathlib.Path(__file__).resolve().parents[1]
PROGRAM, ROUNDS, REQUESTS = sys.argv[1], int(sys.argv[2]), int(sys.argv[3])
os.environ.setdefault("KOVA_WAPD", PROGRAM)
sys.path.insert(0, str(ROOT / "tests" / "acceptance"))
import kova  # noqa: E402

NUMBER = os.getpid() % 250 + 1
HOST = f"127.0.114.{NUMBER}"
PAGES = ("/", "/oabt", "/ocal")


def reminder():
    begin = datetime.datetime.now().replace(microsecond=0) + datetime.timedelta(minutes=30)
    return kova.component(
        "VEVENT", "UID:1", f"DTSTART:{begin:%Y%m%dT%H%M%S}", "DURATION:PT1H", "SUMMARY:Review",
        "BEGIN:VALARM", "ACTION:DISPLAY", "DESCRIPTION:Review", "TRIGGER:-PT25M", "END:VALARM")


@contextmanager
def nothing(_):
    yield


@contextmanager
def stalled_mailbox(server):
    with socket.create_server((HOST, 110)) as silent, server.client() as phone:
        silent.settimeout(kova.PATIENCE)
        phone.get("/pop3?caltp=0&pin=")
        connection, _ = silent.accept()
        with connection:
            yield
        phone.hang_up()
        kova.wait_until(lambda: not server.temporary_decks(), "the end of the visit")


@contextmanager
def stalled_page(server):
    with socket.create_server((HOST, 25)) as silent:
        silent.settimeout(kova.PATIENCE)
        before = server.log().count("Completed.")
        server.process.send_signal(signal.SIGUSR1)
        connection, _ = silent.accept()
        with connection:
            yield
        kova.wait_until(lambda: server.log().count("Completed.") > before, "the end of the check")


def latencies(server, path):
    """Of each request, in milliseconds, from connecting to the last byte."""
    result = []
    for _ in range(REQUESTS):
        begin = time.perf_counter()
        server.get(path)
        result.append((time.perf_counter() - begin) * 1e3)
    return result


def main():
    if os.geteuid() != 0:
        sys.exit("The silent mail servers need the ports 110 and 25, so this must be run as root.")
    server = kova.Server()
    try:
        server.write_settings({
            "Main": {"WAP_Directory": f"{server.pages}/", "POP3_Title_0": "Silent", "POP3_Server_0": HOST,
                     "POP3_User_0": "u", "POP3_Pass_0": "p"},
            "Pager": {"From": "a@b.test", "To": "c@d.test", "Subject": "Page", "SMTP_Server": HOST, "Check_Interval": "10"}})
        shutil.copy(ROOT / "pages" / "index.wml", server.pages)
        server.put("calendar/review.ics", reminder())
        server.start()
        measure(server)
        if server.stop() != 0:
            sys.exit("the program did not end as it should")
    finally:
        server.clean_up()


def measure(server):
    states = {"no conversation": nothing, "silent POP3 server": stalled_mailbox, "silent SMTP server": stalled_page}
    results = {(path, state): [] for path in PAGES for state in states}
    for path in PAGES:
        latencies(server, path)
    for _ in range(ROUNDS):
        for state, during in states.items():
            with during(server):
                for path in PAGES:
                    results[path, state] += latencies(server, path)

    print(f"{ROUNDS} rounds of {REQUESTS} requests each, one after the other.\n")
    print("| page | meanwhile | median, ms | 99 of 100 within, ms | ratio of the medians |")
    print("|---|---|---:|---:|---:|")
    for (path, state), times in results.items():
        alone = statistics.median(results[path, "no conversation"])
        print(f"| `{path}` | {state} | {statistics.median(times):.3f} | {statistics.quantiles(times, n=100)[98]:.3f} "
              f"| {statistics.median(times) / alone:.2f} |")


main()
