#!/usr/bin/python3
"""The island's local API against nginx serving a static file, both on loopback, driven by the same
client (wrk) with the same connection count and the same threads.

- nginx: a private instance (one worker, like the island's one server thread) on a free port, with
  its own configuration in a temporary folder, serving a file the size of the island's status reply;
- the island: the real `vantaquill-island --headless --port 0` in a temporary home, with CLIENTS
  registered clients written into its client file beforehand (each has its own rate limit; their
  lastSeen is now, so that no request rewrites the file).

Cases: GET /v1/status, and POST /v1/activities (each request with the next client's token, the
activity "bench" of that client updated again and again), against nginx's GET of the file. The
island answers one request per connection, so every request carries "Connection: close" by
default, for nginx too; KEEPALIVE=1 lets nginx keep its connections, as a second reference.

Rounds are interleaved (nginx, status, activities, nginx, ...) ROUNDS times (default 3) for each
connection count in CONNECTIONS (default "1 8 32"), DURATION seconds (default 3) each; the figures are the
medians over the rounds of wrk's p50, p99 and requests per second.

BEFORE=<another build dir> also starts that build's island (its own home, the same clients) and
interleaves its two cases with the others, so that a change is compared under the same load.

Usage: bench/app/sdk-vs-nginx.py [build-dir]"""

import json
import os
import re
import shutil
import socket
import statistics
import subprocess
import sys
import tempfile
import time

import benchisland

build = sys.argv[1] if len(sys.argv) > 1 else "build/default"
rounds = int(os.environ.get("ROUNDS", "3"))
seconds = int(os.environ.get("DURATION", "3"))
connection_counts = [int(n) for n in os.environ.get("CONNECTIONS", "1 8 32").split()]
client_count = int(os.environ.get("CLIENTS", "2048"))
keep_alive = os.environ.get("KEEPALIVE") == "1"
before = os.environ.get("BEFORE")

for program in ("nginx", "wrk"):
    if not shutil.which(program) and not os.path.exists("/usr/sbin/" + program):
        sys.exit(f"{program} is not installed (apt-get install nginx-light wrk)")

work = tempfile.mkdtemp(prefix="vantaquill-sdk-bench-")
os.chmod(work, 0o755)  # nginx's workers, started as root, serve the file as another user
processes = []


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def wait_for_port(port, timeout=20.0):
    deadline = time.monotonic() + timeout
    while time.monotonic() < deadline:
        try:
            socket.create_connection(("127.0.0.1", port), timeout=0.5).close()
            return
        except OSError:
            time.sleep(0.05)
    sys.exit(f"nothing listens on {port}")


def start_nginx():
    port = free_port()
    root = os.path.join(work, "nginx")
    os.makedirs(os.path.join(root, "html"))
    status = {"ok": True, "app": "vantaquill", "version": "1.0", "port": 47829,
              "surface": {"kind": "headless", "reason": "started with --headless"}}
    with open(os.path.join(root, "html/status.json"), "w") as file:
        json.dump(status, file, separators=(",", ":"))
    temp = os.path.join(root, "temp")
    with open(os.path.join(root, "nginx.conf"), "w") as file:
        file.write(f"""daemon off;
worker_processes 1;
pid {root}/nginx.pid;
error_log {root}/error.log;
events {{ worker_connections 1024; }}
http {{
    access_log off;
    client_body_temp_path {temp}; proxy_temp_path {temp}; fastcgi_temp_path {temp};
    uwsgi_temp_path {temp}; scgi_temp_path {temp};
    default_type application/json;
    server {{
        listen 127.0.0.1:{port};
        root {root}/html;
    }}
}}
""")
    nginx = shutil.which("nginx") or "/usr/sbin/nginx"
    processes.append(subprocess.Popen([nginx, "-p", root, "-c", os.path.join(root, "nginx.conf")],
                                      stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL))
    wait_for_port(port)
    return port


