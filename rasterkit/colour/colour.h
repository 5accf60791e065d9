#pragma once
/// Colour: conversions between colour models, transforms into colour spaces and back, adjustments, inversion and
/// replacement of a colour.

#include <rasterkit/core/processing_base.h>

/// Conversions are static: they read `source` and fill `dst`, which the caller has created with the wanted model, bits
/// a sample and the source's size. They never create or resize it (but the two dispatchers, where they say so), and row
/// padding stays as it is. Every conversion tests, in this order, that both images exist and are created, that their
/// sizes are equal, the source's model and class, the destination's. Where a test fails it returns 0 and dst is
/// untouched; else 1, unless its own text says otherwise.
///
/// Colour samples stand in the order blue, green, red, alpha; R, G and B below are the third, second and first sample.
/// A conversion from three samples to four leaves dst's alpha as it is; one from four to three drops alpha. RGB and
/// RGBA mean 8-bit samples, RGB16 and RGBA16 9 to 16 bits a sample, likewise Gray, GrayA, Gray16 and GrayA16; `bits`
/// are the bits a sample of the 16-bit side. Products with weights are formed in double precision in the written order.
/// `truncate` drops the fraction; what an int cannot hold becomes -2147483648. Where no limit is written, the low 8 (or
/// 16) bits are stored.
///
/// The other operations work on the image of the processing object, in place. The area of interest is not looked at.
///
/// Cost: one pass and no memory, unless an operation says otherwise.
class RASTERKIT_API CPxColorProcessing : public CPxImageProcessingBase {
 public:
  CPxColorProcessing() = default;
  explicit CPxColorProcessing(CPxImage* image) : CPxImageProcessingBase(image) {}

  // Samples and their width ---------------------------------------------------------------------------------------

  /// RGB to RGBA: B, G and R are copied.
  static int RGBtoRGBA(const CPxImage* source, CPxImage* dst);
  /// RGBA to RGB: B, G and R are copied.
  static int RGBAtoRGB(const CPxImage* source, CPxImage* dst);
  /// RGB or RGBA to RGB16 or RGBA16.
  ///
  ///     dst = src << (bits - 8), for B, G and R: 255 becomes 65280 in 16 bits
  ///
  /// Alpha is never written, from RGBA to RGBA16 neither.
  static int RGBtoRGB16(const CPxImage* source, CPxImage* dst);
  /// RGB16 or RGBA16 to RGB or RGBA.
  ///
  ///     dst = src >> (bits - 8), for B, G and R
  ///
  /// Alpha is never written.
  static int RGB16toRGB(const CPxImage* source, CPxImage* dst);
  /// GrayA to Gray16 or GrayA16; alpha too where both sides have it.
  ///
  ///     dst = src << (bits - 8)
  ///
  /// source   a plain 8-bit grey image is refused. Any other image of at most 32 bits a sample passes: of one that is
  ///          not GrayA, pixel x of a row is the row's byte x.
  /// cost     a copy of one row where dst is the source.
  static int GraytoGray16(const CPxImage* source, CPxImage* dst);
  /// Gray16 or GrayA16 to Gray or GrayA; alpha too where both sides have it.
  ///
  ///     dst = src >> (bits - 8)
  static int Gray16toGray(const CPxImage* source, CPxImage* dst);

  // Reduced-bit colour --------------------------------------------------------------------------------------------

  /// RGB or RGBA to a reduced-bit layout: an RGB or RGBA image, one byte a sample, whose channelBits say how many bits
  /// of it are used (B, G, R, A).
  ///
  ///     dst = src >> (source bits - width)
  ///
  /// layout   dst's green width chooses it: 4 (4-4-4), 5 (5-5-5) and 6 (5-6-5) bits; another one only where dst has at
  ///          most 5 bits a sample. Three samples: each has its own width. Four: B, G and R have dst's bits a sample as
  ///          width, alpha its own, and is written only where the source has alpha too. With 6 bits of green alpha is
  ///          never touched, and each sample has its own width.
  /// returns  0 also for another green width, and where a width that is used is below 1 or above 8; dst is untouched.
  /// dst      may be the source. A width above the source's bits shifts by 0.
  static int RGBtoRGB2B(const CPxImage* source, CPxImage* dst);
  /// A reduced-bit layout, described by the source, to RGB or RGBA.
  ///
  ///     dst = truncate(src * (1 / (2^width - 1)) * 255)
  ///
  /// Nothing is rounded: 15 of 5 bits becomes 123, 31 becomes 255. Layouts, widths and result as RGBtoRGB2B; dst may be
  /// the source.
  static int RGB2BtoRGB(const CPxImage* source, CPxImage* dst);

