#pragma once
/// Memory that runs out on request. Replaces the program's allocation functions, which the shared library then uses
/// too.

namespace rasterkit::test {

/// While it lives, allocations are counted from 0, and the n-th of them fails, or that and all after it.
class FailingAllocations {
 public:
  enum Which { one, allFromThere };
  explicit FailingAllocations(long n, Which which = one);
  FailingAllocations(const FailingAllocations&) = delete;
  FailingAllocations& operator=(const FailingAllocations&) = delete;
  ~FailingAllocations();

  /// Whether an allocation has failed.
  bool failed() const;
};

/// Blocks that are allocated and not yet freed.
long liveBlocks();
/// Allocations since the program began.
long allocations();
/// Bytes that are allocated and not yet freed: now, and the most since forgetMostHeld. 0 where the C library does not
/// tell; under the address sanitizer those of operator new alone.
long heldBytes();
long mostHeldBytes();
void forgetMostHeld();

/// How many allocations the action makes.
template <class Action>
long allocationsOf(const Action& action) {
  const long before = allocations();
  action();
  return allocations() - before;
}

/// How many bytes the action holds at once.
template <class Action>
long bytesFor(const Action& action) {
  forgetMostHeld();
  const long before = heldBytes();
  action();
  return mostHeldBytes() - before;
}

}  // namespace rasterkit::test
