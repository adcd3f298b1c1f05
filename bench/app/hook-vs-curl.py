#!/usr/bin/python3
"""`vantaquill hook` against the curl one-liner a user would otherwise put in an agent's settings:
the same payload on standard input, the same island, the same headers. Runs are paired and
interleaved (hook, curl, hook, curl, ...) so that load from other programs falls on both alike;
each run is timed from just before posix_spawn to the child's exit, in this process.

Two settings: the island down (nothing listens on the port: both must give up at once) and the
island up (the real `vantaquill-island --headless --port 0` in a temporary home; the payload is a
session start, which is answered at once).

Usage: bench/app/hook-vs-curl.py [build-dir] (ROUNDS, default 300). Prints p50 and p90 in
milliseconds, the ratio of the p50s, and /bin/true timed the same way in the same rounds: the floor
of starting any program from here. BEFORE=<another build-dir> times that build's command too, in the
same rounds, so that an old and a new command see the same load."""

import os
import re
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

build = sys.argv[1] if len(sys.argv) > 1 else "build/default"
rounds = int(os.environ.get("ROUNDS", "300"))
source = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
payload_file = os.path.join(source, "tests/data/agents/payloads/claude-session-start.json")
command = os.path.abspath(os.path.join(build, "bin/vantaquill"))
before = os.environ.get("BEFORE")
before_command = os.path.abspath(os.path.join(before, "bin/vantaquill")) if before else None
if not shutil.which("curl"):
    sys.exit("curl is not installed")

work = tempfile.mkdtemp(prefix="vantaquill-hook-bench-")
home = os.path.join(work, "home")
os.makedirs(os.path.join(home, ".config"))
environment = {"PATH": "/usr/bin:/bin", "HOME": home, "XDG_RUNTIME_DIR": work,
               "XDG_CONFIG_HOME": os.path.join(home, ".config"),
               "XDG_DATA_HOME": os.path.join(home, ".local/share")}


def timed(argv, env):
    stdin = os.open(payload_file, os.O_RDONLY)
    null = os.open(os.devnull, os.O_WRONLY)
    start = time.perf_counter_ns()
    pid = os.posix_spawn(argv[0], argv, env, file_actions=[
        (os.POSIX_SPAWN_DUP2, stdin, 0), (os.POSIX_SPAWN_DUP2, null, 1), (os.POSIX_SPAWN_DUP2, null, 2)])
    os.waitpid(pid, 0)
    elapsed = time.perf_counter_ns() - start
    os.close(stdin)
    os.close(null)
    return elapsed / 1e6


def compare(label, port, token):
    env = dict(environment, VANTAQUILL_PORT=str(port))
    hook = [command, "hook", "--agent", "claude-code"]
    curl = [shutil.which("curl"), "-s", "-X", "POST", "-H", "Content-Type: application/json",
            "-H", f"x-vantaquill-hook: {token}", "--data-binary", "@-",
            f"http://127.0.0.1:{port}/v1/agents/hook?agent=claude-code"]
    for _ in range(10):  # page cache and the island's first-request work
        timed(hook, env)
        timed(curl, env)
    old_hook = [before_command] + hook[1:] if before_command else None
    hooks, curls, floor, olds = [], [], [], []
    for _ in range(rounds):
        hooks.append(timed(hook, env))
        curls.append(timed(curl, env))
        floor.append(timed(["/bin/true"], env))
        if old_hook:
            olds.append(timed(old_hook, env))
    def row(name, times):
        p50 = statistics.median(times)
        p90 = statistics.quantiles(times, n=10)[-1]
        print(f"  {name:<16} p50 {p50:7.3f} ms   p90 {p90:7.3f} ms")
        return p50
    print(f"{label} ({rounds} paired rounds):")
    ratio = row("vantaquill hook", hooks) / row("curl", curls)
    row("/bin/true", floor)  # the cost of starting any program, timed the same way
    if olds:
        row("hook, BEFORE", olds)
    print(f"  hook p50 / curl p50 = {ratio:.2f}")


island = None
try:
    # Port 1: nothing listens there, the connection is refused at once.
    compare("island down", 1, "none")

    island = subprocess.Popen([os.path.join(build, "bin/vantaquill-island"), "--headless", "--port", "0"],
                              env=environment, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    port = None
    for line in island.stdout:
        found = re.search(r"Listening on 127\.0\.0\.1:(\d+)", line)
        if found:
            port = int(found.group(1))
            break
    if port is None:
        sys.exit("the island did not start")
    subprocess.Popen(["cat"], stdin=island.stdout, stdout=subprocess.DEVNULL)  # keep its output flowing
    with open(os.path.join(home, ".local/share/vantaquill/hook-token")) as file:
        token = file.read().strip()
    compare("island up", port, token)
finally:
    if island:
        island.terminate()
        island.wait()
    shutil.rmtree(work, ignore_errors=True)
