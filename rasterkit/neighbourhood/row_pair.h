#pragma once

namespace rasterkit {

// Where two rows are made from those around them, and where the next two will be: lines of those are asked for along
// the way, since a whole row asked for at once would hold up everything else. What is written is none of the rows that
// are read.
template <class S>
struct RowPair {
  const S* const* in;  // top to bottom, as many as are looked at
  S* out[2];
  const S* nextIn[2];
  const S* nextOut[2];
};

}  // namespace rasterkit
