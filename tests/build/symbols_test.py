#!/usr/bin/env python3
# Copyright (c) 2026 The glissa authors
# SPDX-License-Identifier: MIT
"""The libraries call no function of the C library whose result IEEE 754 leaves open: these differ between
libraries and processors. symbols_test.py NM LIBRARY ..."""

import re
import subprocess
import sys

# Square roots, remainders, roundings to whole numbers and what moves exponents are exact.
INEXACT = re.compile(r"_*(c?(a?(sin|cos|tan)h?|exp|log|log10|pow)|atan2|sincos|exp(2|10|m1)|log(2|1p|p1)|pown|powr|rootn"
                     r"|rsqrt|compoundn|cbrt|hypot|cabs|carg|csqrt|erfc?|[lt]?gamma(_r)?|[jy][01n]"
                     r"|a?(sin|cos|tan)pi|atan2pi)(f|l|f\d+x?)?(_finite|_fma4?|_avx2?|_sse2)?")


def inexact(names):
    return [name for name in names if INEXACT.fullmatch(name)]


def main():
    wrong = inexact(["sqrt", "fmod", "modff", "remainder", "scalbn", "ilogb", "malloc", "logb", "_Znwm"])
    missed = len(inexact(["sin", "sincosf", "__pow_finite", "hypotl", "cexp", "atan2", "tanh"])) != 7
    if wrong or missed:
        sys.exit("symbols: the pattern is wrong")
    failed = False
    for library in sys.argv[2:]:
        listed = subprocess.run([sys.argv[1], "-D", "--undefined-only", library], check=True,
                                capture_output=True, text=True).stdout
        names = [line.split()[-1].split("@")[0] for line in listed.splitlines()]
        for name in inexact(names):
            print(f"{library}: calls {name}", file=sys.stderr)
            failed = True
        print(f"{library}: {len(names)} symbols from outside")
        failed = failed or not names
    return 1 if failed or len(sys.argv) < 3 else 0


if __name__ == "__main__":
    sys.exit(main())
