#pragma once
/// Promises that hold for every operation, each as a function that gives "" where a draw keeps it, else what broke it.
/// The sweep tests, the fuzzer and the endless driver check the same ones.

#include <string>

#include "tests/sweep/draw.h"

namespace rasterkit::sweep {

/// The operation gives the bytes, the flag and the report of its slow twin at the level that serves, and leaves the
/// source as it was.
std::string breaksTwin(const catalogue::Operation& operation, const Draw& draw, const CPxImage& before);

/// One image in two roles gives what two equal ones give.
std::string breaksSharing(const catalogue::Operation& operation, const Draw& draw, const CPxImage& before);

/// A tile cut with the declared reach around it gives that part of the whole. "" also where the operation speaks of
/// places.
std::string breaksTiling(const catalogue::Operation& operation, const Draw& draw, test::Random& random);

}  // namespace rasterkit::sweep
