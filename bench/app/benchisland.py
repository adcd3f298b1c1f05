"""The real headless island for the benchmark scripts beside this file: started in a temporary home
with registered SDK clients written into its client file before it starts, so that each client has
its own rate limit."""

import hashlib
import json
import os
import re
import subprocess
import time


def start(build, folder, client_count, scopes, wrapper=(), timeout=20):
    """Starts `wrapper` + the island of `build` headless on port 0 in `folder`; returns the process,
    its port and the tokens of `client_count` clients with `scopes`. The island's output goes to a
    file: it prints every change, and a pipe nobody reads would stop it."""
    home = os.path.join(folder, "home")
    data = os.path.join(home, ".local/share/vantaquill")
    os.makedirs(data)
    os.chmod(data, 0o700)
    os.makedirs(os.path.join(home, ".config"))
    now = time.time()
    tokens = [f"vq_bench_client_{n}" for n in range(client_count)]
    clients = [{"appID": f"bench-{n}", "name": f"Bench client {n}", "scopes": list(scopes),
                "tokenHash": hashlib.sha256(token.encode()).hexdigest(),
                "createdAt": now, "lastSeen": now} for n, token in enumerate(tokens)]
    with open(os.path.join(data, "sdk-clients.json"), "w") as file:
        json.dump(clients, file)
    environment = {"PATH": "/usr/bin:/bin", "HOME": home, "XDG_RUNTIME_DIR": folder,
                   "XDG_CONFIG_HOME": os.path.join(home, ".config"),
                   "XDG_DATA_HOME": os.path.join(home, ".local/share")}
    log = os.path.join(folder, "island.log")
    with open(log, "w") as output:
        process = subprocess.Popen(list(wrapper) + [os.path.join(build, "bin/vantaquill-island"), "--headless",
                                                    "--port", "0"],
                                   env=environment, stdout=output, stderr=subprocess.DEVNULL)
    deadline = time.monotonic() + timeout
    while time.monotonic() < deadline:
        with open(log) as output:
            found = re.search(r"Listening on 127\.0\.0\.1:(\d+)", output.read())
        if found:
            return process, int(found.group(1)), tokens
        time.sleep(0.05)
    process.kill()
    raise SystemExit("the island did not start")
