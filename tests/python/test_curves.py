import copy
import threading

import numpy as np
import pytest

import exprcurve
from conftest import bits, tool_bits

MODES = list(exprcurve.Mode.__members__.values())


def every_kind_curve(pre="constant", post="constant"):
    """Every segment kind, with values that text at six digits would spoil."""
    c = exprcurve.Curve()
    c.add_point(0.0, 0.1, "bezier", left_slope=0.3, right_slope=-2.5)
    c.add_point(1 / 3, 2.0, exprcurve.Kind.LINEAR)
    c.add_point(1.25, -1 / 7, exprcurve.Kind.TCB, tension=0.25, continuity=-0.5, bias=0.125,
                ease_from=0.5, ease_to=0.75, flag=True)
    c.add_point(2.0, 1e-300, "tcb")
    c.add_point(3.0, 4.0, 1)
    c.add_point(3.5, -0.0, "step")
    c.pre, c.post = pre, post
    return c


TIMES = np.concatenate([np.linspace(-4.0, 8.0, 97), [0.0, 1 / 3, 3.5, -0.0, np.inf, np.nan]])


@pytest.mark.parametrize("pre", MODES, ids=str)
@pytest.mark.parametrize("post", MODES, ids=str)
def test_samples_have_the_bits_of_the_tool(tool, tmp_path, pre, post):
    c = every_kind_curve(pre, post)
    path = tmp_path / "every_kind.curve"
    c.save(path)
    finite = TIMES[np.isfinite(TIMES)]
    _, expected = tool("sample", path, "--times", ",".join(repr(float(t)) for t in finite))
    assert tool_bits(c.sample(finite)).tolist() == tool_bits(expected).tolist()
    assert tool_bits([c(t) for t in finite]).tolist() == tool_bits(expected).tolist()


def test_sample_equals_calls_for_unsorted_times_and_odd_values():
    c = every_kind_curve("cycle_offset", "linear")
    times = np.random.default_rng(3).permutation(TIMES)
    assert bits(c.sample(times)).tolist() == bits([c(t) for t in times]).tolist()


@pytest.mark.parametrize("make, shape", [
    (lambda v: v.astype(np.float32), (8,)),
    (lambda v: v[::2], (4,)),
    (lambda v: v.reshape(2, 4).T, (4, 2)),
    (lambda v: v[:0], (0,)),
    (lambda v: np.float64(v[3]), ()),
    (lambda v: [int(x) for x in v], (8,)),
])
def test_sample_reads_any_numeric_array_and_keeps_its_shape(make, shape):
    c = every_kind_curve()
    given = make(np.linspace(-1.0, 4.0, 8))
    result = c.sample(given)
    assert result.dtype == np.float64 and result.shape == shape
    expected = [c(float(t)) for t in np.asarray(given, np.float64).ravel()]
    assert bits(result.ravel()).tolist() == bits(expected).tolist()


def test_text_and_binary_files_load_back_bit_for_bit(tmp_path):
    c = every_kind_curve("cycle", "zero")
    for name, version in (("c.curve", None), ("c.kvb", 3027)):
        c.save(tmp_path / name, version=version)
        loaded = exprcurve.Curve.load(str(tmp_path / name), version=version)
        assert loaded.points.tobytes() == c.points.tobytes()
        assert (loaded.pre, loaded.post) == (exprcurve.Mode.CYCLE, exprcurve.Mode.ZERO)


@pytest.mark.parametrize("odd", [np.inf, np.nan, 5e-324])
def test_numbers_text_cannot_keep_are_refused_as_text_and_kept_in_binary(tmp_path, odd):
    c = every_kind_curve()
    c.add_point(9.0, odd)
    with pytest.raises(ValueError, match="binary"):
        c.save(tmp_path / "odd.curve")
    assert not (tmp_path / "odd.curve").exists()
    c.save(tmp_path / "odd.kvb", version=3027)
    assert exprcurve.Curve.load(tmp_path / "odd.kvb", version=3027).points.tobytes() == c.points.tobytes()


def test_binary_files_of_the_tool_load(tool, tmp_path):
    c = every_kind_curve("linear", "cycle")
    c.save(tmp_path / "c.curve")
    tool("convert", tmp_path / "c.curve", tmp_path / "c.kvb")
    loaded = exprcurve.Curve.load(tmp_path / "c.kvb", version=3027)
    assert loaded.points.tobytes() == c.points.tobytes()


