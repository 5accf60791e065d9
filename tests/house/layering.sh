#!/usr/bin/env bash
# Which folder may include which, and where the system or the processor may be asked for. Silent when all is well.
set -u
cd "$(dirname "$0")/../.."

# A file includes its own folder and those of a lower rank.
check_directions() {
  grep -rnE '^#include [<"](rasterkit|catalogue|tools|tests|bench)/' rasterkit catalogue tools --include='*.h' --include='*.cpp' 2>/dev/null |
    awk -F: '
      function folder(path,   parts) {
        split(path, parts, "/")
        return parts[1] == "rasterkit" && parts[3] != "" ? parts[2] : parts[1]
      }
      BEGIN {
        rank["resources"] = -1; rank["platform"] = 0; rank["core"] = 1; rank["colour"] = 2; rank["geometry"] = 3
        rank["point"] = rank["neighbourhood"] = rank["analysis"] = 4
        rank["rasterkit"] = 5  # rasterkit.h, and version.h, which includes nothing
        rank["catalogue"] = 6; rank["tools"] = 7; rank["tests"] = rank["bench"] = 8
      }
      {
        target = $3
        sub(/^#include [<"]/, "", target)
        sub(/[>"].*/, "", target)
        from = folder($1)
        to = folder(target)
        if ($1 ~ /_(test|bench)\.cpp$/ || target == "rasterkit/version.h") next
        if (!(from in rank) || !(to in rank)) print $1 ":" $2 ": a folder without a rank: " target
        else if (from != to && rank[to] >= rank[from]) print $1 ":" $2 ": " from " may not include " to ": " target
      }'
}

# A public header, one that rasterkit.h brings in, includes public headers only, and always by <>.
check_public_headers() {
  local unread=(rasterkit/rasterkit.h) seen=" " header
  while ((${#unread[@]})); do
    header=${unread[0]}
    unread=("${unread[@]:1}")
    [[ $seen == *" $header "* || ! -f $header ]] && continue
    seen+="$header "
    grep -nHE '^#include "' "$header" | sed 's/$/  (a public header includes an internal one)/'
    mapfile -t -O "${#unread[@]}" unread < <(sed -nE 's/^#include <(rasterkit\/[^>]+)>.*/\1/p' "$header")
  done
}

check_conditions() {
  grep -rnE '^ *#.*\b(_WIN32|WIN32|__linux__|__APPLE__|__unix__|__MINGW32__)\b' rasterkit catalogue tools --include='*.h' --include='*.cpp' 2>/dev/null |
    grep -v '^rasterkit/platform/' | sed 's/$/  (asks for the system outside platform)/'
  grep -rnE '^ *#.*\b(__x86_64__|__i386__|__aarch64__|__SSE|__AVX|_M_X64)' rasterkit catalogue tools --include='*.h' --include='*.cpp' 2>/dev/null |
    grep -vE '_kernels(_vbmi|_vnni)?\.cpp:|/processor_[a-z0-9]+\.cpp:|/kernel_[a-z]+\.h:' | sed 's/$/  (asks for the processor outside a kernel file)/'
}

found=$(check_directions; check_public_headers; check_conditions)
[ -z "$found" ] || { echo "$found"; exit 1; }
