// PNG, TIFF and JPEG through the imaging codecs of the system.

#include <windows.h>

#include <wincodec.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <new>
#include <optional>

#include "catalogue/describe.h"
#include "tools/codecs.h"

namespace rasterkit::tools {
namespace {

// Each thread that uses the codecs says so once.
struct Apartment {
  Apartment() { CoInitializeEx(nullptr, COINIT_MULTITHREADED); }
  Apartment(const Apartment&) = delete;
  ~Apartment() { CoUninitialize(); }
};

// What the system hands out, given back at the end.
template <class T>
class Owned {
 public:
  Owned() = default;
  Owned(const Owned&) = delete;
  ~Owned() {
    if (pointer_) pointer_->Release();
  }
  T** out() { return &pointer_; }
  T* get() const { return pointer_; }
  T* operator->() const { return pointer_; }

 private:
  T* pointer_ = nullptr;
};

// How the codecs hold a type of pixel.
struct Layout {
  const GUID* name;
  COLOR_MODEL model;
  int bits;     // a sample
  int samples;  // a pixel; more than the model has where one is left unused
  bool redFirst;
  bool written = true;
};

const Layout kLayouts[] = {
    {&GUID_WICPixelFormat1bppIndexed, CM_INDEX, 1, 1, false},
    {&GUID_WICPixelFormat2bppIndexed, CM_INDEX, 2, 1, false},
    {&GUID_WICPixelFormat4bppIndexed, CM_INDEX, 4, 1, false},
    {&GUID_WICPixelFormat8bppIndexed, CM_INDEX, 8, 1, false},
    {&GUID_WICPixelFormatBlackWhite, CM_GRAY, 1, 1, false},
    {&GUID_WICPixelFormat2bppGray, CM_GRAY, 2, 1, false},
    {&GUID_WICPixelFormat4bppGray, CM_GRAY, 4, 1, false},
    {&GUID_WICPixelFormat8bppGray, CM_GRAY, 8, 1, false},
    {&GUID_WICPixelFormat16bppGray, CM_GRAY, 16, 1, false},
    {&GUID_WICPixelFormat32bppGrayFloat, CM_GRAY, 32, 1, false},
    {&GUID_WICPixelFormat24bppBGR, CM_RGB, 8, 3, false},
    {&GUID_WICPixelFormat24bppRGB, CM_RGB, 8, 3, true},
    {&GUID_WICPixelFormat32bppBGR, CM_RGB, 8, 4, false, false},
    {&GUID_WICPixelFormat48bppRGB, CM_RGB, 16, 3, true},
    {&GUID_WICPixelFormat48bppBGR, CM_RGB, 16, 3, false},
    {&GUID_WICPixelFormat64bppRGB, CM_RGB, 16, 4, true, false},
    {&GUID_WICPixelFormat96bppRGBFloat, CM_RGB, 32, 3, true},
    {&GUID_WICPixelFormat128bppRGBFloat, CM_RGB, 32, 4, true},
    {&GUID_WICPixelFormat32bppBGRA, CM_RGBA, 8, 4, false},
    {&GUID_WICPixelFormat32bppRGBA, CM_RGBA, 8, 4, true},
    {&GUID_WICPixelFormat64bppRGBA, CM_RGBA, 16, 4, true},
    {&GUID_WICPixelFormat64bppBGRA, CM_RGBA, 16, 4, false},
    {&GUID_WICPixelFormat128bppRGBAFloat, CM_RGBA, 32, 4, true},
    // Samples are taken as they are stored, as everywhere.
    {&GUID_WICPixelFormat32bppPBGRA, CM_RGBA, 8, 4, false, false},
    {&GUID_WICPixelFormat64bppPRGBA, CM_RGBA, 16, 4, true, false},
    {&GUID_WICPixelFormat128bppPRGBAFloat, CM_RGBA, 32, 4, true, false},
    {&GUID_WICPixelFormat32bppCMYK, CM_CMYK, 8, 4, false},
    {&GUID_WICPixelFormat64bppCMYK, CM_CMYK, 16, 4, false},
};

// Pixels pass between codec and image that many rows at a time.
constexpr int kRows = 64;

std::size_t bytesOfRow(const Layout& layout, int width) {
  return (static_cast<std::size_t>(width) * static_cast<std::size_t>(layout.bits * layout.samples) + 7) / 8;
}

// Copies the samples of `count` pixels; `from` says which sample of the input each one of the output is.
void pick(const unsigned char* in, int inSamples, unsigned char* out, std::span<const int> from, int count, int bytes) {
  const auto size = static_cast<std::size_t>(bytes);
  for (int x = 0; x < count; ++x, in += static_cast<std::size_t>(inSamples) * size)
    for (const int sample : from) {
      if (sample < 0)
        std::memset(out, 0, size);
      else
        std::memcpy(out, in + static_cast<std::size_t>(sample) * size, size);
      out += size;
    }
}

// Which sample of a file's pixel each sample of an image's is.
std::vector<int> sources(const Layout& layout, COLOR_MODEL model) {
  if (model == CM_GRAYA) return {0, 3};
  std::vector<int> from;
  for (int i = 0; i < CPxImageInfo::GetChannel(model); ++i) from.push_back(layout.redFirst && i < 3 ? 2 - i : i);
  return from;
}

// What the codecs do not tell of a file, read from its own bytes.
struct Facts {
  std::uint64_t width = 0;  // 0 where it is not known
  std::uint64_t height = 0;
  bool greyAlpha = false;  // which the codecs give as colour
  int bits = 8;
  std::vector<unsigned> transparent;  // the samples of the colour that is, as the file stores them
  int orientation = 1;
};

std::size_t bigEndian(std::span<const unsigned char> bytes, std::size_t at, std::size_t count) {
  std::size_t value = 0;
  for (std::size_t i = 0; i < count; ++i) value = value << 8 | bytes[at + i];
  return value;
}

Facts factsOfPng(const Input& input) {
  const auto tooEarly = [&] { input.damaged("is a damaged PNG: it ends too early"); };
  Facts facts;
  int type = -1;
  for (std::size_t at = 8;;) {
    if (input.bytes.size() - at < 12) tooEarly();
    const std::size_t length = bigEndian(input.bytes, at, 4);
    if (length > input.bytes.size() - at - 12) tooEarly();
    const auto is = [&](const char* name) { return std::memcmp(input.bytes.data() + at + 4, name, 4) == 0; };
    const auto data = input.bytes.subspan(at + 8, length);
    if (at == 8 && (!is("IHDR") || length != 13)) input.damaged("is a damaged PNG: its header makes no sense");
    if (at == 8) {
      facts.width = bigEndian(data, 0, 4), facts.height = bigEndian(data, 4, 4);
      facts.bits = data[8], type = data[9];
    }
    if (is("tRNS") && (type == 0 || type == 2) && length >= (type == 0 ? 2 : 6))
      for (std::size_t i = 0; i < (type == 0 ? 1 : 3); ++i)
        facts.transparent.push_back(static_cast<unsigned>(bigEndian(data, 2 * i, 2)));
    if (is("IEND")) break;
    at += length + 12;
  }
  facts.greyAlpha = type == 4 || (type == 0 && !facts.transparent.empty());
  return facts;
}

Facts factsOfJpeg(const Input& input) {
  const auto tooEarly = [&] { input.damaged("is a damaged or unusual JPEG: it ends too early"); };
  Facts facts;
  for (std::size_t at = 2;;) {
    if (input.bytes.size() - at < 4) tooEarly();
    if (input.bytes[at] != 0xff) input.damaged("is a damaged or unusual JPEG: a segment begins with no mark");
    const int kind = input.bytes[at + 1];
    if (kind == 0xff || kind == 0x01 || (kind >= 0xd0 && kind <= 0xd7)) {
      at += kind == 0xff ? 1 : 2;
      continue;
    }
    const std::size_t length = bigEndian(input.bytes, at + 2, 2);
    if (length < 2 || length > input.bytes.size() - at - 2) tooEarly();
    const auto data = input.bytes.subspan(at + 4, length - 2);
    if (kind >= 0xc0 && kind <= 0xcf && kind != 0xc4 && kind != 0xc8 && kind != 0xcc && data.size() >= 6)
      facts.height = bigEndian(data, 1, 2), facts.width = bigEndian(data, 3, 2);
    if (kind == 0xe1 && facts.orientation == 1) facts.orientation = exifOrientation(data);
    at += length + 2;
    if (kind != 0xda) continue;
    // Past the pixels, which the codec may take for whole where they are not.
    constexpr unsigned char end[] = {0xff, 0xd9};
    if (std::search(input.bytes.begin() + static_cast<std::ptrdiff_t>(at), input.bytes.end(), std::begin(end),
                    std::end(end)) == input.bytes.end())
      tooEarly();
    return facts;
  }
}

// A format and the system's codec for it.
class Codec {
 public:
  Codec(const char* format, const GUID& container) : format_(format), container_(container) {
    thread_local const Apartment apartment;
    const HRESULT result = CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                            __uuidof(IWICImagingFactory), reinterpret_cast<void**>(factory_.out()));
    if (FAILED(result))
      throw Failure(ExitCode::unexpected, "this Windows has no imaging codecs (" + code(result) + ")");
  }

