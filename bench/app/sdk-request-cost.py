#!/usr/bin/python3
"""What one SDK request costs the island, in figures that do not move with the machine's load:
instructions (callgrind) and system calls (strace), per request, for GET /v1/status and
POST /v1/activities.

The real `vantaquill-island --headless --port 0` runs in a temporary home with CLIENTS (default 64)
registered clients. After a warm-up (at least one request per client, so that every client's
activity exists already and a POST updates it, as in the wrk runs), the counters are zeroed, REQUESTS (default 300) requests are sent
one after the other (each on its own connection, as the SDK's clients do, with "Connection: close"),
and the counters are read again; the figure is their difference divided by the request count. Every
thread of the island is counted, so a POST's work on the main thread (the activity centre, the
headless display's line) is included.

  instructions: the island runs under `valgrind --tool=callgrind`, zeroed and dumped with
                `callgrind_control`;
  system calls: `strace -f -c` attached to the running island (not under valgrind).

Usage: bench/app/sdk-request-cost.py [build-dir]   (MODE=instructions|syscalls|both, default both;
KEEP=<folder> keeps the callgrind dumps there for callgrind_annotate)"""

import glob
import os
import re
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time

import benchisland

build = sys.argv[1] if len(sys.argv) > 1 else "build/default"
client_count = int(os.environ.get("CLIENTS", "64"))
request_count = int(os.environ.get("REQUESTS", "300"))
mode = os.environ.get("MODE", "both")
activity = b'{"id":"bench","title":"Uploading report.pdf","subtitle":"42 of 80 MB","progress":0.52}'


def start_island(work, wrapper, settle):
    process, port, tokens = benchisland.start(build, work, client_count, ["activities"], wrapper, timeout=120)
    time.sleep(settle)  # the providers' own start-up work is over before anything is counted
    return process, port, tokens


def request(port, method, path, token=None, body=b""):
    head = f"{method} {path} HTTP/1.1\r\nHost: 127.0.0.1:{port}\r\nConnection: close\r\n"
    if token:
        head += f"Authorization: Bearer {token}\r\nContent-Type: application/json\r\n"
    if body:
        head += f"Content-Length: {len(body)}\r\n"
    # Read up to the end of the body and close, as wrk and curl do (not waiting for the island to close).
    with socket.create_connection(("127.0.0.1", port)) as connection:
        connection.sendall(head.encode() + b"\r\n" + body)
        reply = b""
        while b"\r\n\r\n" not in reply or len(reply) < reply.index(b"\r\n\r\n") + 4 + int(
                re.search(rb"Content-Length: (\d+)", reply).group(1)):
            chunk = connection.recv(4096)
            if not chunk:
                break
            reply += chunk
    if not reply.startswith(b"HTTP/1.1 200"):
        sys.exit(f"{method} {path} was answered {reply[:60]!r}")


def send_all(port, route, tokens, count):
    for n in range(count):
        if route == "status":
            request(port, "GET", "/v1/status")
        else:
            # A different client each time, so that no client's rate limit is reached.
            request(port, "POST", "/v1/activities", tokens[n % len(tokens)], activity)


def measure_instructions(work):
    out = os.path.join(work, "callgrind.out")
    process, port, tokens = start_island(work, ["valgrind", "--tool=callgrind", "--separate-threads=no",
                                                f"--callgrind-out-file={out}"], 15)
    try:
        figures = {}
        for route in ("status", "activities"):
            send_all(port, route, tokens, max(30, len(tokens)))
            subprocess.run(["callgrind_control", "-z", str(process.pid)], check=True, capture_output=True)
            send_all(port, route, tokens, request_count)
            before = set(glob.glob(out + "*"))
            subprocess.run(["callgrind_control", "-d", str(process.pid)], check=True, capture_output=True)
            dump = max(set(glob.glob(out + "*")) - before or glob.glob(out + "*"), key=os.path.getmtime)
            with open(dump) as file:
                total = int(re.search(r"^(?:summary|totals): (\d+)", file.read(), re.M).group(1))
            figures[route] = total / request_count
            if os.environ.get("KEEP"):
                shutil.copy(dump, os.path.join(os.environ["KEEP"], f"callgrind.{route}"))
        return figures
    finally:
        process.terminate()
        process.wait()


def measure_syscalls(work):
    process, port, tokens = start_island(work, [], 3)
    try:
        figures = {}
        for route in ("status", "activities"):
            send_all(port, route, tokens, max(30, len(tokens)))
            summary = os.path.join(work, f"strace-{route}")
            tracer = subprocess.Popen(["strace", "-f", "-c", "-o", summary, "-p", str(process.pid)],
                                      stderr=subprocess.DEVNULL)
            time.sleep(1.0)  # strace attaches to every thread before the first request
            send_all(port, route, tokens, request_count)
            time.sleep(0.3)  # the last connections' lingering closes
            tracer.send_signal(signal.SIGINT)
            tracer.wait()
            calls = {}
            with open(summary) as file:
                for line in file:
                    fields = line.split()
                    if len(fields) >= 5 and fields[0][0].isdigit() and fields[-1] != "total":
                        calls[fields[-1]] = int(fields[3])
            figures[route] = calls
        return figures
    finally:
        process.terminate()
        process.wait()


work = tempfile.mkdtemp(prefix="vantaquill-sdk-cost-")
try:
    if mode in ("instructions", "both"):
        for route, figure in measure_instructions(os.path.join(work, "cg")).items():
            print(f"{route:<12} {figure:>10,.0f} instructions per request")
    if mode in ("syscalls", "both"):
        for route, calls in measure_syscalls(os.path.join(work, "st")).items():
            total = sum(calls.values()) / request_count
            detail = ", ".join(f"{name} {count / request_count:.2f}"
                               for name, count in sorted(calls.items(), key=lambda item: -item[1]))
            print(f"{route:<12} {total:>6.2f} system calls per request: {detail}")
finally:
    shutil.rmtree(work, ignore_errors=True)
