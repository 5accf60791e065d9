#include "rasterkit/platform/desktop_seam.h"

#include <mutex>

namespace rasterkit {
namespace {

struct Host {
  MessageHandler handler = nullptr;
  void* context = nullptr;
};

std::mutex hostGuard;
Host host;

Host presentHost() {
  const std::lock_guard lock(hostGuard);
  return host;
}

struct Text {
  unsigned int id;
  const char* text;
};

#define RASTERKIT_STRING(id, text) {id, text},
constexpr Text kOwnTexts[] = {
#include "rasterkit/resources/english.strings"
};
#undef RASTERKIT_STRING

}  // namespace

void setMessageHandler(MessageHandler handler, void* context) {
  const std::lock_guard lock(hostGuard);
  host = {handler, context};
}

int showMessage(const std::string& text, const std::string& caption, unsigned int style, MessageOwner owner) {
  // The handler is called outside the lock: it may set another one.
  const Host now = presentHost();
  return now.handler ? now.handler(now.context, text.c_str(), caption.c_str(), style)
                     : showSystemMessage(text, caption, style, owner);
}

std::string ownString(unsigned int id) {
  for (const Text& own : kOwnTexts)
    if (own.id == id) return own.text;
  return {};
}

}  // namespace rasterkit
