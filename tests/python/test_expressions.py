import gc
import threading

import numpy as np
import pytest

import exprcurve
from conftest import bits, tool_bits

# Texts that exercise every operator and function, the language's own
# grouping rules, and results that are NaN, infinite or -0.0.
TEXTS = [
    "2*sin(t)+max(a,b)",
    "a-b-t",                # groups to the right: a-(b-t)
    "t/a/b",
    "2^-t",                 # (2^0)-t
    "t^b^a",
    "if(t>a,sqrt(t),-t)",
    "a=b|t<0.5&not(t)",
    "log(t)+log10(a)-exp(-t)",
    "j0(t)*j1(a)+atan(t)-acos(t)+asin(t)",
    "cosh(t)/sinh(t)+tanh(a)+tan(t)+cos(t)",
    "floor(t*7)+ceil(-t*3)+abs(a-t)",
    "min(t,a)/0",
    "sqrt(-t)",
    "2(a+1)t",              # implicit multiplication
    "1e-5",                 # 1*e-5: no exponent notation
    "pi*e+epsilon",
]


@pytest.fixture
def parser():
    p = exprcurve.Parser()
    p.bind("a", 1.5)
    p.bind("b", -0.25)
    p.bind("t", 0.0)
    return p


@pytest.mark.parametrize("text", TEXTS)
def test_rows_have_the_bits_of_the_tool(tool, parser, text):
    times, expected = tool("eval", text, "--set", "a=1.5", "--set", "b=-0.25",
                           "--time", "-1:2:0.0625")
    expression = parser.parse(text)
    assert tool_bits(expression.evaluate(t=times)).tolist() == tool_bits(expected).tolist()
    parser.variables["t"].value = times[7]
    assert tool_bits(expression()) == tool_bits(expected[7])


def test_evaluate_matches_calls_row_by_row_for_several_variables(parser):
    rng = np.random.default_rng(5)
    a, b, t = (rng.normal(size=257) for _ in range(3))
    expression = parser.parse("a*b+t/(a-b)-if(a>b,t,a)^2")
    rows = []
    for values in zip(a, b, t):
        for name, value in zip("abt", values):
            parser.variables[name].value = value
        rows.append(expression())
    assert bits(expression.evaluate(a=a, b=b, t=t)).tolist() == bits(rows).tolist()


@pytest.mark.parametrize("make, shape", [
    (lambda v: v.astype(np.float32), (12,)),
    (lambda v: v[::3], (4,)),
    (lambda v: v.reshape(3, 4).T, (4, 3)),
    (lambda v: v[:0], (0,)),
    (lambda v: np.float64(v[5]), ()),
    (lambda v: v.astype(np.int64), (12,)),
    (lambda v: list(v[:5]), (5,)),
])
def test_any_numeric_array_is_read_as_float64(parser, make, shape):
    given = make(np.linspace(-2.0, 3.5, 12))
    expression = parser.parse("t*a-sin(t)")
    result = expression.evaluate(t=given)
    assert result.dtype == np.float64 and result.shape == shape
    expected = [float(expression.evaluate(t=float(v))) for v in np.asarray(given, np.float64).ravel()]
    assert bits(result.ravel()).tolist() == bits(expected).tolist()


def test_arrays_are_broadcast_and_unnamed_variables_keep_their_value(parser):
    expression = parser.parse("a*10+b+t")
    result = expression.evaluate(a=np.arange(3.0)[:, None], b=np.arange(4.0))
    assert result.shape == (3, 4)
    assert result[2, 3] == 2 * 10 + 3 + 0.0
    with pytest.raises(ValueError):
        expression.evaluate(a=np.zeros(3), b=np.zeros(4))


def test_evaluate_leaves_the_variables_as_they_were(parser):
    parser.bind("a", 7.0)
    parser.parse("a").evaluate(a=np.arange(5.0))
    assert parser.variables["a"].value == 7.0


def test_evaluate_refuses_unknown_names_and_non_numbers(parser):
    expression = parser.parse("a+1")
    with pytest.raises(ValueError, match="'zz'"):
        expression.evaluate(zz=np.zeros(2))
    with pytest.raises((TypeError, ValueError)):
        expression.evaluate(a=np.array(["x"]))


def test_variables_and_expressions_outlive_their_parser():
    p = exprcurve.Parser()
    x = p.bind("x", 2.0)
    e = p.parse("x*x+1")
    del p
    gc.collect()
    assert e() == 5.0
    x.value = 3.0
    assert e() == 10.0
    assert e.evaluate(x=np.array([1.0, 2.0])).tolist() == [2.0, 5.0]


def test_binding_again_returns_the_same_variable_and_unbinding_keeps_old_expressions(parser):
    old = parser.parse("a+1")
    again = parser.bind("A", 4.0)
    assert again.name == "a" and parser.variables["a"].value == 4.0
    assert old() == 5.0
    parser.unbind("a")
    assert old() == 5.0
    assert parser.parse("a+1")() == 1.0  # an unknown name reads as 0
    with pytest.raises(KeyError):
        parser.unbind("a")
    with pytest.raises(ValueError):
        parser.bind("pi", 3.0)


def test_an_expression_names_what_it_reads(parser):
    assert parser.parse("b*2+sin(a)-b+pi").variables == ("b", "a", "pi")
    assert parser.parse("unknown+1").variables == ()


def test_reprs():
    p = exprcurve.Parser()
    x = p.bind("x", 0.5)
    assert repr(x) == "Variable('x', 0.5)"
    assert repr(p) == "Parser(variables=['x'])"
    assert repr(p.parse("2*x")) == "Expression('2*x')"
    assert p.parse("Sin( X )").normalized_text == "sin(x)"


