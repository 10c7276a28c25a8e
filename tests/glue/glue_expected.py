#!/usr/bin/env python3
"""Expected glue output for glue_test.cpp: each block is a step function
over its bins (edges midway between X values, outer ones half a spacing out);
a cell takes the block's integral over the covered part / its length; runs of
filled cells are crossfaded (old into new at the block's start, new into old
at its end, else 50/50)."""


def edges(x):
    n = len(x)
    inner = [(x[i - 1] + x[i]) / 2 for i in range(1, n)]
    return [(3 * x[0] - x[1]) / 2] + inner + [(3 * x[-1] - x[-2]) / 2]


def cell_value(e, v, lo, hi):
    area = covered = 0.0
    for i in range(len(v)):
        a, b = max(e[i], lo), min(e[i + 1], hi)
        if b > a:
            area += (b - a) * v[i]
            covered += b - a
    return area / covered if covered > 0 else 0.0


def glue(start, step, n_out, blocks, convert=lambda t: t):
    out, filled = [0.0] * n_out, [False] * n_out
    for x, v in blocks:
        e = [convert(t) for t in edges(x)]
        if e[-1] < e[0]:
            e, v = e[::-1], v[::-1]
        h = step / 2
        cells = [o for o in range(n_out)
                 if start + o * step - h <= e[0] < start + o * step + h
                 or e[0] < start + o * step - h and start + o * step + h <= e[-1]]
        new = {o: cell_value(e, v, start + o * step - h, start + o * step + h)
               for o in cells}
        i = 0
        while i < len(cells):
            o = cells[i]
            if not filled[o]:
                out[o] = new[o]
                i += 1
                continue
            run = 0
            while i + run < len(cells) and filled[cells[i + run]]:
                run += 1
            at_start, at_end = i == 0, i + run == len(cells)
            for t in range(run):
                p = cells[i + t]
                if at_start and not at_end:
                    out[p] = ((run - t) * out[p] + (t + 1) * new[p]) / (run + 1)
                elif at_end and not at_start:
                    out[p] = ((t + 1) * out[p] + (run - t) * new[p]) / (run + 1)
                else:
                    out[p] = (out[p] + new[p]) / 2
            i += run
        for o in cells:
            filled[o] = True
    return out


A1 = ([0, 1, 2, 3, 4, 5], [1, 2, 3, 4, 5, 6])
A2 = ([3.5, 4.5, 5.5, 6.5, 7.5, 8.5, 9.5], [10, 20, 30, 40, 50, 60, 70])
INSIDE = ([2, 3, 4, 5], [100] * 4)
C = ([480 + 5 * i for i in range(9)], list(range(1, 10)))

print("A", glue(0, 1, 11, [A1, A2]))
print("A + inside", glue(0, 1, 11, [A1, A2, INSIDE]))
print("C", glue(19000, 100, 21, [C], lambda nm: 1e7 / nm))
