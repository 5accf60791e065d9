// The endless driver: as many checked draws as one asks for, at full speed, with every image between guard pages.
//
//     rasterkit_draws COUNT [SEED [OPERATION | recipes]]
//
// recipes: whole recipes instead of single calls.
// The state can be carried on: SEED of a further run is the number that the last one printed.

#include <sys/mman.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "tests/fuzz/any_draw.h"
#include "tests/fuzz/any_recipe.h"

namespace {

// Blocks of pixels stand alone among pages that cannot be touched, each against the page after it or the page before it
// in turn. A block is reused from a list, so a draw costs no system call.
constexpr std::size_t kPage = 4096;

struct Slot {
  unsigned char* room;  // pages between two guard pages
  std::size_t size;
};

std::vector<Slot>& freeSlots() {
  static std::vector<Slot> slots;
  return slots;
}
bool atEnd = false;

Slot slotFor(std::size_t size) {
  auto& slots = freeSlots();
  for (std::size_t i = slots.size(); i-- > 0;) {
    if (slots[i].size < size) continue;
    const Slot slot = slots[i];
    slots.erase(slots.begin() + static_cast<std::ptrdiff_t>(i));
    return slot;
  }
  const std::size_t room = (size + kPage - 1) / kPage * kPage + 4 * kPage;
  auto* const all = static_cast<unsigned char*>(
      mmap(nullptr, room + 2 * kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
  if (all == MAP_FAILED || mprotect(all + kPage, room, PROT_READ | PROT_WRITE) != 0) throw std::bad_alloc();
  return {all + kPage, room};
}

struct Given {
  unsigned char* block;
  Slot slot;
};
std::vector<Given>& given() {
  static std::vector<Given> list;
  return list;
}

}  // namespace

// Images are the only users of the aligned form.
void* operator new(std::size_t size, std::align_val_t) {
  const Slot slot = slotFor(size);
  atEnd = !atEnd;
  unsigned char* const block = atEnd ? slot.room + slot.size - size : slot.room;
  given().push_back({block, slot});
  return block;
}

void operator delete(void* block, std::align_val_t) noexcept {
  auto& list = given();
  for (std::size_t i = list.size(); i-- > 0;) {
    if (list[i].block != block) continue;
    freeSlots().push_back(list[i].slot);
    list.erase(list.begin() + static_cast<std::ptrdiff_t>(i));
    return;
  }
}

int main(int argc, char** argv) {
  const long long count = argc > 1 ? std::atoll(argv[1]) : 100000;
  std::uint64_t seed = argc > 2 ? std::strtoull(argv[2], nullptr, 0) : 1;
  const std::string only = argc > 3 ? argv[3] : "";
  const bool recipes = only == "recipes";
  for (long long i = 0; i < count; ++i) {
    rasterkit::test::Random random(seed);
    const std::string broken =
        recipes ? rasterkit::fuzz::brokenByAnyRecipe(random) : rasterkit::fuzz::brokenByAnyDraw(random, only);
    if (!broken.empty()) {
      std::printf("draw %lld, seed %llu: %s\n", i, static_cast<unsigned long long>(seed), broken.c_str());
      return 1;
    }
    seed = random.bits();
  }
  std::printf("%lld %s checked, next seed %llu\n", count, recipes ? "recipes" : "draws",
              static_cast<unsigned long long>(seed));
  return 0;
}
