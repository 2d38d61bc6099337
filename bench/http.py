"""The measurements of http.sh: both servers run all the time, and the load goes to one after the other."""

import datetime
import os
import pathlib
import re
import shutil
import statistics
import subprocess
import sys
import tempfile

from servers import ACCEPT, ROOT, cpu_seconds, free_port, get, wait_for

PROGRAM, ROUNDS, SECONDS = sys.argv[1], int(sys.argv[2]), int(sys.argv[3])
CONNECTIONS = 8


def measure(pid, port, path):
    """(CPU microseconds per request, requests per second)"""
    before = cpu_seconds(pid)
    out = subprocess.run(["wrk", "-t1", f"-c{CONNECTIONS}", f"-d{SECONDS}s", "-H", "Connection: close",
                          "-H", f"Accept: {ACCEPT}", f"http://127.0.0.1:{port}{path}"],
                         capture_output=True, text=True, check=True, timeout=SECONDS + 60).stdout
    used = cpu_seconds(pid) - before
    requests = int(re.search(r"(\d+) requests in", out)[1])
    if "Non-2xx" in out or requests == 0:
        sys.exit(f"{path}: not all requests were answered:\n{out}")
    return used / requests * 1e6, float(re.search(r"Requests/sec:\s+([\d.]+)", out)[1])


def main():
    with tempfile.TemporaryDirectory(prefix="kova-bench-") as folder:
        folder = pathlib.Path(folder)
        os.chmod(folder, 0o755)  # nginx's worker may be another user
        processes = []
        try:
            run(folder, processes)
        finally:
            for process in processes:
                process.terminate()
            for process in processes:
                process.wait(30)


def run(folder, processes):
    home = folder / "home"
    subprocess.run([ROOT / "scripts" / "first-run.sh", home], check=True)
    site = folder / "site"
    site.mkdir(mode=0o755)
    for name, length in (("small.wml", 1300), ("large.wml", 65536)):
        deck = b"<wml>" + b"<!-- part of a deck that is only there to be sent around -->\n" * 1100
        for target in (home / "pages" / name, site / name):
            target.write_bytes(deck[:length])
            target.chmod(0o644)

    kova_port, nginx_port = free_port(), free_port()
    with open(folder / "kova.log", "wb") as log:
        kova = subprocess.Popen([PROGRAM, "--home", home, "--address", "127.0.0.1", "--port", str(kova_port),
                                 "--max-clients", "200", "--start"], stdout=log)
    processes.append(kova)
    (folder / "nginx.conf").write_text(f"""
daemon off;
worker_processes 1;
pid {folder}/nginx.pid;
error_log {folder}/error.log;
events {{ worker_connections 512; }}
http {{
  types {{ text/vnd.wap.wml wml; }}
  keepalive_timeout 0;
  sendfile on;
  tcp_nodelay on;
  access_log {folder}/access.log combined;
  client_body_temp_path {folder}/body;
  proxy_temp_path {folder}/proxy;
  fastcgi_temp_path {folder}/fastcgi;
  uwsgi_temp_path {folder}/uwsgi;
  scgi_temp_path {folder}/scgi;
  server {{
    listen 127.0.0.1:{nginx_port};
    root {site};
  }}
}}
""")
    nginx = subprocess.Popen([shutil.which("nginx") or "/usr/sbin/nginx", "-p", folder, "-c", folder / "nginx.conf"],
                             stderr=subprocess.DEVNULL)
    processes.append(nginx)
    wait_for(kova_port)
    wait_for(nginx_port)

    today = datetime.date.today()
    calendar = f"/ocal?caltp=D&dat={today:%m/%d}"
    cases = [
        ("static file, 1,300 bytes", "tarvel_wapd", kova, kova_port, "/small.wml"),
        ("static file, 1,300 bytes", "nginx", nginx, nginx_port, "/small.wml"),
        ("static file, 64 KiB", "tarvel_wapd", kova, kova_port, "/large.wml"),
        ("static file, 64 KiB", "nginx", nginx, nginx_port, "/large.wml"),
        ("`/oabt`", "tarvel_wapd", kova, kova_port, "/oabt"),
        ("`/ocal?caltp=D&dat=" + f"{today:%m/%d}`", "tarvel_wapd", kova, kova_port, calendar),
    ]
    sizes = []
    for _, _, _, port, path in cases:
        head, _, body = get(port, path).partition(b"\r\n\r\n")
        if b" 200 OK" not in head or b"text/vnd.wap.wml" not in head:
            sys.exit(f"{path} is not answered as it should be: {head!r}")
        sizes.append(len(body))

    results = [[] for _ in cases]
    for round_ in range(ROUNDS):
        for i, (what, server, process, port, path) in enumerate(cases):
            results[i].append(measure(process.pid, port, path))
        print(f"round {round_ + 1} of {ROUNDS} done", file=sys.stderr)

    print(f"{ROUNDS} rounds of {SECONDS} s each, {CONNECTIONS} connections, one request per connection; medians "
          "(smallest to largest).\n")
    print("| what | server | body bytes | CPU per request, µs | requests/s |")
    print("|---|---|---:|---:|---:|")
    for (what, server, *_), size, result in zip(cases, sizes, results):
        cpu, rate = [pair[0] for pair in result], [pair[1] for pair in result]
        print(f"| {what} | {server} | {size:,} | {statistics.median(cpu):.1f} ({min(cpu):.1f} to {max(cpu):.1f}) "
              f"| {statistics.median(rate):,.0f} |")


main()
