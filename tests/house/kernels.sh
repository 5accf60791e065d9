#!/usr/bin/env bash
# No wide instruction leaks: kernel objects export their table and nothing else, above all no weak symbol, which the linker
# might keep for the whole program. Usage: kernels.sh BUILD_FOLDER
set -u
command -v nm >/dev/null || { echo "nm is missing"; exit 1; }
mapfile -t objects < <(find "$1"/CMakeFiles/rasterkit_kernels_*.dir -name '*.o' -o -name '*.obj')
((${#objects[@]})) || { echo "no kernel objects in $1"; exit 1; }

found=$(
  for object in "${objects[@]}"; do
    nm -C --extern-only "$object" | sed 's/^[0-9a-f]* *//' |
      grep -vE '^[DR] rasterkit::(baseline|v2|v3|v4|vbmi|vnni)::[A-Za-z0-9]+$' |
      grep -vE '^U (mem(cpy|set|move|cmp)|sqrtf?|floorf?|ceilf?|truncf?|fabsf?|_GLOBAL_OFFSET_TABLE_|__stack_chk_fail)$' |
      grep -vE '^U rasterkit::[a-z0-9]+::[A-Za-z0-9]+$' | sed "s|^|${object##*/rasterkit_kernels_}: |"
  done
)
[ -z "$found" ] || { echo "$found"; exit 1; }