  std::vector<CPxImage> decode(const Input& input, Facts facts) const {
    const auto check = [&](HRESULT result) {
      if (SUCCEEDED(result)) return;
      if (result == E_OUTOFMEMORY) throw std::bad_alloc();
      input.damaged(std::string("is damaged, or of a kind that the ") + format_ +
                    " codec of this Windows does not read (" + code(result) + ")");
    };
    Budget budget(input);
    // Before the codec takes memory for what the header declares.
    if (facts.width) Budget(input).claim(facts.width, facts.height, 1);
    Owned<IWICStream> stream;
    check(factory_->CreateStream(stream.out()));
    check(stream->InitializeFromMemory(const_cast<unsigned char*>(input.bytes.data()),
                                       static_cast<DWORD>(input.bytes.size())));
    Owned<IWICBitmapDecoder> decoder;
    check(factory_->CreateDecoderFromStream(stream.get(), nullptr, WICDecodeMetadataCacheOnDemand, decoder.out()));
    UINT count = 0;
    check(decoder->GetFrameCount(&count));
    if (count == 0) check(WINCODEC_ERR_FRAMEMISSING);
    std::vector<CPxImage> pages;
    for (UINT i = 0; i < count; ++i) {
      Owned<IWICBitmapFrameDecode> frame;
      check(decoder->GetFrame(i, frame.out()));
      if (container_ == GUID_ContainerFormatTiff) {
        facts.greyAlpha = number(frame.get(), L"/ifd/{ushort=277}") == 2;
        facts.orientation = number(frame.get(), L"/ifd/{ushort=274}");
      }
      pages.push_back(readFrame(frame.get(), budget, facts, check));
    }
    return pages;
  }