  // Bitmaps and thresholds ----------------------------------------------------------------------------------------

  /// RGB or RGBA to a bitmap, one byte of 0 or 1 a pixel.
  ///
  ///     dst = min(255, truncate(0.212671 R + 0.71516 G + 0.072169 B + 0.5)) >= threshold
  ///
  /// The weights are single-precision numbers.
  static int RGBtoBitmap(const CPxImage* source, CPxImage* dst, int threshold);
  /// Gray or GrayA to a bitmap: dst = grey >= threshold.
  static int GraytoBitmap(const CPxImage* source, CPxImage* dst, int threshold);
  /// Gray16 or GrayA16 to a bitmap: dst = grey >= threshold, in 16-bit units.
  static int Gray16toBitmap(const CPxImage* source, CPxImage* dst, int threshold);
  /// A bitmap to RGB or RGBA: B, G and R are 255 where the pixel is not 0, else 0.
  static int BitmaptoRGB(const CPxImage* source, CPxImage* dst);
  /// A bitmap to Gray or GrayA: 255 where the pixel is not 0, else 0.
  static int BitmaptoGray(const CPxImage* source, CPxImage* dst);
  /// A bitmap to Gray16 or GrayA16: 2^bits - 1 where the pixel is not 0, else 0.
  static int BitmaptoGray16(const CPxImage* source, CPxImage* dst);

  // Palettes ------------------------------------------------------------------------------------------------------

  /// Returns 0 and writes nothing: colours are not matched with a palette.
  static int RGBtoIndex(const CPxImage* source, CPxImage* dst);
  /// An index image to RGB or RGBA: B, G and R of the palette entry, black for an index beyond the palette.
  static int IndextoRGB(const CPxImage* source, CPxImage* dst);

  // Grey with weights ---------------------------------------------------------------------------------------------

  /// RGB or RGBA to Gray or GrayA. Alpha is copied where both sides have it.
  ///
  ///     dst = min(255, truncate(R * red + G * green + B * blue + 0.5))
  static int RGBtoGray(const CPxImage* source, CPxImage* dst, float red, float green, float blue);
  /// RGB or RGBA to Gray16 or GrayA16. Alpha is shifted left by bits - 8 where both sides have it.
  ///
  ///     dst = min(2^bits - 1, truncate((R * red + G * green + B * blue) * 2^(bits - 8) + 0.5))
  static int RGBtoGray16(const CPxImage* source, CPxImage* dst, float red, float green, float blue);
  /// Gray or GrayA to RGB or RGBA. Alpha is copied where both sides have it.
  ///
  ///     n = grey * (1 / (2^source bits - 1)) * 255;  R = truncate(red * n + 0.5), G and B likewise
  static int GraytoRGB(const CPxImage* source, CPxImage* dst, float red, float green, float blue);
  /// Gray16 or GrayA16 to RGB or RGBA. Alpha is shifted right like the grey where both sides have it.
  ///
  ///     n = grey >> (bits - 8);  R = truncate(n * red + 0.5), G and B likewise
  static int Gray16toRGB(const CPxImage* source, CPxImage* dst, float red, float green, float blue);

  // Print colours -------------------------------------------------------------------------------------------------

  /// RGB or RGBA to CMYK, 8-bit samples in this order.
  ///
  ///     C = 255 - R - K, M = 255 - G - K, Y = 255 - B - K;  K = 255 - max(R, G, B)
  static int RGBtoCMYK(const CPxImage* source, CPxImage* dst);
  /// CMYK to RGB or RGBA: R = 255 - K - C, G = 255 - K - M, B = 255 - K - Y, wrapping in 8 bits.
  static int CMYKtoRGB(const CPxImage* source, CPxImage* dst);

  // From any model ------------------------------------------------------------------------------------------------