def start_island(build, name="home"):
    folder = os.path.join(work, name)
    os.makedirs(folder)
    process, port, tokens = benchisland.start(build, folder, client_count, ["activities", "hud", "shelf", "agents"])
    processes.append(process)
    return port, tokens


def lua_script(tokens):
    path = os.path.join(work, "activities.lua")
    close = "" if keep_alive else '["Connection"] = "close", '
    with open(path, "w") as file:
        file.write("local tokens = {" + ",".join(f'"{t}"' for t in tokens) + "}\n")
        file.write(f"""local next = 0
local body = '{{"id":"bench","title":"Uploading report.pdf","subtitle":"42 of 80 MB","progress":0.52}}'
function init(arguments)
    next = math.random(#tokens)
end
function request()
    next = next % #tokens + 1
    return wrk.format("POST", "/v1/activities",
        {{{close}["Content-Type"] = "application/json", ["Authorization"] = "Bearer " .. tokens[next]}}, body)
end
""")
    return path


def milliseconds(text):
    value, unit = re.match(r"([\d.]+)(us|ms|s)", text).groups()
    return float(value) * {"us": 0.001, "ms": 1.0, "s": 1000.0}[unit]


def wrk(url, connections, script=None, close=True):
    command = ["wrk", "-t", str(min(connections, 2)), "-c", str(connections), "-d", f"{seconds}s", "--latency"]
    if close:
        command += ["-H", "Connection: close"]
    if script:
        command += ["-s", script]
    output = subprocess.run(command + [url], capture_output=True, text=True).stdout
    latency = dict(re.findall(r"^\s+(50|99)%\s+(\S+)$", output, re.M))
    refused = re.search(r"Non-2xx or 3xx responses: (\d+)", output)
    total = re.search(r"(\d+) requests in", output)
    return {"p50": milliseconds(latency["50"]), "p99": milliseconds(latency["99"]),
            "rps": float(re.search(r"Requests/sec:\s+([\d.]+)", output).group(1)),
            "requests": int(total.group(1)), "refused": int(refused.group(1)) if refused else 0}


try:
    nginx_port = start_nginx()
    island_port, tokens = start_island(build)
    script = lua_script(tokens)
    cases = {
        "nginx static file": lambda c: wrk(f"http://127.0.0.1:{nginx_port}/status.json", c, close=not keep_alive),
        "GET /v1/status": lambda c: wrk(f"http://127.0.0.1:{island_port}/v1/status", c),
        "POST /v1/activities": lambda c: wrk(f"http://127.0.0.1:{island_port}/v1/activities", c, script,
                                             close=False),
    }
    if before:
        before_port, _ = start_island(before, "home-before")
        cases["GET /v1/status, before"] = lambda c: wrk(f"http://127.0.0.1:{before_port}/v1/status", c)
        cases["POST /v1/activities, before"] = lambda c: wrk(f"http://127.0.0.1:{before_port}/v1/activities", c,
                                                             script, close=False)
    print(f"wrk, {seconds} s per run, {rounds} interleaved rounds, medians; "
          f"nginx {'keeps its connections' if keep_alive else 'with Connection: close'}; {client_count} clients")
    print(f"{'case':<30}{'conns':>6}{'p50 ms':>9}{'p99 ms':>9}{'req/s':>10}{'non-2xx':>9}{'p50/nginx':>11}")
    for connections in connection_counts:
        results = {name: [] for name in cases}
        for _ in range(rounds):
            for name, run in cases.items():
                results[name].append(run(connections))
        reference = statistics.median(r["p50"] for r in results["nginx static file"])
        for name, runs in results.items():
            p50 = statistics.median(r["p50"] for r in runs)
            print(f"{name:<30}{connections:>6}{p50:>9.3f}{statistics.median(r['p99'] for r in runs):>9.3f}"
                  f"{statistics.median(r['rps'] for r in runs):>10.0f}{sum(r['refused'] for r in runs):>9}"
                  f"{p50 / reference:>11.2f}")
finally:
    for process in processes:
        process.terminate()
    for process in processes:
        process.wait()
    shutil.rmtree(work, ignore_errors=True)
