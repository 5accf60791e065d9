#pragma once
// The seam between the library and the desktop it runs on. Plain data only: nothing here knows an image.

#include <rasterkit/platform/desktop.h>

#include <cstddef>
#include <string>

namespace rasterkit {

// What the desktop needs before the library shows anything on it; called once.
void startDesktop();

enum class MessageOwner { none, activeWindow };

// Shows a message through the host's handler or the desktop's own way, and gives the answer. With activeWindow the box
// belongs to the last active pop-up of the active window, where there is one.
int showMessage(const std::string& text, const std::string& caption, unsigned int style, MessageOwner owner);

// Empties the clipboard and, where there is a block, places its bytes there as a CF_DIB. Does nothing when the
// clipboard cannot be opened.
void placeOnClipboard(HWND owner, const void* block, std::size_t bytes);

// Renders a bitmap into an icon, with colour (0x00BBGGRR, the high byte is ignored) behind it and masked where it
// shows. A bitmap narrower or lower than the icon stands in its centre, unscaled and cropped; another is scaled to it.
//
// bitmap   a 40-byte header, 8, 24 or 32 bits, uncompressed and bottom-up, followed by its colour table and rows; null
//          draws the background alone.
// size     1 or more in both directions. An icon that no memory can be had for throws std::bad_alloc.
// returns  the caller's icon, freed by DestroyIcon.
HICON makeIcon(const BITMAPINFOHEADER* bitmap, CSize size, DWORD colour);

// The module that this code is part of: the shared library, or the program that it is linked into.
HINSTANCE ownModule();

// The folder of that module with a separator at its end; empty where it cannot be told.
std::string ownFolder();

// What stands between the parts of a path.
char pathSeparator();

// Loads a language library; null when there is none at the path. Windows reads resource libraries; the headless desktop
// reads shared objects that define `extern "C" const char* rasterkitString(unsigned int id)`, which gives a UTF-8 text
// or null.
HINSTANCE loadLanguageLibrary(const std::string& path);
void freeLanguageLibrary(HINSTANCE library);  // null is allowed

// A text of a language library's string table; empty where it has none. Null stands for a library without texts.
std::string languageString(HINSTANCE library, unsigned int id);

// A text of the library's own string table, in English; empty where it has none.
std::string ownString(unsigned int id);

// What each desktop does behind showMessage when no handler is set.
int showSystemMessage(const std::string& text, const std::string& caption, unsigned int style, MessageOwner owner);

}  // namespace rasterkit
