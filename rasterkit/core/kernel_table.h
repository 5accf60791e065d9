#pragma once
// How a family's row kernels are reached. A kernel file fills one table of function pointers and is compiled once for
// each processor level, each time in that level's namespace; the family's header declares the tables with one line:
//
//     struct ThresholdKernels { ... };
//     RASTERKIT_KERNEL_TABLE(ThresholdKernels, thresholdKernels)
//
// and callers get the table of the level that serves from kernels<ThresholdKernels>() in core/kernels.h.
//
// The build writes RASTERKIT_EACH_LEVEL(do, ...): do(level, ...) for each level it compiles, least first.

#include "rasterkit_levels.h"

namespace rasterkit {

// Specialised for each family: `tables`, one pointer a level.
template <class Kernels>
struct KernelTables;

}  // namespace rasterkit

#define RASTERKIT_DECLARE_LEVEL_TABLE(level, Type, name) \
  namespace level {                                      \
  extern const Type name;                                \
  }
#define RASTERKIT_LEVEL_TABLE_ADDRESS(level, name) &level::name,

#define RASTERKIT_LEVEL_TABLES(Type, name, more)                                                         \
  RASTERKIT_EACH_LEVEL(RASTERKIT_DECLARE_LEVEL_TABLE, Type, name)                                        \
  template <>                                                                                            \
  struct KernelTables<Type> {                                                                            \
    static constexpr const Type* tables[] = {RASTERKIT_EACH_LEVEL(RASTERKIT_LEVEL_TABLE_ADDRESS, name)}; \
    more                                                                                                 \
  };
#define RASTERKIT_KERNEL_TABLE(Type, name) RASTERKIT_LEVEL_TABLES(Type, name, )

// The same for a family whose kernel file has a fifth compilation as a whole: a file *_kernels_vbmi.cpp that includes
// it.
#if RASTERKIT_HAS_VBMI
#define RASTERKIT_PERMUTING_KERNEL_TABLE(Type, name) \
  RASTERKIT_DECLARE_LEVEL_TABLE(vbmi, Type, name)    \
  RASTERKIT_LEVEL_TABLES(Type, name, static constexpr const Type* permuting = &vbmi::name;)
#else
#define RASTERKIT_PERMUTING_KERNEL_TABLE(Type, name) RASTERKIT_KERNEL_TABLE(Type, name)
#endif
