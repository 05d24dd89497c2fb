#!/usr/bin/env python3
"""Tables of time ratios from the benchmark JSON output.

usage: ratios.py VECTOR_JSON [SCALAR_JSON]

VECTOR_JSON is a full run (ours and the peers); SCALAR_JSON, optional, is a
run of our cases only with QLSBP_FORCE_SCALAR=1. Cases are named
"<kernel>:<impl>/<W>x<H>" (see bench_util.h); impl "ours" is this library,
other "ours_*" impls are variants of ours, anything else is a peer. With
repetitions the median is used. Ratios below 1 mean ours takes less time.
Prints Markdown.
"""
import json
import os
import sys

UNIT_TO_US = {"ns": 1e-3, "us": 1.0, "ms": 1e3, "s": 1e6}


def load(path):
    """Returns (context, cases); cases maps (kernel, size, impl) to a dict."""
    with open(path) as f:
        data = json.load(f)
    entries = data.get("benchmarks", [])
    has_median = any(e.get("aggregate_name") == "median" for e in entries)
    cases = {}
    spread = {}
    for e in entries:
        name = e.get("run_name", e["name"])
        head, _, rest = name.partition(":")
        parts = rest.split("/")
        if len(parts) < 2:
            continue
        key = (head, parts[1], parts[0])
        if e.get("aggregate_name") == "cv":
            spread[key] = e["real_time"]
            continue
        if has_median:
            if e.get("run_type") != "aggregate" or e.get("aggregate_name") != "median":
                continue
        elif e.get("run_type", "iteration") != "iteration":
            continue
        # Registration order, which random interleaving does not keep.
        order = (e.get("family_index", 0), e.get("per_family_instance_index", 0))
        if e.get("error_occurred"):
            cases[key] = {"error": e.get("error_message", "error"), "order": order}
            continue
        scale = UNIT_TO_US.get(e.get("time_unit", "ns"), 1e-3)
        cases[key] = {
            "wall": e["real_time"] * scale,
            "cpu": e["cpu_time"] * scale,
            "threads": e.get("worker_threads"),
            "order": order,
        }
    for key, cv in spread.items():
        if key in cases:
            cases[key]["cv"] = cv
    return data.get("context", {}), cases


def size_key(size):
    w, _, h = size.partition("x")
    return (int(w) * int(h)) if w.isdigit() and h.isdigit() else 0


def fmt_us(v):
    return "%.0f" % v if v >= 100 else "%.1f" % v


def fmt_threads(case):
    t = case.get("threads")
    return "1" if t is None else "%d" % t


def fmt_cv(case):
    cv = case.get("cv")
    return "-" if cv is None else "%.0f%%" % (100.0 * cv)


def groups_in_order(cases):
    """(kernel, size) pairs in the order their first case was registered."""
    first = {}
    for (kernel, size, _impl), case in cases.items():
        o = case["order"]
        if (kernel, size) not in first or o < first[(kernel, size)]:
            first[(kernel, size)] = o
    kernel_first = {}
    for (kernel, _size), o in first.items():
        kernel_first[kernel] = min(o, kernel_first.get(kernel, o))
    return sorted(first, key=lambda ks: (kernel_first[ks[0]], size_key(ks[1])))


def impls_in_order(cases, kernel, size):
    impls = [(c["order"], impl) for (k, s, impl), c in cases.items() if k == kernel and s == size]
    return [impl for _o, impl in sorted(impls)]


