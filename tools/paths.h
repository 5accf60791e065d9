#pragma once
/// File names as text: UTF-8 in arguments, recipes and messages, whatever the system itself has.

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

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

/// A link's file itself; any other path, or one that cannot be followed, as it is.
inline std::filesystem::path behindLinks(const std::filesystem::path& path) {
  std::error_code error;
  const auto followed =
      std::filesystem::is_symlink(path, error) ? std::filesystem::weakly_canonical(path, error) : path;
  return error ? path : followed;
}
/// The folder that a path is in, "." of a name alone.
inline std::filesystem::path folderOf(const std::filesystem::path& path) {
  return path.has_parent_path() ? path.parent_path() : std::filesystem::path(".");
}

}  // namespace rasterkit::tools
