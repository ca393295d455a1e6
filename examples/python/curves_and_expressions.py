"""Loads the bundled curve, samples it, evaluates an expression over arrays,
and plots both when matplotlib is installed (otherwise it only prints).

    python examples/python/curves_and_expressions.py [OUTPUT.png]
"""

import sys
from pathlib import Path

import numpy as np

import exprcurve

HERE = Path(__file__).resolve().parent


def main():
    # A walk cycle's height: bezier and TCB segments, repeated after its end.
    curve = exprcurve.Curve.load(HERE / "walk.curve")
    print(curve)
    times = np.linspace(-1.0, 5.0, 601)
    heights = curve.sample(times)
    print(f"height from {heights.min():.4f} to {heights.max():.4f}")

    # The same times through an expression: a sway that grows with speed.
    parser = exprcurve.Parser()
    parser.bind("t")
    speed = parser.bind("speed", 1.2)
    sway = parser.parse("0.1*speed*sin(2*pi*t)")
    sways = sway.evaluate(t=times)
    print(f"sway at t=0.25 with speed {speed.value}: {sway.evaluate(t=0.25):.6f}")

    # Every sample is what calling the curve or the expression gives.
    assert heights[100] == curve(times[100])
    try:
        import matplotlib
    except ImportError:
        return
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt

    figure, axes = plt.subplots()
    axes.plot(times, heights, label="walk.curve")
    axes.plot(times, sways, label=sway.text)
    axes.set_xlabel("time")
    axes.legend()
    output = sys.argv[1] if len(sys.argv) > 1 else "curves_and_expressions.png"
    figure.savefig(output)
    print(f"wrote {output}")


if __name__ == "__main__":
    main()
