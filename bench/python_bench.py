"""The Python package beside the C++ calls it wraps, from one run.

    python bench/python_bench.py [BENCH_PROGRAM]

BENCH_PROGRAM is the C++ benchmark program (default: the `bench` preset's,
build/bench/bench/exprcurve_bench); this script runs its binding/*
benchmarks, times the same work through the installed `exprcurve` package on
the same inputs (bench/binding_baseline_bench.cpp builds them by the same
formulas), checks that both computed the same results, and prints one line
per case with the ratio Python / C++: the fastest of ROUNDS x REPEATS single
calls on each side, the figure least disturbed by other work on a loaded
machine. The rounds alternate between the two sides so that both meet the
same load.
"""

import json
import subprocess
import sys
import tempfile
import time
from pathlib import Path

import numpy as np

import exprcurve

ROOT = Path(__file__).resolve().parents[1]
ROWS = 1 << 20
REPEATS = 15  # as in bench/binding_baseline_bench.cpp
ROUNDS = 5


def binding_curve():
    curve = exprcurve.Curve()
    for k in range(1024):
        curve.add_point(k * 0.25, ((k * 37) % 101) * 0.125, k % 4,
                        left_slope=((k % 7) - 3) * 0.5, right_slope=((k % 5) - 2) * 0.5,
                        tension=0.25, continuity=-0.125, bias=0.0625)
    return curve


def binding_times(ascending):
    i = np.arange(ROWS, dtype=np.uint64)
    if ascending:
        return -8.0 + i.astype(np.float64) * 2.0**-12
    hashed = (i * np.uint64(2654435761)) % np.uint64(1 << 32)
    return hashed.astype(np.float64) * 2.0**-32 * 272.0 - 8.0


def binding_rows():
    i = np.arange(ROWS, dtype=np.int64)
    return dict(x=(i % 1000).astype(np.float64) * 0.001,
                y=(i % 777).astype(np.float64) * 0.01 - 3.0,
                z=(i % 1021).astype(np.float64) * 0.003,
                u=(i % 89).astype(np.float64) * 0.5,
                v=(i % 97).astype(np.float64) * 0.25 + 1.0)


def fastest_ms(call):
    call()  # warm up
    times = []
    for _ in range(REPEATS):
        start = time.perf_counter()
        call()
        times.append(time.perf_counter() - start)
    return min(times) * 1e3


def python_cases():
    curve = binding_curve()
    parser = exprcurve.Parser()
    for name in "xyzuv":
        parser.bind(name)
    expression = parser.parse("x*y+sin(z)-u/v+max(x,z)*0.5")
    rows = binding_rows()
    cases = {}
    for label, ascending in (("ascending", True), ("scattered", False)):
        times = binding_times(ascending)
        cases[f"binding/curve_sample/{label}"] = (
            fastest_ms(lambda: curve.sample(times)), curve.sample(times))
    cases["binding/expression_rows"] = (
        fastest_ms(lambda: expression.evaluate(**rows)), expression.evaluate(**rows))
    return cases


def cpp_cases(program):
    with tempfile.NamedTemporaryFile(suffix=".json") as output:
        subprocess.run([program, "--benchmark_filter=^binding/",
                        f"--benchmark_out={output.name}", "--benchmark_out_format=json"],
                       check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        report = json.load(open(output.name))
    return {entry["run_name"].split("/iterations:")[0]: (entry["real_time"], entry["checksum"])
            for entry in report["benchmarks"] if entry.get("aggregate_name") == "min"}


def main():
    program = sys.argv[1] if len(sys.argv) > 1 else ROOT / "build/bench/bench/exprcurve_bench"
    cpp, python = {}, {}
    for _ in range(ROUNDS):
        for name, (ms, checksum) in cpp_cases(str(program)).items():
            cpp[name] = (min(ms, cpp.get(name, (ms,))[0]), checksum)
        for name, (ms, values) in python_cases().items():
            python[name] = (min(ms, python.get(name, (ms,))[0]), values)
    print(f"{'case (1 Mi each)':34}{'C++ ms':>10}{'Python ms':>11}{'Python/C++':>12}  same results")
    for name, (python_ms, values) in python.items():
        cpp_ms, cpp_checksum = cpp[name]
        checksum = float(np.add.accumulate(values.ravel())[-1])  # summed in order, as C++ does
        same = abs(checksum - cpp_checksum) <= 1e-9 * max(1.0, abs(cpp_checksum))
        print(f"{name:34}{cpp_ms:10.2f}{python_ms:11.2f}{python_ms / cpp_ms:12.2f}  {same}")


if __name__ == "__main__":
    main()