  /// Fills dst, an RGB image, from an image of any model by the conversion that fits: reduced-bit colour below 8 bits a
  /// sample, the 16-bit conversions up to 16, grey with the weights 1, 1, 1.
  ///
  /// returns  the conversion's result; 0 for models 5 to 9 and above 22, more bits than a conversion takes, spaces that
  ///          convert nothing, and 16-bit RGBA. An RGB source of exactly 8 bits is assigned to dst, whatever dst's
  ///          size, with the result 0, so that a caller can tell that nothing was converted.
  static int ConverttoRGB(const CPxImage* source, CPxImage* dst);
  /// Fills dst, an RGBA image, as ConverttoRGB does. Here an RGBA source of exactly 8 bits is assigned with the result
  /// 0; 16-bit RGBA is converted.
  static int ConverttoRGBA(const CPxImage* source, CPxImage* dst);

  // Colour spaces -------------------------------------------------------------------------------------------------
  //
  // Images of a space hold three floats a pixel, in the order of its name. To a space: from RGB or RGBA, alpha ignored.
  // From a space: to RGB or RGBA, alpha untouched.

  /// Hue, saturation and intensity, in single precision and in this order:
  ///
  ///     mx = max(R, G), mn = min(R, G): blue takes no part;  d = mx - mn
  ///     I = (mx + mn) * 0.0019607844
  ///     S = d / (mx + mn) where I <= 0.5, else d / (510 - (mx + mn))
  ///     rc, gc, bc = (mx - R) / d, (mx - G) / d, (mx - B) / d
  ///     H = (bc + 6 - gc) * 60 where R = mx; (rc + 2 - bc) * 60 where G = mx; (gc + 4 - rc) * 60 where B = mx; the
  ///     last that holds
  ///
  /// H above 360 is reduced by 360. Where mx = mn, H and S are 0.
  static void RGBtoHSI(unsigned char R, unsigned char G, unsigned char B, float& H, float& S, float& I);
  static int RGBtoHSI(const CPxImage* source, CPxImage* dst);

  /// The way back, in single precision:
  ///
  ///     I, then S: above 1 becomes 0.99, below 0 becomes 0
  ///     S = 0: R = G = B = truncate(I * 255)
  ///     m2 = I <= 0.5 ? I * (1 + S) : I + S - I * S;  m1 = 2 * I - m2
  ///     R = value(H + 120), G = value(H), B = value(H - 120), the low 8 bits of each
  ///
  /// value brings its hue once nearer to 0 to 360, and is m1 + (m2 - m1) * hue / 60 below 60, m2 below 180, m1 + (m2 -
  /// m1) * (240 - hue) / 60 below 240, else m1; times 255, truncated.
  static void HSItoRGB(float H, float S, float I, unsigned char& R, unsigned char& G, unsigned char& B);
  static int HSItoRGB(const CPxImage* source, CPxImage* dst);

  /// Hue by angle, saturation and value, in double precision, each rounded once to float. With r, g, b = R, G, B / 255:
  ///
  ///     V = (max(r, g) + min(r, g)) * 0.5: blue takes no part
  ///     S = 1 - min(r, g) * 3 / (r + g + b)
  ///     H = arccos((r - g/2 - b/2) / sqrt((r - g)^2 + (r - b) * (g - b))), in radians from 0 to pi
  ///
  /// The cosine is rounded to single precision first; the angle is not reflected where b exceeds g. Where r = g = b, H
  /// and S are 0. The arc cosine is the library's own, the same on every platform.
  static void RGBtoHSV(unsigned char R, unsigned char G, unsigned char B, float& H, float& S, float& V);
  static int RGBtoHSV(const CPxImage* source, CPxImage* dst);
  /// Returns 0 and writes nothing.
  static int HSVtoRGB(const CPxImage* source, CPxImage* dst);

  /// Hue, lightness and saturation, in single precision. mx and mn are the extremes of all three samples:
  ///
  ///     L = (mx + mn) * 0.0019607844
  ///     S = (mx - mn) / (mx + mn) where L <= 0.5, else (mx - mn) / (510 - mx - mn)
  ///     H = (G - B) * 60 / (mx - mn) + 360 where red is the greatest, (B - R) * 60 / (mx - mn) + 120 where green is,
  ///     (R - G) * 60 / (mx - mn) + 240 where blue is; red before green before blue among equals
  ///
  /// H above 360 is reduced by 360. Where mx = mn: H and S are 0, L = mx * 0.003921569.
  static int RGBtoHLS(const CPxImage* source, CPxImage* dst);
  /// As HSItoRGB with L for I, but neither L nor S is limited.
  static int HLStoRGB(const CPxImage* source, CPxImage* dst);

