#!/usr/bin/env bash
# Configuring against Qt 6 stops with the reason. Usage: qt6_refused.sh SOURCE_DIR
set -euo pipefail
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT

# refused WHAT CMAKE_ARGUMENTS...
refused() {
  local what=$1
  shift
  if cmake -G Ninja -S "$source" -B "$dir/build" -DEC_BUILD_TOOLS=OFF -DEC_BUILD_TESTS=OFF "$@" >"$dir/log" 2>&1; then
    echo "$what: configured, but should have been refused"
    exit 1
  fi
  if ! tr -s ' \n' ' ' <"$dir/log" | grep 'three words wide' >/dev/null; then
    echo "$what: refused, but without the reason:"
    cat "$dir/log"
    exit 1
  fi
  echo "$what: refused with the reason"
  rm -rf "$dir/build"
}

source=$1
refused "Qt 6 asked for" -DQT_DEFAULT_MAJOR_VERSION=6

mkdir -p "$dir/Qt6Core"
echo 'set(Qt6Core_FOUND TRUE)' >"$dir/Qt6Core/Qt6CoreConfig.cmake"
refused "only Qt 6 installed" -DCMAKE_DISABLE_FIND_PACKAGE_Qt5Core=ON "-DCMAKE_PREFIX_PATH=$dir"
