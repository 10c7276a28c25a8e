#!/usr/bin/python3
# Independent model of the dispersion optimisation for hardware_test.cpp from
# the description of the algorithms: grating equation, target proposal,
# objective, the three nested scans, pixel error. Example instrument, no
# regions; lines 546.07 and 435.83 nm.
import math
HALF, DEG = 0.008726646258333333, 0.017453292516666667
G, K, w, N, F0, P0, D0 = 1200.0, 1.0, 26.0, 1024, 300.0, 30.0, 0.0
c = (N + 1) * 0.5

def wl(lc, p, psi, g, f):
    phi, gm = psi * HALF, g * DEG
    s = G * lc * 1e-06 / (2 * math.cos(phi))
    if not abs(s) < 1.0:
        return lc
    th, x = math.asin(s), K * w * p * 0.001
    d = math.atan(x / f) if gm == 0.0 else math.atan(x * math.cos(gm) / (f + x * math.sin(gm)))
    return (math.sin(th - phi) + math.sin(th + phi + d)) * (1000000.0 / G)

def targets(l1, l2):
    T = [l1, l1, l2, l2]
    U = [(1 + N) * 0.5 + (0.45 if k % 2 else -0.45) * float(N) for k in range(4)]
    E = []
    for k in range(4):
        x = T[k]
        for i in range(10):
            d = wl(x, U[k] - c, P0, D0, F0) - T[k]
            x = x - d
            if abs(d) < 1e-05:
                break
        E.append(x)
    return T, U, E, [wl(x, 0.0, P0, D0, F0) for x in E]

def optimise(T, E, U):
    Q, n = [u - c for u in U], [0]
    def obj(f, psi, g):
        n[0] += 1
        es = [abs(T[k] - wl(E[k], Q[k], psi, g, f)) for k in range(4)]
        return (sum(es) + max(es)) * 0.2
    st = dict(f=F0, d=D0, p=P0, bf=F0, bd=D0, bp=P0, bo=obj(F0, P0, D0))
    st['io'] = st['bo']
    def search(key, step, lo, hi, stop, evaluate):
        x0 = st[key]; best, bx = 10000.0, x0
        for sgn, inside in ((1, lambda v: v < hi), (-1, lambda v: v > lo)):
            x = x0
            while inside(x):
                st[key] = x; e = evaluate(x)
                if e < best: best, bx = e, x
                elif e > best * stop: break
                x = x + sgn * step
        return best, bx
    def line():
        best, bf = search('f', 0.2, 0.75 * F0, 1.25 * F0, 1.2, lambda f: obj(f, st['p'], st['d']))
        st['f'] = bf
        if st['bo'] > best:
            st.update(bo=best, bf=bf, bp=st['p'], bd=st['d'])
        return best
    sig = 0.05
    while (sig > 0 and st['p'] <= 1.1 * P0) or (sig < 0 and st['p'] >= 0.9 * P0):
        best, bd = search('d', 0.05, D0 - 10.0, D0 + 10.0, 1.02, lambda d: line())
        st.update(d=bd, f=F0)
        st['p'] = st['p'] + sig
        if st['p'] > 1.1 * P0:
            st.update(f=F0, d=D0, p=P0); sig = -sig
    return st, n[0]

T, U, E, C = targets(546.07, 435.83)
print('U', U); print('C', C)
for moves in ([0, 0, 0, 0], [2, -1.5, 1, -2.5], [20, -15, 10, -25]):
    st, n = optimise(T, E, [U[k] + moves[k] for k in range(4)])
    lm, f, p, g, o = (T[0] + T[2]) * 0.5, st['bf'], st['bp'], st['bd'], st['bo']
    print(moves, 'evaluations', n, 'initial objective', st['io'],
          '\n best f psi gamma obj px', f, p, g, o,
          abs(o / (wl(lm, 0.5, p, g, f) - wl(lm, -0.5, p, g, f))),
          '\n working f psi gamma', st['f'], st['p'], st['d'])
