#include "rasterkit/core/application.h"

#include "rasterkit/platform/desktop_seam.h"

#include <cstring>

namespace rasterkit {
namespace {

constexpr std::size_t kPathRoom = 260;  // with the final zero

bool fits(const std::string& text) { return text.size() < kPathRoom; }

void write(const std::string& text, char* room) { std::memcpy(room, text.c_str(), text.size() + 1); }

bool endsInSeparator(const std::string& path) {
  return path.ends_with('/') || (pathSeparator() == '\\' && path.ends_with('\\'));
}

}  // namespace

Application& Application::instance() {
  // Made with its first use, not while the library is being loaded; destroyed when it is unloaded.
  static Application application;
  return application;
}

Application::Application() { startDesktop(); }

Application::~Application() { freeLanguageLibrary(resources_); }

int Application::loadLanguage(int language) {
  char folder[kPathRoom], name[kPathRoom];
  GetHostProfileManager().GetUIPath(folder);
  CHostProfileManager own;
  own.SetHInstance(ownModule());
  own.SetDefaultInfo();
  own.GetFileName(name);

  const char* const suffix = language == 9 ? " ENG.DLL" : language == 18 ? " KOR.DLL" : "";
  const std::string path = std::string(folder) + name + suffix;
  // Without a folder the system would search its own list of places.
  if (!*folder || !fits(path)) return 0;
  const HINSTANCE loaded = loadLanguageLibrary(path);
  if (!loaded) return 0;
  freeLanguageLibrary(resources_);
  resources_ = loaded;
  language_ = language;
  return 1;
}

std::string Application::text(unsigned int id) const {
  std::string text = languageString(resources_, id);
  return text.empty() ? ownString(id) : text;
}

int Application::showMessage(unsigned int id, unsigned int style) const {
  return rasterkit::showMessage(text(id), std::string(GetHostProfileManager().GetCaption()), style,
                                MessageOwner::activeWindow);
}

}  // namespace rasterkit

using namespace rasterkit;

void CHostProfileManager::SetDefaultInfo() { name_ = "rasterkit"; }

void CHostProfileManager::GetUIPath(char* path) const {
  const std::string folder = path_.empty() ? ownFolder() : path_;
  write(fits(folder) ? folder : "", path);
}

void CHostProfileManager::SetUIPath(const char* path) {
  std::string folder = path ? path : "";
  if (!folder.empty() && !endsInSeparator(folder)) folder += pathSeparator();
  if (fits(folder)) path_ = folder;
}

void CHostProfileManager::GetFileName(char* name) const { write(name_, name); }

void CHostProfileManager::SetFileName(const char* name) {
  const std::string text = name ? name : "";
  if (fits(text)) name_ = text;
}

CString CHostProfileManager::GetCaption() const { return CString(caption_); }
void CHostProfileManager::SetCaption(const char* caption) { caption_ = caption ? caption : ""; }

void CHostProfileManager::SetHInstance(HINSTANCE module) { module_ = module; }
HINSTANCE CHostProfileManager::GetHInstance() const { return module_; }

CHostProfileManager& GetHostProfileManager() {
  static CHostProfileManager profile;
  return profile;
}

void CImageProcessingManager::UpdateLanguage(int language) { Application::instance().loadLanguage(language); }

CImageProcessingManager& GetImageProcessingManager() {
  static CImageProcessingManager manager;
  return manager;
}
