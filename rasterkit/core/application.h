#pragma once
// The library's one application object: the language of its texts and the messages it shows.

#include <rasterkit/core/manager.h>

#include <string>

namespace rasterkit {

class Application {
 public:
  static Application& instance();

  int language() const { return language_; }
  HINSTANCE resources() const { return resources_; }

  // What CImageProcessingManager::UpdateLanguage does: 1 where the language library was loaded.
  int loadLanguage(int language);

  // A text of the language library; of the library's own table where there is none.
  std::string text(unsigned int id) const;
  // Shows such a text over the host's active window, under the host's caption, and gives the answer.
  int showMessage(unsigned int id, unsigned int style) const;

 private:
  Application();
  ~Application();

  int language_ = 9;  // English
  HINSTANCE resources_ = nullptr;
};

// The text that tells callers of the tone operations what is missing.
constexpr unsigned int kTableMissingText = 7000;

}  // namespace rasterkit
