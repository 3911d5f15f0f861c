#!/usr/bin/env bash
# Parses every file of the Archicad binding (src/host/archicad) with clang
# against an Archicad API Development Kit, in the kit's macOS branch, and says
# which files parse. Nothing is stubbed and nothing is linked: this is the
# check that the binding uses the kit's declarations as they are.
#
#   scripts/check-binding.sh KIT_DIR
#
# KIT_DIR is the kit's root folder (holding Support/) or its Support folder,
# of version 26, 27, 28 or 29; the version is read from the kit's ACAPinc.h
# and picks the language standard (C++17, C++20 for 29; for 27 <cstring> is
# included first, which its headers need). The palette files
# (PunktwolkenPaletteDG.*) are listed as skipped: the dialog library's
# headers need the Apple frameworks of a Mac (ApplicationServices).
#
# Exit status: 0 when every checked file parses (or no kit was given), 1 when
# one does not, 2 on wrong use. Set CLANGXX to pick the compiler.
set -uo pipefail
cd "$(dirname "$0")/.."

kit="${1:-}"
if [[ -z "$kit" ]]; then
  echo "check-binding: no kit given; skipped (usage: scripts/check-binding.sh KIT_DIR)"
  exit 0
fi
if [[ -f "$kit/Support/Inc/ACAPinc.h" ]]; then
  support="$kit/Support"
elif [[ -f "$kit/Inc/ACAPinc.h" ]]; then
  support="$kit"
else
  echo "check-binding: $kit holds no Support/Inc/ACAPinc.h (or Inc/ACAPinc.h)" >&2
  exit 2
fi

clangxx="${CLANGXX:-}"
if [[ -z "$clangxx" ]]; then
  for candidate in clang++ clang++-14 clang++-15 clang++-16; do
    if command -v "$candidate" >/dev/null 2>&1; then
      clangxx="$candidate"
      break
    fi
  done
fi
if [[ -z "$clangxx" ]]; then
  echo "check-binding: clang++ not found; skipped (the kit's headers accept no other compiler)"
  exit 0
fi

# The kit's own version: the highest ServerMainVers_<v>00 its ACAPinc.h defines.
version=$(grep -Eo '#define[[:space:]]+ServerMainVers_[0-9]{2}00' "$support/Inc/ACAPinc.h" |
  grep -Eo '[0-9]{2}00$' | sort -n | tail -1)
version="${version%00}"
case "$version" in
  26 | 27 | 28) std=c++17 ;;
  29) std=c++20 ;;
  *)
    echo "check-binding: kit version '${version}' is not one of 26, 27, 28, 29" >&2
    exit 2
    ;;
esac

flags=(-fsyntax-only "-std=$std" -x c++
  # The kit's macOS branch on any machine: macintosh and __APPLE__, and none
  # of the Linux names that the kit's headers would take a branch on.
  -Dmacintosh=1 -D__APPLE__=1 -DACExtension
  -U__linux__ -U__linux -Ulinux -U__gnu_linux__ -U__unix__ -U__unix -Uunix
  -Wno-multichar -Wno-pragma-pack -Wno-unknown-pragmas -Wno-deprecated-declarations
  -isystem "$support/Inc")
for module in "$support"/Modules/*/; do
  flags+=(-isystem "${module%/}")
done
flags+=(-I src)
# Kit 27's headers use memcpy/strlen without including <cstring> themselves.
if [[ "$version" == 27 ]]; then
  flags+=(-include cstring)
fi

echo "check-binding: Archicad $version kit at $support, $clangxx -std=$std, macOS branch"
parsed=0
failed=0
skipped=0
for file in src/host/archicad/*.cpp src/host/archicad/*.h; do
  name=$(basename "$file")
  case "$name" in
    PunktwolkenPaletteDG.*)
      echo "  skipped  $name (dialog library: needs the Apple frameworks of a Mac)"
      skipped=$((skipped + 1))
      continue
      ;;
  esac
  if output=$("$clangxx" "${flags[@]}" "$file" 2>&1); then
    echo "  parses   $name"
    parsed=$((parsed + 1))
  else
    echo "  FAILS    $name"
    echo "$output" | grep -E 'error:' | head -5 | sed 's/^/           /'
    failed=$((failed + 1))
  fi
done
echo "check-binding: $parsed parse, $failed fail, $skipped skipped"
[[ $failed -eq 0 ]]
