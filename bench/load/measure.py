#!/usr/bin/python3
"""Load benchmark of `webstep run` against wrk and Locust's FastHttpUser.

Started by run-load-bench.sh, which runs nginx on a loopback port first.
Every client does GET of the same file with the same number of connections
(users), pinned to one core. The measured phase is counted the same way for
all of them, from outside:

  - requests: the server's own counter (nginx stub_status), read when the
    measured phase starts and when it ends (the two reads are subtracted);
  - CPU: user + system time of the client's processes (the process, the
    processes it forked, and those it waited for) from /proc, read at the
    same two moments;
  - the phase starts once the client has sent its first requests and then
    warmed up for WARMUP seconds; it lasts SECONDS.

Prints the table and writes it as Markdown.
"""

import argparse
import json
import os
import signal
import statistics
import subprocess
import sys
import time
import urllib.request

TICK = os.sysconf("SC_CLK_TCK")


def server_requests(port):
    """nginx's count of requests (this read included, so minus one)."""
    with urllib.request.urlopen(f"http://127.0.0.1:{port}/nginx_status", timeout=5) as answer:
        text = answer.read().decode()
    return int(text.splitlines()[2].split()[2]) - 1


def stat_fields(pid):
    """The fields of /proc/<pid>/stat after the command name (state first),
    or None when the process is gone."""
    try:
        with open(f"/proc/{pid}/stat") as f:
            stat = f.read()
    except OSError:
        return None
    return stat[stat.rindex(")") + 2:].split()


def children():
    """pid -> list of child pids, for every process now."""
    tree = {}
    for name in os.listdir("/proc"):
        if not name.isdigit():
            continue
        fields = stat_fields(name)
        if fields is not None:
            tree.setdefault(int(fields[1]), []).append(int(name))
    return tree


def descendants(root):
    tree = children()
    found, pending = [], [root]
    while pending:
        pid = pending.pop()
        found.append(pid)
        pending.extend(tree.get(pid, []))
    return found


def cpu_seconds(root):
    """utime + stime + cutime + cstime of root and all its descendants: the
    children it reaped are in its cutime, the live ones are counted apart."""
    ticks = 0
    for pid in descendants(root):
        fields = stat_fields(pid)
        if fields is not None:
            ticks += sum(int(x) for x in fields[11:15])
    return ticks / TICK


def memory_kb(root):
    """(sum of VmRSS, sum of Pss, process count) of root and descendants."""
    rss = pss = count = 0
    for pid in descendants(root):
        try:
            with open(f"/proc/{pid}/status") as f:
                for line in f:
                    if line.startswith("VmRSS:"):
                        rss += int(line.split()[1])
            with open(f"/proc/{pid}/smaps_rollup") as f:
                for line in f:
                    if line.startswith("Pss:"):
                        pss += int(line.split()[1])
            count += 1
        except OSError:
            continue
    return rss, pss, count


def nginx_worker(master):
    kids = children().get(master, [])
    return kids[0] if kids else master


def measure(args, name, command, env=None, stdout=None):
    """One repetition: returns a dict of the measured phase."""
    base = server_requests(args.port)
    err = open(os.path.join(args.tmp, f"{name}.err"), "w")
    out = stdout if stdout is not None else subprocess.DEVNULL
    process = subprocess.Popen(command, stdout=out, stderr=err, env=env)
    try:
        deadline = time.monotonic() + 60
        while server_requests(args.port) < base + 50:
            if process.poll() is not None:
                sys.exit(f"load bench: {name} ended before sending: "
                         f"{open(err.name).read().strip()}")
            if time.monotonic() > deadline:
                sys.exit(f"load bench: {name} sent nothing within 60 s")
            time.sleep(0.05)
        time.sleep(args.warmup)
        server = nginx_worker(args.nginx_pid)
        r0, c0, s0, t0 = (server_requests(args.port), cpu_seconds(process.pid),
                          cpu_seconds(server), time.monotonic())
        time.sleep(args.seconds)
        r1, c1, s1, t1 = (server_requests(args.port), cpu_seconds(process.pid),
                          cpu_seconds(server), time.monotonic())
        if process.poll() is not None:
            sys.exit(f"load bench: {name} ended inside the measured phase; "
                     "give it a longer run")
        process.wait(timeout=args.warmup + args.seconds + 60)
    finally:
        if process.poll() is None:
            process.send_signal(signal.SIGTERM)
            try:
                process.wait(timeout=20)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
        err.close()
    elapsed = t1 - t0
    requests = r1 - r0
    cpu = c1 - c0
    return {"requests": requests, "elapsed": elapsed, "rate": requests / elapsed,
            "cpu": cpu / elapsed, "per_cpu": requests / cpu if cpu > 0 else float("inf"),
            "server_cpu": (s1 - s0) / elapsed, "exit": process.returncode}


