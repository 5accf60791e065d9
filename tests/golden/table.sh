#!/usr/bin/env bash
# table.sh RECORD PLATFORM=FILE...: holds digests of several platforms against the record. One row a family: the number of its
# digests, then for each platform how many differ. Fails where any does, and names the first few.
set -u
record=$1
shift
awk -v record="$record" '
  BEGIN {
    platforms = ARGC - 1
    for (i = 1; i <= platforms; ++i) { split(ARGV[i], part, "="); name[i] = part[1]; file[i] = part[2] }
    while ((getline line < record) > 0) {
      sub(/\r$/, "", line)
      split(line, field, " ")
      key = field[2] " " field[3]
      value[key] = field[4]
      family[key] = field[1]
      if (!(field[1] in count)) order[++families] = field[1]
      count[field[1]]++
      all++
    }
    for (i = 1; i <= platforms; ++i) {
      delete seen
      while ((getline line < file[i]) > 0) {
        sub(/\r$/, "", line)
        split(line, field, " ")
        key = field[2] " " field[3]
        seen[key] = 1
        if (value[key] == field[4]) continue
        wrong[i, field[1]]++
        total[i]++
        if (++told <= 20) print "differs: " name[i] ": " key
      }
      for (key in value) if (!(key in seen)) { wrong[i, family[key]]++; total[i]++ }
    }
    printf "%-16s %9s", "family", "digests"
    for (i = 1; i <= platforms; ++i) printf " %14s", name[i]
    print ""
    for (f = 1; f <= families; ++f) {
      printf "%-16s %9d", order[f], count[order[f]]
      for (i = 1; i <= platforms; ++i) printf " %14d", wrong[i, order[f]]
      print ""
    }
    printf "%-16s %9d", "all", all
    for (i = 1; i <= platforms; ++i) { printf " %14d", total[i]; bad += total[i] }
    print ""
    exit bad != 0 || all == 0
  }' "$@"
