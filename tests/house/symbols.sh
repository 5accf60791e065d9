#!/usr/bin/env bash
# What the shared library exports, demangled and sorted. Templates of the standard library are left out: which of them are
# emitted depends on the compiler's mood. Usage: symbols.sh LIBRARY
set -euo pipefail
nm -D --defined-only "$1" | awk '$3 !~ /^_Z(N?K?St|NK?St|T[ISV]N?K?St|TSNSt|GVN?St|N?9__gnu_cxx|NK?9__gnu_cxx|T[ISV]N9__gnu_cxx)/ { print $3 }' |
  c++filt | LC_ALL=C sort -u
