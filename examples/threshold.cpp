// Binarises a grey ramp: the samples below 128 become 0, the others 255.

#include <rasterkit/rasterkit.h>

#include <cstdio>

int main() {
  CPxImage ramp(CM_GRAY, 8, 16, 1);
  for (int x = 0; x < ramp.width; ++x)
    static_cast<unsigned char*>(ramp.GetBuffer())[x] = static_cast<unsigned char>(x * 16);

  CPxImage binary;
  if (!CPxThresholdProcessing(&ramp).Threshold(binary, 128)) return 1;

  for (int x = 0; x < binary.width; ++x) std::printf("%d ", static_cast<const unsigned char*>(binary.GetBuffer())[x]);
  std::printf("\nrasterkit %s\n", RASTERKIT_VERSION);
}
