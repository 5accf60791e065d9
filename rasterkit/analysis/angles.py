#!/usr/bin/env python3
"""Writes angles.cpp: the sines and cosines of the 360 angles of line voting, as constants.

Runtime libraries differ in the last bit of a few of them, and one bit moves votes between cells. Each constant is the
double nearest to the exact value for the angle that the voting reaches: -pi/2, raised by half a degree again and again
in double precision. Run it in this folder: python3 angles.py > angles.cpp
"""

import math
from decimal import Decimal, getcontext

getcontext().prec = 80


def series(x, first, power):
    """The Taylor series of sine (first = x, power = 1) or cosine (first = 1, power = 0)."""
    term = total = first
    while abs(term) > Decimal(10) ** -75:
        term = -term * x * x / ((power + 1) * (power + 2))
        power += 2
        total += term
    return total


def table(name, values):
    print(f"const double {name}[kAngles] = {{")
    for value in values:
        print(f"    {value.hex()},")
    print("};")


half_pi = math.pi / 2
step = (half_pi - -half_pi) * 0.002777777777777778
angles = [-half_pi]
while len(angles) < 360:
    angles.append(angles[-1] + step)
exact = [Decimal(angle) for angle in angles]

print("// Written by angles.py.")
print('#include "rasterkit/analysis/angles.h"\n')
print("namespace rasterkit {\n")
print("// clang-format off")
# Decimal to float is rounded to nearest; the digits are far more than a double can tell apart.
table("kSines", [float(series(x, x, 1)) for x in exact])
print()
table("kCosines", [float(series(x, Decimal(1), 0)) for x in exact])
print("// clang-format on")
print("\n}  // namespace rasterkit")
