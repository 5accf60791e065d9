#!/usr/bin/env bash
# A batch of photographs through `median threshold`, PNG in and out, on one job and on two, and the same chain in other
# programs where they are installed. All in one run; the table says how long an image took and the ratio to two jobs. The
# other programs get at most eight of the images, which is enough to tell.
#
#   bench/batch.sh PROGRAM PHOTOGRAPH [IMAGES] [ROUNDS]
set -euo pipefail
program=$1
photograph=$2
images=${3:-64}
rounds=${4:-3}
[ "$images" -gt 1 ] || { echo "a batch has two images or more" >&2; exit 2; }
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
mkdir "$folder"/{in,one,two,gm}

# 12 megapixels: the photograph beside and below itself, as sharp as it is. Each image is a little brighter than the last.
tiles=()
for ((y = 0; y < 3072; y += 512)); do
  for ((x = 0; x < 4096; x += 512)); do tiles+=(paste "other=$photograph" "rect=$x,$y,$((x + 511)),$((y + 511))"); done
done
"$program" run "$photograph" -o "$folder/base.png" --quiet gray resize width=4096 height=3072 "${tiles[@]}"
for ((i = 1; i <= images; ++i)); do
  "$program" run "$folder/base.png" -o "$folder/in/$(printf %02d "$i").png" --quiet add value="$i"
done

few=("$folder"/in/*.png)
few=("${few[@]:0:8}")

declare -A times
# timed NAME COUNT COMMAND...: its least time over the rounds, in microseconds an image.
timed() {
  local name=$1 count=$2 start took
  shift 2
  start=$(date +%s%N)
  "$@" >/dev/null
  took=$((($(date +%s%N) - start) / 1000 / count))
  if [ -z "${times[$name]:-}" ] || ((took < times[$name])); then times[$name]=$took; fi
}

ours() { "$program" run "$folder/in" -o "$2" --jobs "$1" --quiet median threshold level=128; }
# The photograph is grey: a median of 3 x 3, then white from 128 up.
vips_files() {
  local file
  for file in "${few[@]}"; do
    vips rank "$file" "$folder/step.png" 3 3 4
    vips relational_const "$folder/step.png" "$folder/vips.png" moreeq 128
  done
}
vips_memory() {
  local file
  for file in "${few[@]}"; do
    vips rank "$file" "$folder/step.v" 3 3 4
    vips relational_const "$folder/step.v" "$folder/vips.png" moreeq 128
  done
}
graphicsmagick() { (cd "$folder/in" && gm mogrify -output-directory "$folder/gm" -median 1 -threshold 49.9% "${few[@]##*/}"); }

for ((round = 0; round < rounds; ++round)); do
  timed "rasterkit, 1 job" "$images" ours 1 "$folder/one"
  timed "rasterkit, 2 jobs" "$images" ours 2 "$folder/two"
  if command -v vips >/dev/null; then
    timed "vips, a PNG between the steps" "${#few[@]}" vips_files
    timed "vips, a .v file between the steps" "${#few[@]}" vips_memory
  fi
  if command -v gm >/dev/null; then timed "GraphicsMagick mogrify" "${#few[@]}" graphicsmagick; fi
done
for file in "$folder"/one/*.png; do cmp "$file" "$folder/two/${file##*/}"; done

printf '%d images of 4096 x 3072, median threshold level=128, PNG to PNG; least of %d rounds\n' "$images" "$rounds"
for name in "rasterkit, 1 job" "rasterkit, 2 jobs" "vips, a PNG between the steps" "vips, a .v file between the steps" "GraphicsMagick mogrify"; do
  [ -z "${times[$name]:-}" ] || printf '  %-36s %8.1f ms an image   %6.2f x two jobs\n' "$name" "$(awk "BEGIN { print ${times[$name]} / 1000 }")" \
    "$(awk "BEGIN { print ${times[$name]} / ${times["rasterkit, 2 jobs"]} }")"
done

# The most memory: one image read, two buffers of the recipe's, the encoded file.
for jobs in 1 2; do
  "$program" run "$folder/in" -o "$folder/one" --jobs "$jobs" --quiet --time median threshold level=128 2>&1 |
    awk -v jobs="$jobs" '/^peak/ { printf "  %-36s %7.1f MiB\n", "most memory, --jobs " jobs, $(NF - 1) }'
done
best=999999
for ((i = 0; i < 20; ++i)); do
  start=$(date +%s%N)
  "$program" list >/dev/null
  took=$((($(date +%s%N) - start) / 1000))
  if ((took < best)); then best=$took; fi
done
printf '  %-36s %7.1f ms\n' "rasterkit list, least of 20" "$(awk "BEGIN { print $best / 1000 }")"
