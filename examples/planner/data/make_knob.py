#!/usr/bin/env python3
"""Writes knob.stl, the planner's sample mesh: a ball on a shaft (ASCII STL, millimetres).

Run from this folder: python3 make_knob.py > knob.stl
"""
import math


def ball(cx, cy, cz, r, stacks=10, slices=16):
    tris = []
    for i in range(stacks):
        t0, t1 = math.pi * i / stacks, math.pi * (i + 1) / stacks
        for j in range(slices):
            p0, p1 = 2 * math.pi * j / slices, 2 * math.pi * (j + 1) / slices
            def v(t, p):
                return (cx + r * math.sin(t) * math.cos(p), cy + r * math.sin(t) * math.sin(p), cz + r * math.cos(t))
            a, b, c, d = v(t0, p0), v(t1, p0), v(t1, p1), v(t0, p1)
            if i > 0:
                tris.append((a, b, d))
            if i < stacks - 1:
                tris.append((b, c, d))
    return tris


def shaft(r, z0, z1, slices=16):
    tris = []
    for j in range(slices):
        p0, p1 = 2 * math.pi * j / slices, 2 * math.pi * (j + 1) / slices
        a = (r * math.cos(p0), r * math.sin(p0), z0)
        b = (r * math.cos(p1), r * math.sin(p1), z0)
        c = (r * math.cos(p1), r * math.sin(p1), z1)
        d = (r * math.cos(p0), r * math.sin(p0), z1)
        tris += [(a, b, c), (a, c, d), ((0, 0, z0), b, a)]
    return tris


def normal(t):
    (ax, ay, az), (bx, by, bz), (cx, cy, cz) = t
    ux, uy, uz, vx, vy, vz = bx - ax, by - ay, bz - az, cx - ax, cy - ay, cz - az
    n = (uy * vz - uz * vy, uz * vx - ux * vz, ux * vy - uy * vx)
    length = math.sqrt(sum(x * x for x in n)) or 1.0
    return tuple(x / length for x in n)


print("solid knob")
for t in ball(0, 0, 30, 12) + shaft(5, 0, 20):
    n = normal(t)
    print("  facet normal %.6e %.6e %.6e" % n)
    print("    outer loop")
    for p in t:
        print("      vertex %.6e %.6e %.6e" % p)
    print("    endloop")
    print("  endfacet")
print("endsolid knob")
