#pragma once
/// The little JSON that the program prints.

#include <string>
#include <string_view>

namespace rasterkit::tools {

/// The text in double quotes.
inline std::string jsonText(std::string_view text) {
  static constexpr char digits[] = "0123456789abcdef";
  std::string out = "\"";
  for (const char c : text) {
    const auto code = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\')
      (out += '\\') += c;
    else if (c == '\n')
      out += "\\n";
    else if (code < 0x20)
      ((out += "\\u00") += digits[code >> 4]) += digits[code & 15];
    else
      out += c;
  }
  return out + '"';
}

}  // namespace rasterkit::tools
