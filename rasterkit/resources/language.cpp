// A language library where the system has no resources: a shared object that answers for its string table, in UTF-8.
// RASTERKIT_STRINGS names the table.

#include <rasterkit/version.h>

namespace {

struct Text {
  unsigned int id;
  const char* text;
};

#define RASTERKIT_STRING(id, text) {id, text},
constexpr Text kTexts[] = {
#include RASTERKIT_STRINGS
};

}  // namespace

extern "C" __attribute__((visibility("default"))) const char* rasterkitString(unsigned int id) {
  for (const Text& each : kTexts)
    if (each.id == id) return each.text;
  return nullptr;
}

extern "C" __attribute__((visibility("default"))) const char* rasterkitVersion() { return RASTERKIT_VERSION; }
