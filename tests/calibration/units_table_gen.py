#!/usr/bin/env python3
"""Expected values of the unit conversion table, for units_unittest.cpp.

Evaluates every cell with Python floats (binary64, no contraction) in the
order the cells are written and prints the C++ rows with hex-float results.
Run: python3 units_table_gen.py
"""

NM, CM, REL, EV, ANG, UM = 4, 5, 6, 7, 8, 9
INPUTS = (604.07, 1.5024)


def div(num, d, after=lambda q: q):
    # A division checks its bracketed divisor for exact zero first.
    return 0.0 if d == 0.0 else after(num / d)


def cell(t, s, v, W):
    return {
        (NM, CM): lambda: div(1e7, v),
        (NM, REL): lambda: div(1e7, W - v),
        (NM, EV): lambda: div(1239.841904, v),
        (NM, ANG): lambda: v * 0.1,
        (NM, UM): lambda: v * 1000,
        (CM, NM): lambda: div(1e7, v),
        (CM, REL): lambda: v * 8065.544459933013,
        (CM, EV): lambda: v * 8065.544459933013,
        (CM, ANG): lambda: div(1e7, v * 0.1),
        (CM, UM): lambda: div(1e7, v * 10000 * 0.1),
        (REL, NM): lambda: div(1e7, v, lambda q: W - q),
        (REL, CM): lambda: W - v,
        (REL, EV): lambda: W - v * 8065.544459933013,
        (REL, ANG): lambda: div(1e7, v * 0.1, lambda q: W - q),
        (REL, UM): lambda: div(1e7, v * 10000 * 0.1, lambda q: W - q),
        (EV, NM): lambda: div(1239.841904, v),
        (EV, CM): lambda: v * 0.00012398419040000002,
        (EV, REL): lambda: (W - v) * 0.00012398419040000002,
        (EV, ANG): lambda: div(1239.841904, v * 0.1),
        (EV, UM): lambda: div(1239.841904, v * 1000 * 0.1),
        (ANG, NM): lambda: v * 10,
        (ANG, CM): lambda: div(1e8, v),
        (ANG, REL): lambda: div(1e8, W - v),
        (ANG, EV): lambda: div(12398.41904, v),
        (ANG, UM): lambda: v * 10000,
        (UM, NM): lambda: v * 0.001,
        (UM, CM): lambda: div(10000, v),
        (UM, REL): lambda: div(10000, W - v),
        (UM, EV): lambda: div(1.2398419040000002, v),
        (UM, ANG): lambda: v * 10000,
    }[(t, s)]()


def convert(s, t, v, laser):
    W = 1e7 / laser if laser != 0.0 else 0.0
    return v if s == t else cell(t, s, v, W)


def lit(x):
    return "kInf" if x == float("inf") else x.hex()


print("    // {source, target, {at 488 nm}, {without laser line}}")
for s in range(4, 10):
    for t in range(4, 10):
        a = ", ".join(lit(convert(s, t, v, 488.0)) for v in INPUTS)
        z = ", ".join(lit(convert(s, t, v, 0.0)) for v in INPUTS)
        print(f"    {{{s}, {t}, {{{a}}}, {{{z}}}}},")

print("    // Divisor exactly zero for v = +0.0 and -0.0 (result +0.0):")
pairs = [(CM, NM), (EV, NM), (NM, CM), (ANG, CM), (UM, CM), (NM, REL),
         (ANG, REL), (UM, REL), (NM, EV), (ANG, EV), (UM, EV), (CM, ANG),
         (EV, ANG), (CM, UM), (EV, UM)]
for (s, t) in pairs:
    for v in (0.0, -0.0):
        r = convert(s, t, v, 488.0)
        assert r == 0.0 and r.hex() == "0x0.0p+0", (s, t, v, r)
print("    " + " ".join(f"{{{s}, {t}}}," for (s, t) in pairs))

print("    // {source, target, v, laser line, result}")
W = 1e7 / 488.0
rows = []
for (s, t) in [(REL, NM), (REL, ANG), (REL, UM)]:
    rows += [(s, t, W, 488.0), (s, t, 0.0, 0.0)]
# Divisors that underflow to zero only after the transformation.
for (s, t) in [(ANG, CM), (ANG, REL), (ANG, EV), (UM, CM), (UM, EV)]:
    rows.append((s, t, 5e-324, 488.0))
cells = [f"{{{s}, {t}, {lit(v)}, {laser!r}, {lit(convert(s, t, v, laser))}}},"
         for (s, t, v, laser) in rows]
for i in range(0, len(cells), 2):
    print("    " + " ".join(cells[i:i + 2]))
