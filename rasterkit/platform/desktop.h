#pragma once
/// What a host sees of the desktop: messages, the clipboard and icons. On Windows it is the real one. Elsewhere it is
/// headless and complete: the clipboard is a block in memory and icons are rendered in memory; texts are UTF-8.
///
/// Threads: the message handler and the clipboard may be used from any thread; one icon from one thread at a time.

#include <rasterkit/platform/export.h>
#include <rasterkit/platform/framework.h>

#include <vector>

namespace rasterkit {

/// Answers a message of the library as a message box would: 1 for OK.
///
/// style    the message box's flags: 0x30 is one OK button and the exclamation icon, 0x40 the information icon.
using MessageHandler = int (*)(void* context, const char* text, const char* caption, unsigned int style);

/// Gives every message from now on to the handler, in place of the message box.
///
/// handler  null, the default, brings the desktop's own way back: Windows shows the message box; the headless desktop
///          writes `caption: text` and a newline to standard error and answers 1.
/// context  handed to every call of the handler.
RASTERKIT_API void setMessageHandler(MessageHandler handler, void* context = nullptr);

/// The device-independent bitmap (CF_DIB) on the clipboard: header, colour table and rows. Empty where there is none.
RASTERKIT_API std::vector<unsigned char> clipboardBlock();

/// The pixels of an icon that the library made: blue, green, red, alpha, rows top-down. All four are 0 where the icon
/// is masked, elsewhere alpha is 255.
///
/// size     becomes the icon's size; 0 x 0, and nothing is returned, for a null icon.
RASTERKIT_API std::vector<unsigned char> iconPixels(HICON icon, CSize& size);

}  // namespace rasterkit
