#!/usr/bin/env python3
"""One table of our time, the peer's time and their ratio, from the benchmark
JSON output.

usage: ratios.py RESULTS_JSON

Every case of qlsbp_bench is named "<stage>/<W>x<H>" and runs its sides
interleaved; each side reports its per-iteration median in microseconds as
the counter "<side>_us" (see bench/bench_util.h). With repetitions, the
median over repetitions is used. Sides: "ours" (a stage; the
21-tap filter has three: "exported", the exported function that starts its
threads per call, "pool", the same filter on a persistent pool of the
peer's thread count, and "bands", the fast engine's band pass on that pool), "host" and
"session" (a whole frame through the host API and through a session), "peer"
(libyuv / OpenCV), "memcpy" (bandwidth reference), and the kernel paths
"avx2", "sse2", "neon", "scalar" of the "paths_" cases. Ratios below 1 mean
ours takes less time. Prints Markdown.
"""
import json
import sys


def load(path):
    with open(path) as f:
        data = json.load(f)
    entries = data.get("benchmarks", [])
    has_median = any(e.get("aggregate_name") == "median" for e in entries)
    cases = []
    for e in entries:
        if has_median and e.get("aggregate_name") != "median":
            continue
        if not has_median and e.get("run_type", "iteration") != "iteration":
            continue
        name = e.get("run_name", e["name"]).replace("/real_time", "")
        stage, _, size = name.partition("/")
        sides = {k[:-3]: v for k, v in e.items() if k.endswith("_us") and isinstance(v, (int, float))}
        if e.get("error_occurred"):
            sides = {"error": e.get("error_message", "error")}
        cases.append((stage, size, sides))
    return data.get("context", {}), cases


def ms(v):
    return "-" if v is None else ("%.2f" % (v / 1000.0) if v < 10000 else "%.1f" % (v / 1000.0))


def ratio(a, b):
    return "-" if a is None or b is None or b == 0 else "%.2f" % (a / b)


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    context, cases = load(sys.argv[1])
    print("Machine: %s processors online; our paths: %s; libyuv %s; OpenCV %s with %s threads."
          % (context.get("online_processors", "?"), context.get("ours.cpu_paths", "?").strip(),
             context.get("libyuv.version", "-"), context.get("opencv.version", "-"),
             context.get("opencv.threads", "-")))
    print()
    print("| case | size | ours | ours (ms) | peer (ms) | ours / peer |")
    print("|---|---|---|---:|---:|---:|")
    paths = []
    for stage, size, sides in cases:
        if "error" in sides:
            print("| %s | %s | error: %s | | | |" % (stage, size, sides["error"]))
            continue
        if stage.startswith("paths_"):
            paths.append((stage[len("paths_"):], size, sides))
            continue
        peer = sides.get("peer")
        for who in ("host", "session", "ours", "exported", "pool", "bands", "memcpy"):
            if who in sides:
                print("| %s | %s | %s | %s | %s | %s |"
                      % (stage, size, who, ms(sides[who]), ms(peer), ratio(sides[who], peer)))
    if paths:
        print()
        print("Our kernel paths (flags masked per side); the last column is scalar / fastest.")
        print()
        print("| kernel | size | avx2 (ms) | sse2 (ms) | neon (ms) | scalar (ms) | speed-up |")
        print("|---|---|---:|---:|---:|---:|---:|")
        for stage, size, sides in paths:
            vec = [sides[k] for k in ("avx2", "sse2", "neon") if k in sides]
            best = min(vec) if vec else None
            print("| %s | %s | %s | %s | %s | %s | %s |"
                  % (stage, size, ms(sides.get("avx2")), ms(sides.get("sse2")),
                     ms(sides.get("neon")), ms(sides.get("scalar")),
                     ratio(sides.get("scalar"), best)))


if __name__ == "__main__":
    main()