  Bytes encode(std::span<const CPxImage> pages, const std::string& name, const WriteOptions& options) const {
    const auto check = [&](HRESULT result) {
      if (SUCCEEDED(result)) return;
      if (result == E_OUTOFMEMORY) throw std::bad_alloc();
      throw Failure(ExitCode::unwritable,
                    name + ": the " + format_ + " codec of this Windows cannot write it (" + code(result) + ")");
    };
    Owned<IStream> stream;
    check(CreateStreamOnHGlobal(nullptr, TRUE, stream.out()));
    Owned<IWICBitmapEncoder> encoder;
    check(factory_->CreateEncoder(container_, nullptr, encoder.out()));
    check(encoder->Initialize(stream.get(), WICBitmapEncoderNoCache));
    for (const CPxImage& page : pages) writeFrame(encoder.get(), page, name, options, check);
    check(encoder->Commit());

    STATSTG status{};
    check(stream->Stat(&status, STATFLAG_NONAME));
    HGLOBAL memory = nullptr;
    check(GetHGlobalFromStream(stream.get(), &memory));
    const auto* const bytes = static_cast<const unsigned char*>(GlobalLock(memory));
    if (!bytes) throw std::bad_alloc();
    Bytes file(bytes, bytes + status.cbSize.QuadPart);
    GlobalUnlock(memory);
    return file;
  }

 private:
  static std::string code(HRESULT result) {
    char text[16];
    std::snprintf(text, sizeof text, "%08lx", static_cast<unsigned long>(result));
    return text;
  }

