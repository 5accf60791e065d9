// The endless driver: as many checked draws as one asks for, at full speed, with every image between guard pages.
//
//     rasterkit_draws COUNT [SEED [OPERATION | recipes]]
//
// recipes: whole recipes instead of single calls.
// The state can be carried on: SEED of a further run is the number that the last one printed.

#include <link.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "tests/fuzz/any_draw.h"
#include "tests/fuzz/any_recipe.h"

namespace {

// Blocks of pixels, and rows that are kept for a while, stand alone among pages that cannot be touched, each against
// the page after it or the page before it in turn; so does what the library itself allocates, its tables, counts and
// vectors (which begin at a multiple of 16 bytes, so up to 15 may lie between their end and the page). A block is
// reused from a list, so a draw costs no system call.
constexpr std::size_t kPage = 4096;
constexpr std::size_t kReserve = std::size_t{1} << 38;  // addresses, of which no memory is taken until they are used

struct Slot {
  unsigned char* room;  // pages between two guard pages
  std::size_t size;
};

unsigned char* reserve() {
  static auto* const start = [] {
    void* const all = mmap(nullptr, kReserve, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (all == MAP_FAILED) std::abort();
    return static_cast<unsigned char*>(all);
  }();
  return start;
}

std::vector<Slot>& freeSlots() {
  static std::vector<Slot> slots;
  return slots;
}
bool atEnd = false;
std::size_t used = 0;  // of the reserve

// No room where memory has run out.
Slot slotFor(std::size_t size) {
  auto& slots = freeSlots();
  for (std::size_t i = slots.size(); i-- > 0;) {
    if (slots[i].size < size) continue;
    const Slot slot = slots[i];
    slots.erase(slots.begin() + static_cast<std::ptrdiff_t>(i));
    return slot;
  }
  const std::size_t room = (size + kPage - 1) / kPage * kPage + 4 * kPage;
  if (size > kReserve / 2 || room + 2 * kPage > kReserve - used) return {};
  unsigned char* const start = reserve() + used + kPage;
  if (mprotect(start, room, PROT_READ | PROT_WRITE) != 0) return {};
  used += room + kPage;  // two neighbours share a guard page
  return {start, room};
}

struct Given {
  unsigned char* block;
  Slot slot;
};
std::vector<Given>& given() {
  static std::vector<Given> list;
  return list;
}

void* guarded(std::size_t size, std::size_t alignment = 1) {
  const Slot slot = slotFor(size);
  if (!slot.room) return nullptr;
  atEnd = !atEnd;
  unsigned char* const block = atEnd ? slot.room + (slot.size - size) / alignment * alignment : slot.room;
  given().push_back({block, slot});
  return block;
}

// Whether it was one of the guarded.
bool takenBack(void* block) {
  const auto* const at = static_cast<unsigned char*>(block);
  if (used == 0 || at < reserve() || at >= reserve() + used + kPage) return false;
  auto& list = given();
  for (std::size_t i = list.size(); i-- > 0;) {
    if (list[i].block != block) continue;
    freeSlots().push_back(list[i].slot);
    list.erase(list.begin() + static_cast<std::ptrdiff_t>(i));
    return true;
  }
  std::abort();  // freed twice, or never given
}

// Where the shared library's code lies. The tests' own blocks need no guard, and are many.
struct Code {
  std::uintptr_t from = 0, to = 0;
  bool holds(const void* place) const {
    const auto at = reinterpret_cast<std::uintptr_t>(place);
    return at >= from && at < to;
  }
} library;

bool findLibrary() {
  dl_iterate_phdr(
      [](dl_phdr_info* loaded, std::size_t, void*) {
        if (!std::strstr(loaded->dlpi_name, "librasterkit.so")) return 0;
        for (int i = 0; i < loaded->dlpi_phnum; ++i) {
          const auto& part = loaded->dlpi_phdr[i];
          if (part.p_type != PT_LOAD || !(part.p_flags & PF_X)) continue;
          library.from = loaded->dlpi_addr + part.p_vaddr;
          library.to = library.from + part.p_memsz;
        }
        return 1;
      },
      nullptr);
  return library.from != 0;
}

void* blockFor(const void* caller, std::size_t size) {
  void* const block =
      library.holds(caller) ? guarded(size, __STDCPP_DEFAULT_NEW_ALIGNMENT__) : std::malloc(size ? size : 1);
  if (!block) throw std::bad_alloc();
  return block;
}

}  // namespace

void* operator new(std::size_t size) { return blockFor(__builtin_return_address(0), size); }
void* operator new[](std::size_t size) { return blockFor(__builtin_return_address(0), size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }

void* operator new(std::size_t size, std::align_val_t) {
  void* const block = guarded(size);
  if (!block) throw std::bad_alloc();
  return block;
}
void operator delete(void* block, std::align_val_t) noexcept { takenBack(block); }

#pragma GCC visibility push(default)  // for the library to find them
extern "C" {
void* __libc_calloc(std::size_t count, std::size_t size);
void __libc_free(void* block);

void* calloc(std::size_t count, std::size_t size) {
  // The row tables of millions of rows stay zeros that take no memory until they are touched.
  constexpr std::size_t kMost = std::size_t{1} << 20;
  std::size_t bytes = 0;
  if (!library.holds(__builtin_return_address(0)) || __builtin_mul_overflow(count, size, &bytes) || bytes > kMost)
    return __libc_calloc(count, size);
  void* const block = guarded(bytes, __STDCPP_DEFAULT_NEW_ALIGNMENT__);
  return block ? std::memset(block, 0, bytes) : nullptr;
}

int posix_memalign(void** block, std::size_t, std::size_t size) {
  void* const made = guarded(size);
  if (!made) return ENOMEM;
  *block = made;
  return 0;
}

void free(void* block) {
  if (!takenBack(block)) __libc_free(block);
}
}
#pragma GCC visibility pop

int main(int argc, char** argv) {
  const long long count = argc > 1 ? std::atoll(argv[1]) : 100000;
  std::uint64_t seed = argc > 2 ? std::strtoull(argv[2], nullptr, 0) : 1;
  const std::string only = argc > 3 ? argv[3] : "";
  const bool recipes = only == "recipes";
  if (!findLibrary()) {
    std::puts("the shared library is not found: its own blocks would not be guarded");
    return 2;
  }
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
