// Interleaved bytes come apart and together by byte permutes over 128 entries.
#include "rasterkit/colour/space_kernels.cpp"
