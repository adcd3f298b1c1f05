#!/usr/bin/python3
"""The time from a volume change to the island's HUD flash, on a real PulseAudio with a null sink and
the headless island (whose "hud shown" line is written when the flash is published, the moment the
windowed island schedules its frame):

- changed elsewhere: `pactl set-sink-volume` started -> the island prints the flash (pactl's own
  start and round trip included: the flash often comes before pactl has exited);
- through the command: `vantaquill hud volume up|down` started -> its answer, and -> the flash.

Usage: bench/app/hud-latency.py [build-dir] (ROUNDS, default 50). Prints the median and the 95th
percentile of each in milliseconds."""

import os
import queue
import shutil
import statistics
import subprocess
import sys
import tempfile
import threading
import time

build = sys.argv[1] if len(sys.argv) > 1 else "build/default"
rounds = int(os.environ.get("ROUNDS", "50"))
work = tempfile.mkdtemp(prefix="vantaquill-hud-bench-")
environment = {
    "PATH": "/usr/bin:/bin",
    "HOME": work,
    "XDG_RUNTIME_DIR": work,
    "XDG_CONFIG_HOME": os.path.join(work, ".config"),
    "XDG_DATA_HOME": os.path.join(work, ".local/share"),
}
os.makedirs(os.path.join(work, "pulse"))
sound = subprocess.Popen(
    ["pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no", "--disable-shm=yes",
     "-L", "module-native-protocol-unix socket=" + os.path.join(work, "pulse/native"),
     "-L", "module-null-sink sink_name=speakers"],
    env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
island = None
try:
    for _ in range(200):
        if subprocess.run(["pactl", "info"], env=environment, capture_output=True).returncode == 0:
            break
        time.sleep(0.05)
    island = subprocess.Popen([os.path.join(build, "bin/vantaquill-island"), "--headless", "--port", "0"],
                              env=environment, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    lines = queue.Queue()
    threading.Thread(target=lambda: [lines.put((time.perf_counter(), line)) for line in island.stdout],
                     daemon=True).start()

    def wait_for(text, timeout=5.0):
        deadline = time.perf_counter() + timeout
        while True:
            moment, line = lines.get(timeout=max(0.001, deadline - time.perf_counter()))
            if text in line:
                return moment, line

    port = wait_for("Listening on")[1].strip().rsplit(":", 1)[1]
    command = [os.path.join(build, "bin/vantaquill"), "--port", port, "hud", "volume"]

    def pactl(level):
        subprocess.run(["pactl", "set-sink-volume", "speakers", level], env=environment, check=True)

    # The watcher connects at start; the first change it sees after that is flashed.
    for level in ("41%", "42%", "43%", "44%", "45%"):
        pactl(level)
        try:
            wait_for("hud shown", 1.0)
            break
        except queue.Empty:
            continue

    elsewhere, answer, flash = [], [], []
    for index in range(rounds):
        started = time.perf_counter()
        pactl("%d%%" % (20 + index % 2 * 40))
        elsewhere.append(wait_for("hud shown")[0] - started)
        time.sleep(0.5)  # past the 0.4 s in which a change counts as the island's own
        started = time.perf_counter()
        subprocess.run(command + ["up" if index % 2 else "down"], env=environment, check=True,
                       stdout=subprocess.DEVNULL)
        answer.append(time.perf_counter() - started)
        flash.append(wait_for("hud shown")[0] - started)
        time.sleep(0.5)

    def report(name, samples):
        samples = sorted(sample * 1000 for sample in samples)
        print("%-42s median %6.2f ms   p95 %6.2f ms" %
              (name, statistics.median(samples), samples[int(len(samples) * 0.95) - 1]))

    report("pactl started -> flash", elsewhere)
    report("vantaquill hud volume -> its answer", answer)
    report("vantaquill hud volume -> flash", flash)
finally:
    if island:
        island.terminate()
        island.wait()
    sound.terminate()
    sound.wait()
    shutil.rmtree(work, ignore_errors=True)
