"""Expressions and animation curves, with the C++ library's results to the last bit.

>>> import exprcurve, numpy as np
>>> p = exprcurve.Parser()
>>> x = p.bind("x", 0.5)
>>> e = p.parse("2*x+max(x,1)")
>>> e()
2.0
>>> e.evaluate(x=np.array([0.0, 2.0])).tolist()
[1.0, 6.0]
>>> c = exprcurve.Curve()
>>> c.add_point(0.0, 0.0); c.add_point(1.0, 10.0)
0
1
>>> c(0.25)
2.5
>>> p.parse("2*y").faults
[(2, 1, "unknown name 'y' (did you mean 'e'?)")]
>>> p.define_function("lerp", 3, lambda a, b, s: a + (b - a) * s)
>>> p.parse("lerp(0, 10, x)")()
5.0

The expression language has its own rules: every operator groups to the
right ('8/4/2' is 4), a leading '-' is 0-x ('2^-1' is 0), there are no
two-character operators and no exponent notation, and '2x' is 2*x.
"""

from ._exprcurve import (CompiledCurve, Curve, Expression, Kind, Mode, ParseError, Parser,
                         Variable, __version__, lint, set_native_code_allowed)

__all__ = ["CompiledCurve", "Curve", "Expression", "Kind", "Mode", "ParseError", "Parser",
           "Variable", "__version__", "lint", "set_native_code_allowed"]