  /// Luma and two colour differences, in double precision, rounded once. With r, g, b = R, G, B / 255:
  ///
  ///     Y = 0.299 r + 0.587 g + 0.114 b
  ///     Cb = 0.5 b - (0.16874 r + 0.33126 g)
  ///     Cr = 0.5 r - 0.41869 g - 0.08131 b
  static int RGBtoYCbCr(const CPxImage* source, CPxImage* dst);
  /// The samples are the low 8 bits of the negated truncated values, which are not brought back to 0 to 255: a value
  /// from 0 up to 1 gives 0, one from 1 up to 2 gives 255.
  ///
  ///     R = Y + 1.402 Cr, G = Y - 0.34414 Cb - 0.71414 Cr, B = Y + 1.772 Cb
  static int YCbCrtoRGB(const CPxImage* source, CPxImage* dst);

  // Spaces that have their names here but convert nothing: 0, dst untouched.
  static int RGBtoXYZ(const CPxImage* source, CPxImage* dst);
  static int XYZtoRGB(const CPxImage* source, CPxImage* dst);
  static int RGBtoYUV(const CPxImage* source, CPxImage* dst);
  static int YUVtoRGB(const CPxImage* source, CPxImage* dst);
  static int RGBtoYIQ(const CPxImage* source, CPxImage* dst);
  static int YIQtoRGB(const CPxImage* source, CPxImage* dst);
  static int RGBtoLUV(const CPxImage* source, CPxImage* dst);
  static int LUVtoRGB(const CPxImage* source, CPxImage* dst);
  static int RGBtoLab(const CPxImage* source, CPxImage* dst);
  static int LabtoRGB(const CPxImage* source, CPxImage* dst);
  static int RGBtoLOGL(const CPxImage* source, CPxImage* dst);
  static int LOGLtoRGB(const CPxImage* source, CPxImage* dst);
  static int RGBtoLOGLUV(const CPxImage* source, CPxImage* dst);
  static int LOGLUVtoRGB(const CPxImage* source, CPxImage* dst);

  // In place ------------------------------------------------------------------------------------------------------

  /// Takes every pixel of an RGB or RGBA image through RGBtoHSI, adds the three numbers, and takes it back through
  /// HSItoRGB. Alpha stays.
  ///
  /// hue      in degrees.
  /// returns  0, also after the work is done.
  int HSIAdjust(float hue, float saturation, float intensity);

  // Adjustments that do nothing and return 1.
  int HLSAdjust(float hue, float lightness, float saturation);
  int HSVAdjust(float hue, float saturation, float value);
  int XYZAdjust(float x, float y, float z);
  int YUVAdjust(float y, float u, float v);
  int YIQAdjust(float y, float i, float q);
  int YCbCrAdjust(float y, float cb, float cr);
  int LUVAdjust(float l, float u, float v);
  int LabAdjust(float l, float a, float b);
  int LOGLUVAdjust(float l, float u, float v);
  int LOGLAdjust(float l);

  /// Inverts samples: s becomes M - s, where M is 2^bits - 1, and 1 in float images.
  ///
  /// selection  0: every sample; k from 1 to the channel count: sample k - 1 of each pixel. Bitmap, grey, LOGL and
  ///            index images do not look at it.
  /// image      bitmap, grey, grey with alpha, RGB, RGBA and CMYK of at most 16 bits a sample; LOGL and the colour
  ///            spaces of floats. Of an index image the palette's blue, green and red become 255 - value.
  /// returns    1; 0 for another image or selection, unchanged; 0 also after inverting a palette, and after inverting
  ///            only the alpha of grey with alpha.
  int Invert(int selection);

  /// Overwrites every pixel that equals one colour exactly by another colour.
  ///
  /// find, write  samples in memory order, as many as a pixel has. In 16-bit images they keep their value, in colour
  ///              spaces they are converted to float (0 equals -0; NaN equals nothing). In a palette the colours are
  ///              red, green, blue: the first byte is compared with red.
  /// image        bitmap, grey, grey with alpha, RGB, RGBA and CMYK of at most 16 bits a sample; the colour spaces of
  ///              floats; index images, whose palette is changed.
  /// returns      1; 0 for another image (unchanged) and for an index image.
  int ReplaceColor(tagPXG4 find, tagPXG4 write);
};
