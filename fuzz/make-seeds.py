#!/usr/bin/env python3
"""Writes the small seed corpora of the fuzz targets into fuzz/corpus/.

The seeds are committed; run this again only to change them."""
import os
import struct

here = os.path.dirname(os.path.abspath(__file__))


def write(target, name, data):
    folder = os.path.join(here, "corpus", target)
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, name), "wb") as f:
        f.write(data)


# ---- fuzz_expression: 17 bytes of host values (double, float, int, bool), then the text.
def host_values(x, y, n, b):
    return struct.pack("<dfi?", x, y, n, b)


texts = [
    "2*sin(t)+max(a,b)", "x-y-n", "8/4/2", "2^-1", "if(x>0.5,sin(x),y^2)", "rnd(2,x)",
    "min(x,)", "max(x,y,n)", "(x", "2*(3", "foo(x)", "sin{x}", "a,b", "1.2.3", "2x", "(x)(y)",
    "b|n&x=y", "mx+obj.field*arr[2]-arr[9]+seven", "pos.x+k", "not(b)+abs(-x)+sqrt(y)",
    "log10(x)+exp(y)-ceil(x)+floor(y)+j0(n)+j1(x)", "acos(x)+asin(x)+atan(x)+cosh(x)+sinh(y)+tanh(n)",
    "pi*e*epsilon", "((((((((((x))))))))))", "-" * 40 + "x", "x+" * 30 + "x", "",
    "1e-5", "if((a,b,c))", "if(a,,c)", " X * Y ",
]
for i, text in enumerate(texts):
    write("fuzz_expression", "seed%02d" % i, host_values(0.75, -1.5, 3, True) + text.encode())
write("fuzz_expression", "values_only", host_values(float("nan"), float("inf"), -(2**31), False))


# ---- fuzz_curve_load: one format byte (0 text, 1..3 binary 3000/3020/3027), then the file.
def record(value, time, tension=0.0, continuity=0.0, bias=0.0, ease_to=0.0, ease_from=0.0,
           left=0.0, right=0.0, kind=1, flag=1):
    return (value, time, tension, continuity, bias, ease_to, ease_from, left, right, kind, flag)


curves = [
    ([record(0, 0, kind=1), record(10, 1, kind=0), record(5, 2, 0.5, 0.2, -0.3, 0.4, 0.4, kind=2)], 1, 3),
    ([record(1, 3, kind=3), record(2, -1, left=2, right=-1), record(4, 2, kind=2)], 0, 2),
    ([record(7, 0)], 4, 4),
    ([record(0, 0, kind=2, flag=0), record(3, 0, kind=2), record(1, 1, kind=9)], 7, -3),
    ([], 2, 2),
]


def text_file(points, pre, post):
    lines = [str(len(points)), str(pre), str(post)]
    for p in points:
        lines += [repr(float(x)) for x in p[:9]] + [str(p[9]), str(p[10])]
    return ("\n".join(lines) + "\n").encode()


def binary_file(points, pre, post, version):
    out = struct.pack("<I", len(points))
    for p in points:
        out += struct.pack("<9di", *[float(x) for x in p[:9]], p[9])
        if version >= 3027:
            out += struct.pack("<i", p[10])
    out += struct.pack("<ii", pre, post)
    if version >= 3019:
        out += b"\x01"
    return out


for i, (points, pre, post) in enumerate(curves):
    write("fuzz_curve_load", "text%d" % i, b"\x00" + text_file(points, pre, post))
    for code, version in ((1, 3000), (2, 3020), (3, 3027)):
        write("fuzz_curve_load", "bin%d_%d" % (version, i), bytes([code]) + binary_file(points, pre, post, version))
write("fuzz_curve_load", "text_nan", b"\x00" + b"2\n1\n2\nnan\n1\n0\n0\n0\n0\n0\n0\n0\n1\n1\n2\ninf\n")
write("fuzz_curve_load", "bin_huge_count", b"\x03" + struct.pack("<I", 0xFFFFFFFF) + struct.pack("<d", 1.0))


# ---- fuzz_curve_edit: a byte program; see fuzz_curve_edit.cpp for the decoding.
def t16(value):
    return struct.pack("<hB", int(value), 0)  # grid value, then an ordinary selector


def op(curve, code, *payload):
    return bytes([curve, code]) + b"".join(payload)


def add_plain(curve, time, value):  # addPoint(time, value)
    return op(curve, 0, bytes([2]), t16(time * 64), t16(value * 16))


programs = {
    "build_and_evaluate": add_plain(0, 0, 0) + add_plain(0, 1, 10) + add_plain(0, 2, 5)
    + op(0, 10, bytes([1, 3, 0])) + op(0, 12) + op(0, 13, bytes([100]), t16(32), bytes([16, 0])),
    "share_and_retime": add_plain(0, 0, 1) + add_plain(0, 1, 2) + add_plain(0, 3, 4)
    + op(1, 5, bytes([0])) + op(1, 3, bytes([1, 1]), t16(5 * 64)) + op(0, 10, bytes([2, 2, 0]))
    + op(0, 2, bytes([0, 0])) + op(1, 7, bytes([0])),
    "copies_and_combine": add_plain(1, -1, 3) + add_plain(1, 2, 1) + op(0, 4, bytes([1, 1]), t16(64))
    + op(0, 6, bytes([0]), t16(128)) + op(0, 4, bytes([0, 2, 3, 2, 3, 0])) + op(1, 9, bytes([1]))
    + op(0, 9, bytes([0])) + op(1, 10, bytes([4, 4, 0])),
    "expression": add_plain(0, 0, 0) + add_plain(0, 1, 1) + op(0, 11, bytes([2]), t16(16), bytes([40]), t16(3 * 64))
    + op(0, 11, bytes([244])) + op(0, 11, bytes([4]), t16(16), bytes([40]), t16(64))
    + op(0, 11, bytes([245])) + op(0, 11, bytes([1]), t16(16), bytes([0, 0]))
    + op(0, 11, bytes([240])),
    "nan_and_poke": add_plain(0, 0, 0) + op(0, 0, bytes([2]), struct.pack("<hB", 0, 248), t16(16))
    + add_plain(0, 2, 2) + op(0, 8, bytes([0, 0]), t16(7)) + op(0, 10, bytes([3, 3, 0]))
    + op(0, 7, bytes([1])),
}
for name, program in programs.items():
    write("fuzz_curve_edit", name, program)


# ---- fuzz_c_api: the format byte, an expression text, a zero byte, a curve file.
for i, (points, pre, post) in enumerate(curves):
    text = texts[i % len(texts)].encode()
    write("fuzz_c_api", "text%d" % i, b"\x00" + text + b"\x00" + text_file(points, pre, post))
    write("fuzz_c_api", "bin3027_%d" % i, b"\x03" + text + b"\x00" + binary_file(points, pre, post, 3027))
write("fuzz_c_api", "text_only", b"\x00" + b"if(x>0.5,sin(x),y^2)*n+b")
write("fuzz_c_api", "host_call", b"\x00" + b"sum(x,sum(n,y))*if(b,sum(x,1),2)+Sum(1)")