  // A number among what a file says of itself; 1 where it is not there, which is what formats take for granted.
  static int number(IWICBitmapFrameDecode* frame, const wchar_t* name) {
    Owned<IWICMetadataQueryReader> reader;
    if (FAILED(frame->GetMetadataQueryReader(reader.out()))) return 1;
    PROPVARIANT value;
    PropVariantInit(&value);
    const bool found = SUCCEEDED(reader->GetMetadataByName(name, &value)) && value.vt == VT_UI2;
    const int held = found ? value.uiVal : 1;
    PropVariantClear(&value);
    return held;
  }

  template <class Check>
  CPxImage readFrame(IWICBitmapFrameDecode* frame, Budget& budget, const Facts& facts, const Check& check) const {
    UINT width = 0;
    UINT height = 0;
    GUID name{};
    check(frame->GetSize(&width, &height));
    check(frame->GetPixelFormat(&name));
    const Layout* const layout =
        std::ranges::find_if(kLayouts, [&](const Layout& known) { return *known.name == name; });
    if (layout == std::end(kLayouts)) check(WINCODEC_ERR_UNSUPPORTEDPIXELFORMAT);

    const COLOR_MODEL model = facts.greyAlpha && layout->model == CM_RGBA ? CM_GRAYA : layout->model;
    const int bits = model != CM_INDEX ? std::max(layout->bits, 8) : layout->bits == 2 ? 4 : layout->bits;
    budget.claim(width, height, static_cast<unsigned>(CPxImageInfo::GetChannel(model) * std::max(bits / 8, 1)),
                 1 << 18);
    const auto colours = model == CM_INDEX ? colourTable(frame, check) : std::vector<WICColor>();
    CPxImage image(model, bits, static_cast<int>(width), static_cast<int>(height), static_cast<int>(colours.size()));
    for (std::size_t i = 0; i < colours.size(); ++i)
      *image.palette.GetPaletteItem(static_cast<int>(i)) = {static_cast<unsigned char>(colours[i]),
                                                            static_cast<unsigned char>(colours[i] >> 8),
                                                            static_cast<unsigned char>(colours[i] >> 16), 0};

    const std::size_t stride = bytesOfRow(*layout, image.width);
    Bytes rows(stride * kRows);
    const auto from = sources(*layout, model);
    for (int y = 0; y < image.height; y += kRows) {
      const int some = std::min(kRows, image.height - y);
      const WICRect rect = {0, y, image.width, some};
      check(frame->CopyPixels(&rect, static_cast<UINT>(stride), static_cast<UINT>(stride * static_cast<unsigned>(some)),
                              rows.data()));
      for (int i = 0; i < some; ++i) {
        const unsigned char* const in = rows.data() + stride * static_cast<unsigned>(i);
        if (layout->bits < 8)
          unpackBits(in, rowOf(image, y + i), image.width, layout->bits,
                     model == CM_INDEX ? 1 : 255 / ((1 << layout->bits) - 1));
        else
          pick(in, layout->samples, rowOf(image, y + i), from, image.width, layout->bits / 8);
      }
    }
    if (std::ranges::any_of(colours, [](WICColor colour) { return colour >> 24 != 255; }))
      image = inColour(image, colours, facts.greyAlpha);
    else if (!facts.transparent.empty() && (model == CM_GRAY || model == CM_RGB))
      image = withAlpha(image, facts);
    turnUpright(image, facts.orientation);
    return image;
  }

  template <class Check>
  std::vector<WICColor> colourTable(IWICBitmapFrameDecode* frame, const Check& check) const {
    Owned<IWICPalette> palette;
    check(factory_->CreatePalette(palette.out()));
    check(frame->CopyPalette(palette.get()));
    UINT count = 0;
    check(palette->GetColorCount(&count));
    std::vector<WICColor> colours(std::min(count, 256U));
    if (!colours.empty()) check(palette->GetColors(static_cast<UINT>(colours.size()), colours.data(), &count));
    return colours;
  }

