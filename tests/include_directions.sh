#!/usr/bin/env bash
# Holds the lines between the rooms: who may include whom. Usage: include_directions.sh SOURCE_DIR
set -euo pipefail
cd "$1"

base='driver/(bytes|checksum|copy_request|driver_object|export|limits|records|settings)\.h'
chief='driver/emerson_ec_series\.h'
public='driver/(checksum|driver_object|emerson_ec_series|export|records)\.h'
bad=0

# allow WHO FILES... -- PATTERN: every project header that one of the files includes must match the pattern.
allow() {
  local who=$1 pattern=$2 file include
  shift 2
  for file in "$@"; do
    [ -f "$file" ] || continue
    while read -r include; do
      if ! [[ $include =~ ^($pattern)$ ]]; then
        echo "$file includes $include; $who may include only $pattern"
        bad=1
      fi
    done < <(sed -n 's/^#include "\(.*\)"/\1/p' "$file")
    files=$((files + 1))
  done
}

files=0
baseFiles=(driver/{bytes,checksum,copy_request,driver_object,emerson_ec_series,export,limits,records,settings}.h
  driver/{checksum,driver_object,record_layout,settings}.cpp)
cycleFiles=(driver/{reply,station}.h driver/{scheduler,reply,data_com,station,host_setup}.cpp)

allow base "$base|$chief" "${baseFiles[@]}"
# Only a file that defines an entry point includes the chief header; no header does.
allow "a header of varlist" "varlist/.*|$base" varlist/*.h
allow varlist "varlist/.*|$base|$chief" varlist/*.cpp
allow "a header of image" "image/.*|varlist/.*|$base" image/*.h
allow image "image/.*|varlist/.*|$base|$chief" image/*.cpp
allow frames "frames/.*|image/mirror_write\.h|varlist/.*|$base" frames/*.h frames/*.cpp
allow cycle "driver/.*|frames/.*|image/.*|varlist/.*" "${cycleFiles[@]}"
allow host "host/.*|$public" host/*.h host/*.cpp host/commands/*.h host/commands/*.cpp
allow sim 'sim/.*' sim/*.h sim/*.cpp
# Each example stands alone, on what is installed.
allow examples "[a-z_]*\.h|$public" examples/*/*.h examples/*/*.cpp

# Every file of driver/ is in one of the two lists above.
listed=" ${baseFiles[*]} ${cycleFiles[*]} "
for file in driver/*.h driver/*.cpp; do
  [[ $listed == *" $file "* ]] || { echo "$file is in no room"; bad=1; }
done

# The chief header is for the files that define an exported name.
for file in $(grep -l '"driver/emerson_ec_series.h"' driver/*.cpp varlist/*.cpp image/*.cpp frames/*.cpp); do
  grep -q 'extern "C"' "$file" || { echo "$file defines no entry point but includes the chief header"; bad=1; }
done

# No circle: remove headers that include no header still there, until nothing is left.
left=$(ls driver/*.h varlist/*.h frames/*.h image/*.h)
while [ -n "$left" ]; do
  rest=
  for header in $left; do
    for include in $(sed -n 's/^#include "\(.*\)"/\1/p' "$header"); do
      if grep -qx "$include" <<<"$left"; then rest+=$header$'\n'; break; fi
    done
  done
  rest=${rest%$'\n'}
  if [ "$rest" = "$left" ]; then echo "headers in a circle: "$left; bad=1; break; fi
  left=$rest
done

echo "$files files looked at"
[ "$files" -gt 40 ] || { echo "too few files found: is $1 the source directory?"; bad=1; }
exit $bad
