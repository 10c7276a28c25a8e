#!/usr/bin/env python3
"""Expected glue output for glue_test.cpp: each block is a step function
over its bins (edges midway between X values, outer ones half a spacing out);
a cell takes the block's integral over the covered part / its length; runs of
filled cells are crossfaded (old into new at the block's start, new into old
at its end, else 50/50)."""


def edges(x):
    inner = [(x[i - 1] + x[i]) / 2 for i in range(1, len(x))]
    return [(3 * x[0] - x[1]) / 2] + inner + [(3 * x[-1] - x[-2]) / 2]


def cell_value(e, v, lo, hi):
    parts = [(min(e[i + 1], hi) - max(e[i], lo), v[i]) for i in range(len(v))]
    parts = [(w, y) for w, y in parts if w > 0]
    covered = sum(w for w, _ in parts)
    return sum(w * y for w, y in parts) / covered if covered > 0 else 0.0


def glue(start, step, n_out, blocks, convert=lambda t: t):
    out, filled, h = [0.0] * n_out, [False] * n_out, step / 2
    for x, v in blocks:
        e = [convert(t) for t in edges(x)]
        if e[-1] < e[0]:
            e, v = e[::-1], v[::-1]
        mid = [start + o * step for o in range(n_out)]
        cells = [o for o, m in enumerate(mid) if m - h <= e[0] < m + h or
                 e[0] < m - h and m + h <= e[-1]]
        new = {o: cell_value(e, v, mid[o] - h, mid[o] + h) for o in cells}
        i = 0
        while i < len(cells):
            run = 0
            while i + run < len(cells) and filled[cells[i + run]]:
                run += 1
            if run == 0:
                out[cells[i]] = new[cells[i]]
                i += 1
                continue
            at_start, at_end = i == 0, i + run == len(cells)
            for t, p in enumerate(cells[i:i + run]):
                a = run - t if at_start else t + 1
                if at_start != at_end:
                    out[p] = (a * out[p] + (run + 1 - a) * new[p]) / (run + 1)
                else:
                    out[p] = (out[p] + new[p]) / 2
            i += run
        for o in cells:
            filled[o] = True
    return out


A1 = ([0, 1, 2, 3, 4, 5], [1, 2, 3, 4, 5, 6])
A2 = ([3.5, 4.5, 5.5, 6.5, 7.5, 8.5, 9.5], [10, 20, 30, 40, 50, 60, 70])
C = ([480 + 5 * i for i in range(9)], list(range(1, 10)))
print("A", glue(0, 1, 11, [A1, A2]))
print("A + inside", glue(0, 1, 11, [A1, A2, ([2, 3, 4, 5], [100] * 4)]))
print("C", glue(19000, 100, 21, [C], lambda nm: 1e7 / nm))
