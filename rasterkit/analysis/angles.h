#pragma once
// The angles of line voting.

namespace rasterkit {

constexpr int kAngles = 360;  // from -90 degrees, half a degree apart
constexpr double kHalfPi = 1.5707963267948966;
constexpr double kAngleStep = (kHalfPi - -kHalfPi) * 0.002777777777777778;

// Of the angles that begin at -kHalfPi and are raised by kAngleStep each time: the doubles nearest to the exact values.
extern const double kSines[kAngles];
extern const double kCosines[kAngles];

}  // namespace rasterkit
