#pragma once
/// Colour models, pixels and palette entries: plain data, passed by value.

/// What the samples of a pixel mean. Values outside this list are unknown models.
enum COLOR_MODEL : int {
  CM_BITMAP = 0,  ///< one byte a pixel: 0, or anything else for a set pixel
  CM_GRAY = 1,
  CM_LOGL = 2,
  CM_INDEX = 3,  ///< one index into the palette
  CM_GRAYA = 4,  ///< grey, alpha
  CM_RGB = 10,   ///< blue, green, red
  CM_RGBA = 11,  ///< blue, green, red, alpha
  CM_CMYK = 12,
  CM_HSI = 13,
  CM_HSV = 14,
  CM_HLS = 15,
  CM_XYZ = 16,
  CM_YUV = 17,
  CM_YIQ = 18,
  CM_YCbCr = 19,
  CM_LUV = 20,
  CM_Lab = 21,
  CM_LOGLUV = 22,
};

// Pixels: the samples in channel order, without padding between them.
struct tagPXG2 {
  unsigned char sample[2];
};
struct tagPXG3 {
  unsigned char sample[3];
};
struct tagPXG4 {
  unsigned char sample[4];
};
struct tagPXGW2 {
  unsigned short sample[2];
};
struct tagPXGW3 {
  unsigned short sample[3];
};
struct tagPXGW4 {
  unsigned short sample[4];
};
struct tagPXGF2 {
  float sample[2];
};
struct tagPXGF3 {
  float sample[3];
};
struct tagPXGF4 {
  float sample[4];
};

/// A palette entry, byte for byte the colour table entry of a Windows bitmap.
struct tagRGBA {
  unsigned char blue;
  unsigned char green;
  unsigned char red;
  unsigned char reserved;
};
