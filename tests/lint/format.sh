#!/usr/bin/env bash
# clang-format would change no C++ file of the project. Usage: format.sh SOURCE_DIR [FILE...]
# With files, looks at these alone.
set -euo pipefail
cd "$1"
shift

# It can fail: this is not how the project writes.
planted='int main( ){ return 0 ; }'
if [ "$(clang-format-14 --assume-filename="$PWD/host/planted.cpp" <<<"$planted")" = "$planted" ]; then
  echo "clang-format-14 leaves as it is: $planted"
  exit 1
fi

files=("$@")
if [ ${#files[@]} -eq 0 ]; then
  mapfile -t files < <(find . -path './build*' -prune -o -path ./.git -prune -o -name '*.cpp' -print -o -name '*.h' -print | sort)
  [ ${#files[@]} -gt 300 ] || { echo "only ${#files[@]} C++ files found: is $PWD the source directory?"; exit 1; }
fi
clang-format-14 --dry-run -Werror "${files[@]}" ||
  { echo "the files above are not as .clang-format has it; scripts/lint --mend writes them anew"; exit 1; }
echo "${#files[@]} files as .clang-format has it"
