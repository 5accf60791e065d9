#pragma once
/// File names as text: UTF-8 in arguments, recipes and messages, whatever the system itself has.

#include <filesystem>
#include <string>
#include <string_view>

namespace rasterkit::tools {

inline std::filesystem::path pathOf(std::string_view text) { return std::u8string(text.begin(), text.end()); }

inline std::string textOf(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}
/// With / between folders on every system.
inline std::string plainTextOf(const std::filesystem::path& path) {
  const std::u8string text = path.generic_u8string();
  return {text.begin(), text.end()};
}

}  // namespace rasterkit::tools