  // A palette whose colours are partly transparent has no place in an image.
  static CPxImage inColour(const CPxImage& indices, const std::vector<WICColor>& colours, bool grey) {
    CPxImage image(grey ? CM_GRAYA : CM_RGBA, 8, indices.width, indices.height);
    for (int y = 0; y < image.height; ++y)
      for (int x = 0; x < image.width; ++x) {
        const unsigned char index = rowOf(indices, y)[x];
        const WICColor colour = index < colours.size() ? colours[index] : 0xff000000;
        for (int c = 0; c < image.channels; ++c)
          rowOf(image, y)[image.channels * x + c] =
              static_cast<unsigned char>(colour >> 8 * (c == image.channels - 1 ? 3 : c));
      }
    return image;
  }

  // Where a codec leaves the one transparent colour of a PNG as it is.
  static CPxImage withAlpha(const CPxImage& image, const Facts& facts) {
    CPxImage out(image.colorModel == CM_GRAY ? CM_GRAYA : CM_RGBA, image.bitsPerSample, image.width, image.height);
    const unsigned factor = facts.bits < 8 ? 255U / ((1U << facts.bits) - 1) : 1;
    const auto fill = [&]<class S>(S opaque) {
      const auto channels = static_cast<std::size_t>(image.channels);
      for (int y = 0; y < image.height; ++y) {
        const auto* in = reinterpret_cast<const S*>(rowOf(image, y));
        auto* to = reinterpret_cast<S*>(rowOf(out, y));
        for (int x = 0; x < image.width; ++x, in += channels, to += channels + 1) {
          bool visible = false;
          for (std::size_t c = 0; c < channels; ++c) {
            to[c] = in[c];
            visible = visible || in[c] != facts.transparent[channels - 1 - c] * factor;
          }
          to[channels] = visible ? opaque : S(0);
        }
      }
    };
    image.bitsPerSample > 8 ? fill(std::uint16_t{0xffff}) : fill(std::uint8_t{0xff});
    return out;
  }

  template <class Check>
  void writeFrame(IWICBitmapEncoder* encoder, const CPxImage& image, const std::string& name,
                  const WriteOptions& options, const Check& check) const {
    Owned<IWICBitmapFrameEncode> frame;
    Owned<IPropertyBag2> properties;
    check(encoder->CreateNewFrame(frame.out(), properties.out()));
    setOptions(properties.get(), options);
    check(frame->Initialize(properties.get()));
    check(frame->SetSize(static_cast<UINT>(image.width), static_cast<UINT>(image.height)));
    const CPxPalette palette =
        image.colorModel == CM_INDEX && image.bitsPerSample <= 8 ? completePalette(image) : CPxPalette();
    const Layout* const layout = chooseLayout(frame.get(), image, palette.GetPaletteNum());
    if (!layout)
      throw Failure(ExitCode::unwritable, name + ": the " + format_ + " codec of this Windows has no place for " +
                                              catalogue::modelName(image.colorModel) + " of " +
                                              catalogue::sampleName(image) +
                                              " samples; convert the image first, or write another format");
    if (layout->model == CM_INDEX) {
      std::vector<WICColor> colours;
      for (int i = 0; i < palette.GetPaletteNum(); ++i) {
        const tagRGBA& entry = palette.GetPalette()[i];
        colours.push_back(0xff000000U | static_cast<WICColor>(entry.red << 16 | entry.green << 8 | entry.blue));
      }
      Owned<IWICPalette> table;
      check(factory_->CreatePalette(table.out()));
      check(table->InitializeCustom(colours.data(), static_cast<UINT>(colours.size())));
      check(frame->SetPalette(table.get()));
    }

    const std::size_t stride = bytesOfRow(*layout, image.width);
    Bytes rows(stride * kRows);
    // The order of samples is its own inverse.
    auto from = sources(*layout, image.colorModel);
    from.resize(static_cast<std::size_t>(layout->samples), -1);
    for (int y = 0; y < image.height; y += kRows) {
      const int some = std::min(kRows, image.height - y);
      for (int i = 0; i < some; ++i) {
        unsigned char* const out = rows.data() + stride * static_cast<unsigned>(i);
        if (layout->bits < 8)
          packBits(rowOf(image, y + i), out, image.width, layout->bits);
        else
          pick(rowOf(image, y + i), image.channels, out, from, image.width, layout->bits / 8);
        if (layout->bits == 16 && swapsBytes()) swapBytes({out, stride});
      }
      check(frame->WritePixels(static_cast<UINT>(some), static_cast<UINT>(stride),
                               static_cast<UINT>(stride * static_cast<unsigned>(some)), rows.data()));
    }
    check(frame->Commit());
  }

