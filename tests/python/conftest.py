"""Shared fixtures. The command-line tool built from the same sources is the
reference for bit-identical results: EXPRCURVE_TOOL names it (default: the
`test` preset's build); without it those tests are skipped, unless
EXPRCURVE_REQUIRE_TOOL=1, as in CI, where they fail instead."""

import os
import subprocess
from pathlib import Path

import numpy as np
import pytest

ROOT = Path(__file__).resolve().parents[2]


@pytest.fixture(scope="session")
def tool():
    path = Path(os.environ.get("EXPRCURVE_TOOL", ROOT / "build" / "test" / "tools" / "exprcurve"))
    if not os.access(path, os.X_OK):
        if os.environ.get("EXPRCURVE_REQUIRE_TOOL") == "1":
            pytest.fail(f"the exprcurve tool is not at {path}")
        pytest.skip(f"the exprcurve tool is not at {path}; set EXPRCURVE_TOOL")

    def run(*arguments):
        """The tool's CSV output as (first column, second column) float64 arrays."""
        output = subprocess.run([str(path), *map(str, arguments)], check=True,
                                capture_output=True, text=True).stdout
        rows = [line.split(",") for line in output.splitlines()[1:]]
        return (np.array([float(row[0]) for row in rows]),
                np.array([float(row[1]) for row in rows]))

    return run


def bits(values):
    """float64 values as their bit patterns, so that comparisons are exact
    (-0.0 differs from 0.0, and a NaN equals the same NaN)."""
    return np.asarray(values, dtype=np.float64).view(np.uint64)


def tool_bits(values):
    """bits(), with every NaN made the one NaN the tool's text gives back: the
    tool prints a NaN without its sign or payload."""
    values = np.asarray(values, dtype=np.float64)
    return bits(np.where(np.isnan(values), np.float64("nan"), values))
