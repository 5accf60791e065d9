# Flags for all code of the project, carried by the target rasterkit_compiler.

set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_CXX_FLAGS_RELEASE "-O3 -DNDEBUG")
set(CMAKE_CXX_FLAGS_DEBUG "-O1 -g -fno-omit-frame-pointer")

add_library(rasterkit_compiler INTERFACE)
target_compile_features(rasterkit_compiler INTERFACE cxx_std_20)

# The same bytes everywhere: no product and sum may be contracted into one rounding. Nobody reads floating-point exceptions or
# errno here, and allowing for them would keep loops from being vectorised.
target_compile_options(rasterkit_compiler INTERFACE -ffp-contract=off -fno-trapping-math -fno-math-errno)

target_compile_options(rasterkit_compiler INTERFACE -Wall -Wextra -Wpedantic -Wfloat-conversion -Wundef -Wvla -Wno-missing-field-initializers -Wno-pass-failed)
if(RASTERKIT_WERROR)
  target_compile_options(rasterkit_compiler INTERFACE -Werror)
endif()

# For code around the library, which is not worth the last optimisation. In standard vectors and strings g++ 12 sees overlapping
# copies, places out of bounds and uninitialised functions; there are none.
add_library(rasterkit_relaxed INTERFACE)
target_link_libraries(rasterkit_relaxed INTERFACE rasterkit_compiler)
target_compile_options(rasterkit_relaxed INTERFACE $<$<CONFIG:Release>:-O2>)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  target_compile_options(rasterkit_relaxed INTERFACE
    -Wno-array-bounds -Wno-maybe-uninitialized -Wno-restrict -Wno-stringop-overflow -Wno-stringop-overread -Wno-free-nonheap-object)
endif()

# The library itself, and nothing around it, so that tests and twins keep their speed. Threads may lose a count; only 0 matters.
add_library(rasterkit_counting INTERFACE)
if(RASTERKIT_COVERAGE)
  target_compile_options(rasterkit_counting INTERFACE -O0 -g --coverage)
  target_link_options(rasterkit_counting INTERFACE --coverage)
endif()

if(RASTERKIT_SANITIZE)
  string(REPLACE ";" "," sanitizers "${RASTERKIT_SANITIZE}")
  target_compile_options(rasterkit_compiler INTERFACE -fsanitize=${sanitizers} -fno-sanitize-recover=all)
  target_link_options(rasterkit_compiler INTERFACE -fsanitize=${sanitizers})
endif()

if(WIN32)
  # The Windows stack is aligned to 16 bytes only, so vectors on it must be moved as unaligned ones.
  target_compile_options(rasterkit_compiler INTERFACE -Wa,-muse-unaligned-vector-move)
  target_link_options(rasterkit_compiler INTERFACE -static -static-libgcc -static-libstdc++)
endif()