def clients(args, case):
    path = "/api.json" if case == "json" else "/page.html"
    run_for = int(args.warmup + args.seconds + 3.999)  # from the first requests on, with slack
    pin = ["taskset", "-c", args.client_core] if args.client_core else []
    url = f"http://127.0.0.1:{args.port}{path}"
    folder = os.path.join(args.here, case)
    webstep = pin + [args.webstep, "run", folder, "--users", str(args.connections),
                     "--workers", "1", "--think-time", "none", "--duration", f"{run_for}s",
                     "--json", "--connect-to", f"bench.local:80:127.0.0.1:{args.port}"]
    wrk = pin + ["wrk", "-t1", f"-c{args.connections}", f"-d{run_for}s", url]
    locust = pin + [args.python, "-m", "locust", "-f", os.path.join(args.here, "locustfile.py"),
                    "--headless", "--only-summary", "--loglevel", "WARNING",
                    "-u", str(args.connections), "-r", str(args.connections * 100),
                    "-t", f"{run_for}s", "--host", f"http://127.0.0.1:{args.port}"]
    env = dict(os.environ, LOAD_PATH=path, PYTHONDONTWRITEBYTECODE="1")
    return [("webstep", webstep, None), ("wrk", wrk, None), ("FastHttpUser", locust, env)]


def run_cases(args):
    rows = {}
    for case in ("json", "page"):
        for rep in range(args.reps):
            # Interleaved: a change of the machine's load hits all clients alike.
            for client, command, env in clients(args, case):
                name = f"{case}-{client}-{rep}"
                summary = None
                if client == "webstep":
                    summary = open(os.path.join(args.tmp, name + ".json"), "w")
                result = measure(args, name, command, env, summary)
                if summary is not None:
                    summary.close()
                    own = json.load(open(summary.name))
                    result["own"] = own
                    if own.get("errors_total"):
                        sys.exit(f"load bench: {name}: errors: {own['errors']}")
                rows.setdefault((case, client), []).append(result)
                print(f"  {case:4} {client:12} rep {rep + 1}: {result['rate']:9.0f} req/s, "
                      f"client CPU {100 * result['cpu']:3.0f} %, "
                      f"{result['per_cpu']:9.0f} req/CPU-s, "
                      f"server CPU {100 * result['server_cpu']:3.0f} %", flush=True)
    return rows


def median(rows, key):
    return statistics.median(r[key] for r in rows)


def memory(args):
    """1,000 users thinking: resident memory of the run's processes."""
    base = server_requests(args.port)
    err = open(os.path.join(args.tmp, "think.err"), "w")
    command = [args.webstep, "run", os.path.join(args.here, "think"), "--users",
               str(args.think_users), "--iterations", "1", "--think-time", "recorded",
               "--json", "--connect-to", f"bench.local:80:127.0.0.1:{args.port}"]
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=err)
    try:
        deadline = time.monotonic() + 120
        while server_requests(args.port) < base + args.think_users:
            if process.poll() is not None or time.monotonic() > deadline:
                sys.exit("load bench: the thinking users did not all send their request: "
                         + open(err.name).read().strip())
            time.sleep(0.2)
        # Every user has had its answer and thinks; let the last settle.
        time.sleep(2)
        samples = []
        for _ in range(3):
            samples.append(memory_kb(process.pid))
            time.sleep(1)
        rss, pss, count = max(samples)
        stop = time.monotonic()
        process.send_signal(signal.SIGTERM)
        try:
            process.wait(timeout=60)
        except subprocess.TimeoutExpired:
            process.send_signal(signal.SIGTERM)
            process.wait(timeout=20)
        stopped = time.monotonic() - stop
    finally:
        if process.poll() is None:
            process.kill()
            process.wait()
        err.close()
    return {"users": args.think_users, "rss_kb": rss, "pss_kb": pss, "processes": count,
            "stop_s": stopped, "exit": process.returncode}


