"""The measurements of desktop.sh: both programs run all the time, and the load goes to one after the other."""

import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

from servers import ROOT, cpu_seconds, free_port, get, wait_for

BUILD, ROUNDS, SECONDS = pathlib.Path(sys.argv[1]), int(sys.argv[2]), int(sys.argv[3])
RATE = 1000
PATH = "/oabt"


def load(port):
    """RATE requests a second, each on a connection of its own; the number of those that were answered."""
    start = time.monotonic()
    count = RATE * SECONDS
    for i in range(count):
        wait = start + i / RATE - time.monotonic()
        if wait > 0:
            time.sleep(wait)
        if b" 200 OK" not in get(port, PATH)[:20]:
            sys.exit(f"{PATH} is not answered as it should be")
    return count, time.monotonic() - start


def main():
    with tempfile.TemporaryDirectory(prefix="kova-bench-") as folder:
        processes = []
        try:
            run(pathlib.Path(folder), processes)
        finally:
            for process in reversed(processes):
                process.terminate()
            for process in reversed(processes):
                process.wait(30)


def run(folder, processes):
    servers = []
    for name in ("tarvel_wapd", "tarvel_wap"):
        home = folder / name
        subprocess.run([ROOT / "scripts" / "first-run.sh", home], check=True)
        port = free_port()
        with open(folder / f"{name}.log", "wb") as log:
            process = subprocess.Popen([BUILD / name, "--home", home, "--address", "127.0.0.1", "--port", str(port),
                                        "--start"], stdout=log)
        processes.append(process)
        wait_for(port)
        get(port, PATH)
        servers.append((name, process.pid, port, []))
    time.sleep(2)  # the windows have come up

    for round_ in range(ROUNDS):
        for _, pid, port, results in servers:
            before = cpu_seconds(pid)
            count, seconds = load(port)
            time.sleep(1.2)  # what is still to be shown belongs to it
            results.append(((cpu_seconds(pid) - before) / count * 1e6, count / seconds))
        print(f"round {round_ + 1} of {ROUNDS} done", file=sys.stderr)

    print(f"{ROUNDS} rounds of {SECONDS} s each, {RATE} requests/s for `{PATH}` wanted; medians (smallest to largest).\n")
    print("| program | CPU per request, µs | requests/s |")
    print("|---|---:|---:|")
    for name, _, _, results in servers:
        cpu, rate = [pair[0] for pair in results], [pair[1] for pair in results]
        print(f"| {name} | {statistics.median(cpu):.1f} ({min(cpu):.1f} to {max(cpu):.1f}) | {statistics.median(rate):,.0f} |")
    headless, desktop = (statistics.median(pair[0] for pair in results) for *_, results in servers)
    print(f"\nWith windows, a request costs {desktop / headless:.2f} times as much as without.")


main()