  // Wine 8 stores 16-bit samples in PNGs with their bytes in the wrong order, and reads them in the right one.
  bool swapsBytes() const {
    if (container_ != GUID_ContainerFormatPng || !swaps_) return false;
    static const bool swaps = [] {
      Codec codec("PNG", GUID_ContainerFormatPng);
      codec.swaps_ = false;
      CPxImage pixel(CM_GRAY, 16, 1, 1);
      reinterpret_cast<std::uint16_t*>(rowOf(pixel, 0))[0] = 0x0102;
      const std::string name = "a pixel";
      const Bytes file = codec.encode({&pixel, 1}, name, {});
      const CPxImage back = codec.decode({file, name}, {})[0];
      return reinterpret_cast<const std::uint16_t*>(rowOf(back, 0))[0] == 0x0201;
    }();
    return swaps;
  }

  static void swapBytes(std::span<unsigned char> samples) {
    for (std::size_t i = 0; i + 1 < samples.size(); i += 2) std::swap(samples[i], samples[i + 1]);
  }

  // The first layout for the image that the codec takes as it is.
  static const Layout* chooseLayout(IWICBitmapFrameEncode* frame, const CPxImage& image, int colours) {
    const bool indexed = image.colorModel == CM_INDEX;
    const int bits = image.bitsPerSample <= 32 ? 8 * sampleBytes(image) : 0;
    if (indexed ? bits != 8 : image.bitsPerSample < 8) return nullptr;
    for (const Layout& layout : kLayouts) {
      if (layout.model != image.colorModel || !layout.written) continue;
      if (indexed ? 1 << layout.bits < colours : layout.bits != bits) continue;
      GUID name = *layout.name;
      if (SUCCEEDED(frame->SetPixelFormat(&name)) && name == *layout.name) return &layout;
    }
    return nullptr;
  }

  // A codec takes those that it knows.
  static void setOptions(IPropertyBag2* properties, const WriteOptions& options) {
    const auto set = [&](const wchar_t* name, const VARIANT& value) {
      PROPBAG2 property{};
      property.pstrName = const_cast<wchar_t*>(name);
      properties->Write(1, &property, const_cast<VARIANT*>(&value));
    };
    VARIANT value;
    value.vt = VT_R4, value.fltVal = static_cast<float>(options.quality) / 100;
    set(L"ImageQuality", value);
    // Colour at full resolution: edges that an operation drew stay where they are.
    value.vt = VT_UI1, value.bVal = WICJpegYCrCbSubsampling444;
    set(L"JpegYCrCbSubsampling", value);
    value.bVal = static_cast<BYTE>(options.compression > 0 ? WICTiffCompressionZIP : WICTiffCompressionNone);
    set(L"TiffCompressionMethod", value);
  }

  const char* format_;
  const GUID& container_;
  bool swaps_ = true;  // where the encoder needs it; false while that is found out
  Owned<IWICImagingFactory> factory_;
};

}  // namespace

std::vector<CPxImage> decodePng(const Input& input) {
  return Codec("PNG", GUID_ContainerFormatPng).decode(input, factsOfPng(input));
}
std::vector<CPxImage> decodeTiff(const Input& input) {
  return Codec("TIFF", GUID_ContainerFormatTiff).decode(input, {});
}
std::vector<CPxImage> decodeJpeg(const Input& input) {
  return Codec("JPEG", GUID_ContainerFormatJpeg).decode(input, factsOfJpeg(input));
}

Bytes encodePng(const CPxImage& image, const std::string& name, const WriteOptions& options) {
  return Codec("PNG", GUID_ContainerFormatPng).encode({&image, 1}, name, options);
}
Bytes encodeTiff(std::span<const CPxImage> pages, const std::string& name, const WriteOptions& options) {
  return Codec("TIFF", GUID_ContainerFormatTiff).encode(pages, name, options);
}
Bytes encodeJpeg(const CPxImage& image, const std::string& name, const WriteOptions& options) {
  return Codec("JPEG", GUID_ContainerFormatJpeg).encode({&image, 1}, name, options);
}

}  // namespace rasterkit::tools