def test_file_errors_are_os_errors(tmp_path):
    with pytest.raises(FileNotFoundError):
        exprcurve.Curve.load(tmp_path / "missing.curve")
    with pytest.raises(IsADirectoryError):
        every_kind_curve().save(tmp_path)
    every_kind_curve().save(tmp_path / "cut.kvb", version=3027)
    data = (tmp_path / "cut.kvb").read_bytes()
    (tmp_path / "cut.kvb").write_bytes(data[:100])
    with pytest.raises(OSError, match="not a complete"):
        exprcurve.Curve.load(tmp_path / "cut.kvb", version=3027)
    (tmp_path / "bad.curve").write_text("2\n1\n1\n0.5\nzero\n")
    with pytest.raises(OSError, match="not a complete"):
        exprcurve.Curve.load(tmp_path / "bad.curve")
    with pytest.raises(ValueError, match="3027"):
        every_kind_curve().save(tmp_path / "old.kvb", version=3018)


def test_points_are_a_read_only_record_array_in_time_order():
    c = exprcurve.Curve()
    c.add_point(2.0, 1.0, "step")
    c.add_point(1.0, 5.0)
    index = c.add_point(2.0, 9.0, "bezier")  # before the point already at 2
    assert index == 1 and len(c) == 3
    points = c.points
    assert points["time"].tolist() == [1.0, 2.0, 2.0]
    assert points["value"].tolist() == [5.0, 9.0, 1.0]
    assert points["kind"].tolist() == [exprcurve.Kind.LINEAR, exprcurve.Kind.BEZIER,
                                       exprcurve.Kind.STEP]
    with pytest.raises(ValueError):
        points["value"][0] = 3.0
    c.remove_point(-1)
    assert c.points["value"].tolist() == [5.0, 9.0]
    with pytest.raises(IndexError):
        c.remove_point(2)


def test_kinds_and_modes_by_name_enum_or_code():
    c = exprcurve.Curve()
    with pytest.raises(ValueError, match="kind 'cubic'"):
        c.add_point(0.0, 0.0, "cubic")
    c.pre = "Cycle_Offset"
    c.post = 0
    assert c.pre == exprcurve.Mode.CYCLE_OFFSET and c.post == exprcurve.Mode.ZERO
    with pytest.raises(ValueError):
        c.pre = "mirror"
    assert repr(c) == "Curve(points=0, pre='cycle_offset', post='zero')"


def test_default_value_and_copies():
    c = every_kind_curve()
    c.add_point(2.0, 5.0)  # before the point already at 2: copies keep that order
    twin = copy.copy(c)
    assert twin.points.tobytes() == c.points.tobytes()
    twin.remove_point(3)
    c.clear()
    c.default_value = 2.5
    assert c(1.0) == 2.5 and len(twin) == 6
    assert twin.points.tobytes() == every_kind_curve().points.tobytes()


def test_threads_sample_one_curve_at_once():
    c = every_kind_curve("cycle", "cycle_offset")
    times = np.linspace(-100.0, 100.0, 200_001)
    expected = bits(c.sample(times)).tolist()
    results = []

    def work():
        for _ in range(5):
            results.append(bits(c.sample(times)).tolist() == expected)

    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert results == [True] * 20


def test_edits_wait_for_threads_sampling():
    c = every_kind_curve()
    times = np.linspace(-1.0, 5.0, 500_000)
    stop = threading.Event()
    seen = []

    def sample():
        while not stop.is_set():
            values = c.sample(times)
            seen.append(len(c) in (6, 7) and values.shape == times.shape)

    sampler = threading.Thread(target=sample)
    sampler.start()
    for i in range(200):
        c.add_point(10.0 + i, 0.0)
        c.remove_point(-1)
    stop.set()
    sampler.join()
    assert seen and all(seen)
    assert c.points.tobytes() == every_kind_curve().points.tobytes()


def same_values(a, b):
    """Bit for bit, any NaN equal to any NaN (two code paths may keep either
    operand's payload where two NaNs meet)."""
    a, b = np.asarray(a, np.float64), np.asarray(b, np.float64)
    return bool(np.all((bits(a) == bits(b)) | (np.isnan(a) & np.isnan(b))))


@pytest.mark.parametrize("pre", MODES, ids=str)
def test_the_runtime_form_answers_as_the_curve_stood(pre):
    c = every_kind_curve(pre, "cycle_offset")
    compiled = c.compile()
    times = np.random.default_rng(11).permutation(TIMES)
    expected = c.sample(times)
    c.clear()  # the snapshot does not see it
    assert len(compiled) == 6 and repr(compiled) == "CompiledCurve(points=6)"
    assert same_values(compiled.sample(times), expected)
    ascending = np.sort(times)  # walked with the points rather than searched
    assert same_values(compiled.sample(ascending), every_kind_curve(pre, "cycle_offset").sample(ascending))
    assert same_values([compiled(t) for t in times], expected)
    assert len(c.compile()) == 0


def test_threads_sample_one_runtime_form_at_once():
    compiled = every_kind_curve("cycle", "linear").compile()
    times = np.linspace(-100.0, 100.0, 200_001)
    expected = bits(compiled.sample(times)).tolist()
    results = []

    def work():
        for _ in range(5):
            results.append(bits(compiled.sample(times)).tolist() == expected)

    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert results == [True] * 20