def test_threads_evaluate_one_expression_at_once(parser):
    expression = parser.parse("sin(t)*a+sqrt(abs(t))")
    times = np.linspace(-50.0, 50.0, 20001)
    expected = bits(expression.evaluate(t=times)).tolist()
    results = []

    def work():
        for _ in range(5):
            results.append(bits(expression.evaluate(t=times)).tolist() == expected)

    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert results == [True] * 20


def test_interpreted_and_native_forms_give_the_same_bits(parser):
    text = "if(t>a,sqrt(t),t^2)*b-a/t+j0(t)"
    native = parser.parse(text)
    exprcurve.set_native_code_allowed(False)
    try:
        interpreted = parser.parse(text)
    finally:
        exprcurve.set_native_code_allowed(True)
    assert not interpreted.uses_native_code
    times = np.linspace(-3.0, 3.0, 1001)
    assert bits(native.evaluate(t=times)).tolist() == bits(interpreted.evaluate(t=times)).tolist()


def test_faults_are_ranges_of_the_typed_text_with_messages(parser):
    expression = parser.parse("2 * Q + max(a)")
    assert [(position, length) for position, length, _ in expression.faults] == [(4, 1), (13, 1)]
    assert "'q'" in expression.faults[0][2] and "max" in expression.faults[1][2]
    assert expression() == 0.0  # each faulty part reads as 0
    assert parser.parse("a+b").faults == []
    with pytest.raises(exprcurve.ParseError) as raised:
        parser.parse("2 * Q", strict=True)
    assert isinstance(raised.value, ValueError)
    assert raised.value.faults == parser.parse("2 * Q").faults
    assert "'q'" in str(raised.value)


def test_lint_warns_about_what_reads_differently():
    warnings = exprcurve.lint("1e-5 + a>=b")
    assert [(position, length) for position, length, _ in warnings] == [(0, 4), (8, 2)]
    assert exprcurve.lint("a+b") == []
    assert exprcurve.Parser.lint("2^-1") == exprcurve.lint("2^-1") != []


def test_python_functions_are_called_with_floats_left_to_right(parser):
    calls = []

    def lerp(a, b, s):
        calls.append((a, b, s))
        return a + (b - a) * s

    parser.define_function("Lerp", 3, lerp)
    parser.define_function("seven", 0, lambda: 7)
    expression = parser.parse("lerp(a,b,t)*seven()-lerp(t,1,2)")
    parser.variables["t"].value = 0.5
    assert expression() == (1.5 + (-0.25 - 1.5) * 0.5) * 7 - (0.5 + 0.5 * 2)
    assert calls == [(1.5, -0.25, 0.5), (0.5, 1.0, 2.0)]
    assert all(type(v) is float for call in calls for v in call)
    assert set(parser.functions) == {"lerp", "seven"}


def test_batches_calling_python_give_the_rows_of_single_calls(parser):
    parser.define_function("wave", 1, lambda v: float(np.sin(v)) * 2.0)
    expression = parser.parse("wave(t)+wave(a)*t")
    times = np.linspace(-2.0, 2.0, 101)
    rows = []
    for t in times:
        parser.variables["t"].value = t
        rows.append(expression())
    parser.variables["t"].value = 0.0
    assert bits(expression.evaluate(t=times)).tolist() == bits(rows).tolist()
    assert parser.variables["t"].value == 0.0


def test_a_function_that_raises_raises_from_the_evaluation(parser):
    calls = []

    def fragile(v):
        calls.append(v)
        if v > 0:
            raise KeyError("no value for a positive time")
        return v

    parser.define_function("fragile", 1, fragile)
    parser.define_function("text", 1, lambda v: "not a number")
    expression = parser.parse("fragile(t)+1")
    with pytest.raises(KeyError, match="positive time"):
        expression.evaluate(t=np.linspace(-1.0, 1.0, 1000))
    assert len(calls) == 501  # no call after the first failure
    parser.variables["t"].value = -2.0
    assert expression() == -1.0  # the failure is not left behind
    with pytest.raises(TypeError):
        parser.parse("text(t)")()


def test_functions_outlive_their_definition_and_parser():
    p = exprcurve.Parser()
    p.define_function("twice", 1, lambda v: 2 * v)
    old = p.parse("twice(3)")
    p.define_function("twice", 1, lambda v: 3 * v)
    assert (old(), p.parse("twice(3)")()) == (6.0, 9.0)
    p.remove_function("twice")
    del p
    gc.collect()
    assert old() == 6.0


def test_function_definitions_that_cannot_be_called_are_refused(parser):
    for name, arity in (("sin", 1), ("2x", 1), ("many", 9), ("", 0)):
        with pytest.raises(ValueError):
            parser.define_function(name, arity, lambda *v: 0.0)
    with pytest.raises(KeyError):
        parser.remove_function("never")


def test_threads_calling_python_functions_get_their_own_failures(parser):
    parser.define_function("check", 1, lambda v: 1.0 / v)  # ZeroDivisionError at 0
    expression = parser.parse("check(t)")
    outcomes = []

    def work(times):
        try:
            outcomes.append(float(expression.evaluate(t=times).sum()))
        except ZeroDivisionError:
            outcomes.append("raised")

    threads = [threading.Thread(target=work, args=(np.array(v),))
               for v in ([1.0, 2.0], [0.0, 1.0], [4.0], [0.0])]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert sorted(map(str, outcomes)) == sorted(["1.5", "0.25", "raised", "raised"])
