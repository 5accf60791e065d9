#pragma once
/// Straight lines: the normal-form Hough transform (Hough 1962; Duda, Hart 1972).

#include <rasterkit/core/processing_base.h>
#include <rasterkit/platform/framework.h>

/// Counters over distances (rho) and angles (theta): one row an angle, one cell a distance.
///
/// positions   outside, or in an empty accumulator: reading gives the value a search starts from (0, the minimum
///             2147483647, null), writing does nothing.
/// counters    32 bits, unsigned, on every system; they wrap.
/// memory      an accumulator that no memory can be had for throws std::bad_alloc and is empty afterwards.
/// threads     distinct accumulators may be used from distinct threads at once; one may be read by several while none
///             changes it.
class RASTERKIT_API CPxHoughImage {
 public:
  CPxHoughImage() { Initialize(); }
  CPxHoughImage(int rhoCount, int thetaCount) : CPxHoughImage() { Create(rhoCount, thetaCount); }
  CPxHoughImage(const CPxHoughImage& other) : CPxHoughImage() { *this = other; }
  virtual ~CPxHoughImage();

  /// Empties this accumulator, then copies the other's counters: assigned to itself, it is empty afterwards.
  CPxHoughImage& operator=(const CPxHoughImage& other);

  /// All counters 0; empty where a count is below 1.
  void Create(int rhoCount, int thetaCount);
  void Remove();
  /// Sets every member to zero and frees nothing: for raw storage.
  void Initialize();
  /// 1 when there are counters, else 0.
  int IsCreated() const { return rows_ != nullptr; }
  int GetRhoCount() const { return rhoCount_; }
  int GetThetaCount() const { return thetaCount_; }

  DWORD GetAt(int rho, int theta) const;
  void SetAt(int rho, int theta, DWORD counter);
  /// The row table: for each angle its row.
  DWORD** GetBuffer() { return rows_; }
  const DWORD* const* GetBuffer() const { return rows_; }
  /// The row of one angle: as many counters as there are distances.
  DWORD* GetThetaBuffer(int theta) { return holdsTheta(theta) ? row(theta) : nullptr; }
  const DWORD* GetThetaBuffer(int theta) const { return holdsTheta(theta) ? row(theta) : nullptr; }

  // The greatest counter; the least one, at most 2147483647; the mean. Over all, over one distance, over one angle.
  DWORD GetMax() const;
  DWORD GetMin() const;
  double GetMean() const;
  DWORD GetRhoMax(int rho) const;
  DWORD GetRhoMin(int rho) const;
  double GetRhoMean(int rho) const;
  DWORD GetThetaMax(int theta) const;
  DWORD GetThetaMin(int theta) const;
  double GetThetaMean(int theta) const;

 private:
  friend class CPxHoughTransform;

  bool holdsRho(int rho) const { return rho >= 0 && rho < rhoCount_; }
  bool holdsTheta(int theta) const { return theta >= 0 && theta < thetaCount_; }
  /// The row of an angle, whatever callers wrote into the row table. One more cell than there are distances stands
  /// behind it: it takes the votes that fall outside.
  DWORD* row(int theta) const;

  DWORD** rows_;
  DWORD* cells_;
  int rhoCount_;
  int thetaCount_;
};

/// The lines found at one angle. The end points lie on the image's border, row 0 at the top.
class CPxHoughLine {
 public:
  int theta = 0;                ///< angle index: -90 degrees + theta / 2
  CArray<DWORD> rhos;           ///< distance indices
  CArray<CPoint> firstPoints;   ///< one for each distance
  CArray<CPoint> secondPoints;  ///< one for each distance
};

/// Finds straight lines: every pixel votes, with its value as weight, for all lines through it.
///
///     rho = (x + 1) * cos(theta) + y * sin(theta), y upward from the bottom row
///     theta: 360 angles, half a degree apart, from -90 degrees; an angle is that of the line's normal
///     rho:   cells of about one pixel, from -sqrt(W * W + H * H) to +sqrt(W * W + H * H), W x H the image
///
/// The column is counted from 1 in votes, from 0 where lines are drawn and clipped. The sines and cosines are
/// constants, the same on every system. Copies have counters and lines of their own. Threads: as the base class.
class RASTERKIT_API CPxHoughTransform : public CPxImageProcessingBase {
 public:
  CPxHoughTransform() = default;
  explicit CPxHoughTransform(CPxImage* image) : CPxImageProcessingBase(image) {}
  CPxHoughTransform(const CPxHoughTransform& other);
  CPxHoughTransform& operator=(const CPxHoughTransform& other);
  ~CPxHoughTransform();

  /// Votes.
  ///
  ///     counter[theta][trunc(p)] += image[x, y], where 0 <= p < cells, p = rho * cells / (2 * largest rho) + cells / 2
  ///
  /// where cells / 2 is a whole-number division.
  ///
  /// pixels   one byte each, whatever the channels and bits: columns 0 to width - 1 of the row's bytes. Best are
  ///          two-level images (0, 255) or edge strengths.
  /// returns  1; an image whose accumulator would have no cells leaves it empty.
  /// cost     grows with the pixels that are not 0: 360 votes each. 360 * cells counters.
  int Direct();

  /// Draws the lines of an accumulator's cells.
  ///
  ///     grey = trunc(counter / greatest * 255), for counters from 128 up
  ///
  /// Cells are drawn angle by angle, later ones over earlier ones, each line across the image's width or height and
  /// kept within it. Before Direct, and at angles beyond 360, nothing is drawn.
  ///
  /// out      one channel of at most 8 bits; what lies outside it is not drawn.
  /// returns  1; 0 for another out (nothing drawn).
  int Inverse(CPxImage& out, const CPxHoughImage& peaks);

  /// The accumulator as an 8-bit grey image, a column a distance and a row an angle.
  ///
  ///     out[rho, theta] = trunc(counter / greatest * 255); 0 where all counters are 0
  ///
  /// returns  1, before Direct too: an image of 0 x 0.
  int GetDisplayImage(CPxImage& out);

  /// Finds the dominant angles, then the dominant distances at each of them, and draws these lines.
  ///
  ///     angles     at most two: the peaks of a circular histogram over the angles, of the counters above 0.6 of the
  ///                greatest
  ///     distances  the peaks of a histogram over the distances, of the angle's counters above 0.3 of the greatest one
  ///                in the distance cell whose index is the angle's
  ///
  /// out      an 8-bit grey image of the image's size, black but for the lines: Inverse.
  /// returns  1, before Direct too: no lines.
  int DetectLine(CPxImage& out);

  /// The lines found last: CPxHoughLine records, owned by this object, the angle of the highest peak first.
  CPtrArray& GetLineArray() { return lines_; }
  /// The accumulator.
  CPxHoughImage& GetHoughImage() { return accumulator_; }

 protected:
  /// Clips each line of the records to the image and appends its end points.
  void SetLineInfo();
  /// Deletes the line records.
  void RemoveThetaRhoArray();
  /// Makes the tables of sines and cosines available.
  void ComputeSINCOS();

 private:
  const CPxImage* voters() const;

  CPxHoughImage accumulator_;
  double rhoMaximum_ = 0;
  double rhoStep_ = 0;
  const double* sines_ = nullptr;  // constants, shared by all objects
  const double* cosines_ = nullptr;
  CPtrArray lines_;
};
