#pragma once
/// What a host tells the library about itself, and the language of the library's texts.
///
/// Threads: these objects are meant for one thread, the one that shows the library's messages.

#include <rasterkit/platform/export.h>
#include <rasterkit/platform/framework.h>

#include <string>

/// The host application: where its user-interface files are, and what its message boxes are called.
///
/// Every setter affects its own object only; the library asks the one of GetHostProfileManager. Texts are in the
/// system's own encoding (UTF-8 where there is no desktop).
class RASTERKIT_API CHostProfileManager {
 public:
  /// Makes the library's own name the file name: `rasterkit`, so that its language libraries are `rasterkit ENG.DLL`
  /// and `rasterkit KOR.DLL`. Before that the name is empty.
  void SetDefaultInfo();

  /// Writes the folder of the user-interface files, with a separator at its end: the library's own until the host has
  /// set another.
  ///
  /// path     room for 260 bytes, the final zero included. A folder of the library's own that does not fit is written
  ///          as an empty text.
  void GetUIPath(char* path) const;
  /// A separator is added where it lacks. Null or "" brings the library's own folder back; a path that with its
  /// separator does not fit 260 bytes changes nothing.
  void SetUIPath(const char* path);

  /// Writes the stem of the library's file names: at most 260 bytes, the final zero included.
  void GetFileName(char* name) const;
  /// Null is an empty name; one that does not fit 260 bytes changes nothing.
  void SetFileName(const char* name);

  /// The caption of message boxes: empty until the host has set one.
  CString GetCaption() const;
  void SetCaption(const char* caption);

  /// The module whose host this is; it is only kept.
  void SetHInstance(HINSTANCE module);
  HINSTANCE GetHInstance() const;

 private:
  std::string path_;  // empty: the library's own folder
  std::string name_;
  std::string caption_;
  HINSTANCE module_ = nullptr;
};

/// The host profile that the library asks.
RASTERKIT_API CHostProfileManager& GetHostProfileManager();

/// The handle through which a host chooses the language of the library's texts.
class RASTERKIT_API CImageProcessingManager {
 public:
  /// Loads a language library from the host's user-interface path; from then on texts are read from it.
  ///
  /// language  9 loads `rasterkit ENG.DLL`, 18 `rasterkit KOR.DLL` (primary language numbers of Windows); any other
  ///           tries `rasterkit`, without a suffix. A library that cannot be loaded changes nothing: the language and
  ///           texts before it, English ones of the library's own at first, stay in force. A text that the language
  ///           library lacks is the library's own.
  void UpdateLanguage(int language);
};

RASTERKIT_API CImageProcessingManager& GetImageProcessingManager();