def table(args, rows, mem):
    lines = []
    add = lines.append
    placed = (f"Clients pinned to core {args.client_core}, nginx (1 worker) to core "
              f"{args.server_core}" if args.client_core else
              "Clients and nginx (1 worker) not pinned")
    add(f"{placed}; {args.connections} connections/users each; measured "
        f"{args.seconds:g} s after {args.warmup:g} s warm-up; median of {args.reps} "
        "interleaved repetitions; requests counted by the server.")
    add(f"Machine: {args.machine}")
    add("")
    add("| case | client | req/s | client CPU | req per client CPU-s | server CPU |")
    add("| --- | --- | ---: | ---: | ---: | ---: |")
    labels = {"json": "JSON 200 B (web_custom_request)",
              "page": "HTML 20 KB, 10 links, form (web_url, Mode=HTTP)"}
    for case in ("json", "page"):
        for client in ("webstep", "wrk", "FastHttpUser"):
            r = rows[(case, client)]
            add(f"| {labels[case]} | {client} | {median(r, 'rate'):,.0f} | "
                f"{100 * median(r, 'cpu'):.0f} % | {median(r, 'per_cpu'):,.0f} | "
                f"{100 * median(r, 'server_cpu'):.0f} % |")
    add("")
    add("| case | webstep / wrk (req/s) | webstep / wrk (per CPU-s) | "
        "webstep / FastHttpUser (req/s) | webstep / FastHttpUser (per CPU-s) | target |")
    add("| --- | ---: | ---: | ---: | ---: | --- |")
    verdicts = []
    for case in ("json", "page"):
        w = rows[(case, "webstep")]
        k = rows[(case, "wrk")]
        f = rows[(case, "FastHttpUser")]
        wk_rate = median(w, "rate") / median(k, "rate")
        wk_cpu = median(w, "per_cpu") / median(k, "per_cpu")
        wf_rate = median(w, "rate") / median(f, "rate")
        wf_cpu = median(w, "per_cpu") / median(f, "per_cpu")
        targets = []
        if case == "json":
            ok = wk_cpu >= 0.5
            targets.append(f"≥ 0.50 of wrk: {'met' if ok else 'NOT met'}")
            verdicts.append(ok)
        ok = wf_cpu >= 5
        targets.append(f"≥ 5x FastHttpUser: {'met' if ok else 'NOT met'}")
        verdicts.append(ok)
        add(f"| {case} | {wk_rate:.2f} | {wk_cpu:.2f} | {wf_rate:.1f} | {wf_cpu:.1f} | "
            f"{'; '.join(targets)} |")
    add("")
    own = [r["own"] for r in rows[("json", "webstep")]]
    add("webstep's own summary (whole run, warm-up included), JSON case: " +
        ", ".join(f"{o['requests']} requests in {o['elapsed']:.2f} s" for o in own) + ".")
    if mem is not None:
        per = mem["rss_kb"] / mem["users"]
        add("")
        add(f"Thinking users: {mem['users']} users of `webstep run` (default workers: "
            f"{mem['processes'] - 1} + the parent), each after one request in a 600 s think: "
            f"VmRSS summed over the {mem['processes']} processes {mem['rss_kb'] / 1024:.1f} MiB "
            f"= {per:.0f} kB per user (Pss {mem['pss_kb'] / 1024:.1f} MiB = "
            f"{mem['pss_kb'] / mem['users']:.0f} kB per user); target under 1 GB in all: "
            f"{'met' if mem['rss_kb'] * 1024 < 1e9 else 'NOT met'}. SIGTERM stopped the run "
            f"in {mem['stop_s']:.1f} s (exit {mem['exit']}).")
    return "\n".join(lines) + "\n"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--port", type=int, required=True)
    parser.add_argument("--nginx-pid", type=int, required=True)
    parser.add_argument("--webstep", required=True)
    parser.add_argument("--python", default="/usr/bin/python3")
    parser.add_argument("--here", required=True)
    parser.add_argument("--tmp", required=True)
    parser.add_argument("--out", required=True)
    parser.add_argument("--seconds", type=float, default=5)
    parser.add_argument("--warmup", type=float, default=1)
    parser.add_argument("--reps", type=int, default=3)
    parser.add_argument("--connections", type=int, default=10)
    parser.add_argument("--think-users", type=int, default=1000)
    parser.add_argument("--client-core", default="1")
    parser.add_argument("--server-core", default="0")
    parser.add_argument("--machine", default="")
    parser.add_argument("--only", choices=["load", "memory", "all"], default="all")
    args = parser.parse_args()

    rows = run_cases(args) if args.only in ("load", "all") else None
    mem = memory(args) if args.only in ("memory", "all") else None
    if rows is None:
        print(f"memory: {mem}")
        return
    text = table(args, rows, mem)
    print()
    print(text, end="")
    with open(args.out, "w") as f:
        f.write("# Load: webstep run against wrk and Locust\n\n" + text)
    print(f"\nwritten to {args.out}")


if __name__ == "__main__":
    main()