def peer_table(cases):
    lines = [
        "| kernel | size | compared with | threads ours/other | ours (us) | other (us) | ours/other wall | ours/other CPU | spread ours/other |",
        "|---|---|---|---|---:|---:|---:|---:|---|",
    ]
    for kernel, size in groups_in_order(cases):
        ours = cases.get((kernel, size, "ours"))
        others = [impl for impl in impls_in_order(cases, kernel, size) if impl != "ours"]
        for impl in others:
            other = cases[(kernel, size, impl)]
            if ours is None or "error" in ours or "error" in other:
                why = (ours or {}).get("error") or other.get("error") or "missing"
                lines.append("| %s | %s | %s | | - | - | %s | | |" % (kernel, size, impl, why))
                continue
            lines.append(
                "| %s | %s | %s | %s | %s | %s | %.2f | %.2f | %s |"
                % (
                    kernel,
                    size,
                    impl,
                    "%s/%s" % (fmt_threads(ours), fmt_threads(other)),
                    fmt_us(ours["wall"]),
                    fmt_us(other["wall"]),
                    ours["wall"] / other["wall"],
                    ours["cpu"] / other["cpu"],
                    "%s/%s" % (fmt_cv(ours), fmt_cv(other)),
                )
            )
    return "\n".join(lines)


def ours_only_table(cases):
    lines = [
        "| case | size | threads | ours (us) | CPU (us) | spread |",
        "|---|---|---|---:|---:|---|",
    ]
    for kernel, size in groups_in_order(cases):
        impls = impls_in_order(cases, kernel, size)
        if impls != ["ours"] or "error" in cases[(kernel, size, "ours")]:
            continue
        c = cases[(kernel, size, "ours")]
        lines.append("| %s | %s | %s | %s | %s | %s |" % (
            kernel, size, fmt_threads(c), fmt_us(c["wall"]), fmt_us(c["cpu"]), fmt_cv(c)))
    return "\n".join(lines) if len(lines) > 2 else ""


def scalar_table(vector_cases, scalar_cases):
    lines = [
        "| kernel | size | impl | vector (us) | scalar (us) | scalar/vector wall | scalar/vector CPU |",
        "|---|---|---|---:|---:|---:|---:|",
    ]
    for kernel, size in groups_in_order(scalar_cases):
        for impl in impls_in_order(scalar_cases, kernel, size):
            if not impl.startswith("ours"):
                continue
            sc = scalar_cases[(kernel, size, impl)]
            vec = vector_cases.get((kernel, size, impl))
            if vec is None or "error" in vec or "error" in sc:
                continue
            lines.append(
                "| %s | %s | %s | %s | %s | %.2f | %.2f |"
                % (kernel, size, impl, fmt_us(vec["wall"]), fmt_us(sc["wall"]),
                   sc["wall"] / vec["wall"], sc["cpu"] / vec["cpu"])
            )
    return "\n".join(lines)


def cpu_model():
    try:
        with open("/proc/cpuinfo") as f:
            for line in f:
                if line.startswith(("model name", "Hardware", "Processor")):
                    return line.split(":", 1)[1].strip()
    except OSError:
        pass
    return "unknown"


def main(argv):
    if len(argv) < 2:
        sys.stderr.write(__doc__)
        return 2
    context, vector_cases = load(argv[1])
    print("Machine: %s, %s logical CPUs (os.cpu_count)" % (cpu_model(), os.cpu_count()))
    print("Run: %s, %s CPUs at %s MHz, load average %s" % (
        context.get("date", "?"), context.get("num_cpus", "?"), context.get("mhz_per_cpu", "?"),
        ", ".join("%.2f" % x for x in context.get("load_avg", [])) or "?"))
    for key in sorted(context):
        if key.startswith(("ours.", "opencv.", "libyuv.", "bytes.")):
            print("- %s: %s" % (key, context[key]))
    print()
    print("Ours against the peers (median wall-clock time per call; ratio < 1: ours is faster;")
    print("CPU = process CPU time, all threads; spread = coefficient of variation of the")
    print("wall time over the repetitions):")
    print()
    print(peer_table(vector_cases))
    alone = ours_only_table(vector_cases)
    if alone:
        print()
        print("Our cases without a peer:")
        print()
        print(alone)
    if len(argv) > 2:
        scalar_context, scalar_cases = load(argv[2])
        print()
        print("Scalar against vector kernels (QLSBP_FORCE_SCALAR=1; run started at %s, load average %s):" % (
            scalar_context.get("date", "?"),
            ", ".join("%.2f" % x for x in scalar_context.get("load_avg", [])) or "?"))
        print()
        print(scalar_table(vector_cases, scalar_cases))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
