#!/usr/bin/env bash
# Builds the universal (arm64 + x86_64) add-on bundle for each given Archicad
# API Development Kit and checks it.
#
#   scripts/build-macos.sh KIT [KIT...]
#
# KIT is an unpacked kit (the folder holding Support/, or Support/ itself) or
# its .zip as published in the host maker's archicad-api-devkit releases.
# Kits of Archicad 26, 27, 28 and 29 are accepted; the version is read from the
# kit's Support/Inc/ACAPinc.h. Each kit gives build/macos/Punktwolke-AC<ver>.bundle
# (built in build/macos/ac<ver>/).
#
# How the bundle becomes universal: one build per kit with
# CMAKE_OSX_ARCHITECTURES="arm64;x86_64". The kit's own libraries and
# frameworks are universal; the one third-party library the bundle holds,
# pugixml, is linked statically from a universal libpugixml.a made here with
# lipo from Homebrew's arm64 and x86_64 bottles (the machine's own Homebrew
# for its architecture, `brew fetch --bottle-tag` for the other; or
# PW_PUGIXML_ARM64_LIB / PW_PUGIXML_X86_64_LIB naming a libpugixml.a of that
# architecture). One build per kit keeps resources and Info.plist made once,
# and no bundle has to be stitched together from two.
#
# Checks on every bundle: `lipo -info` lists arm64 and x86_64; `otool -L` of
# each architecture names only macOS's own libraries and frameworks and the
# frameworks of the kit (which the host application provides); Info.plist
# carries the project's version.
#
# Needs: Xcode command-line tools, Homebrew with cmake, ninja, pugixml, libpng,
# cli11, nlohmann-json (the last three only because the top-level CMake
# configuration asks for them; the add-on does not use them).
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
out=$root/build/macos

die() { echo "build-macos.sh: $*" >&2; exit 1; }

[ "$(uname -s)" = Darwin ] || die "runs on macOS only"
[ $# -ge 1 ] || die "usage: scripts/build-macos.sh KIT [KIT...]"
command -v brew >/dev/null || die "Homebrew is needed (brew install cmake ninja pugixml libpng cli11 nlohmann-json)"
version=$(sed -n 's/^project(Punktwolke VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
mkdir -p "$out"

# --- Universal static pugixml -------------------------------------------------

# A libpugixml.a for architecture $1 (arm64 or x86_64), printed as a path.
pugixml_archive() {
  local arch=$1 var
  var=PW_PUGIXML_$(echo "$arch" | tr '[:lower:]' '[:upper:]')_LIB
  if [ -n "${!var:-}" ]; then
    echo "${!var}"; return
  fi
  if [ "$arch" = "$(uname -m)" ]; then
    echo "$(brew --prefix pugixml)/lib/libpugixml.a"; return
  fi
  # The other architecture's bottle, for this macOS release or an older one.
  local major name tag bottle dir
  major=$(sw_vers -productVersion | cut -d. -f1)
  for name in tahoe sequoia sonoma ventura; do
    case "$name:$major" in
      tahoe:2[6-9]|sequoia:1[5-9]|sequoia:2[0-9]|sonoma:1[4-9]|sonoma:2[0-9]|ventura:*) ;;
      *) continue ;;
    esac
    if [ "$arch" = arm64 ]; then tag=arm64_$name; else tag=$name; fi
    if brew fetch --quiet --force --bottle-tag="$tag" pugixml >&2 2>/dev/null; then
      bottle=$(brew --cache --bottle-tag="$tag" pugixml)
      dir=$out/deps/bottle-$arch
      rm -rf "$dir"; mkdir -p "$dir"
      tar -xzf "$bottle" -C "$dir"
      find "$dir" -name libpugixml.a | head -n 1
      return
    fi
  done
  die "no pugixml bottle for $arch; set PW_PUGIXML_$(echo "$arch" | tr '[:lower:]' '[:upper:]')_LIB"
}

# build/macos/deps/pugixml: Homebrew's pugixml (headers, CMake package) with
# its static library replaced by the universal one.
deps=$out/deps/pugixml
rm -rf "$deps"; mkdir -p "$deps"
cp -R "$(brew --prefix pugixml)/." "$deps/"
chmod -R u+w "$deps"
arm_lib=$(pugixml_archive arm64)
x86_lib=$(pugixml_archive x86_64)
for pair in "arm64:$arm_lib" "x86_64:$x86_lib"; do
  lipo "${pair#*:}" -verify_arch "${pair%%:*}" || die "${pair#*:} has no ${pair%%:*} code"
done
lipo -create "$arm_lib" "$x86_lib" -output "$deps/lib/libpugixml.a" 2>/dev/null ||
  lipo -create -arch arm64 "$arm_lib" -arch x86_64 "$x86_lib" -output "$deps/lib/libpugixml.a"
echo "universal pugixml: $(lipo -info "$deps/lib/libpugixml.a")"

# --- One bundle per kit ---------------------------------------------------------

kit_root() {  # unpacked kit folder for $1 (folder or .zip)
  local kit=$1
  if [ -f "$kit" ] && [[ "$kit" == *.zip ]]; then
    local dest
    dest=$out/kits/$(basename "$kit" .zip)
    if [ ! -d "$dest" ]; then
      mkdir -p "$dest"
      unzip -qq "$kit" -d "$dest"
    fi
    kit=$dest
  fi
  if [ -f "$kit/Support/Inc/ACAPinc.h" ]; then
    (cd "$kit" && pwd)
  elif [ -f "$kit/Inc/ACAPinc.h" ]; then
    (cd "$kit/.." && pwd)
  else
    local found
    found=$(find "$kit" -maxdepth 3 -path '*/Support/Inc/ACAPinc.h' | head -n 1)
    [ -n "$found" ] || die "$1: no Support/Inc/ACAPinc.h"
    (cd "$(dirname "$found")/../.." && pwd)
  fi
}

check_bundle() {  # bundle kit
  local bundle=$1 kit=$2 exe arch lib ok=1
  exe=$bundle/Contents/MacOS/$(/usr/libexec/PlistBuddy -c 'Print :CFBundleExecutable' "$bundle/Contents/Info.plist")
  [ -f "$exe" ] || die "$bundle: no executable $exe"
  echo "lipo -info: $(lipo -info "$exe")"
  for arch in arm64 x86_64; do
    lipo "$exe" -verify_arch "$arch" || { echo "  missing architecture $arch"; ok=0; }
  done
  local kit_frameworks
  kit_frameworks=$(find "$kit/Support/Frameworks" -maxdepth 1 -name '*.framework' -exec basename {} \; 2>/dev/null | tr '\n' ' ')
  for arch in arm64 x86_64; do
    echo "otool -L ($arch):"
    while read -r lib; do
      echo "  $lib"
      case "$lib" in
        /usr/lib/*|/System/Library/*) continue ;;
      esac
      local fw=${lib%%.framework/*}; fw=${fw##*/}.framework
      if [[ "$lib" == *.framework/* ]] && [[ " $kit_frameworks " == *" $fw "* ]]; then
        continue
      fi
      echo "  ^ not part of macOS or the host"; ok=0
    done < <(otool -arch "$arch" -L "$exe" | tail -n +2 | sed 's/^[[:space:]]*//; s/ (compatibility.*//')
  done
  local plist_version
  plist_version=$(/usr/libexec/PlistBuddy -c 'Print :CFBundleShortVersionString' "$bundle/Contents/Info.plist")
  [ "$plist_version" = "$version" ] || { echo "  Info.plist says version $plist_version, the project $version"; ok=0; }
  [ "$ok" -eq 1 ] || die "$bundle failed its checks (above)"
}

for kit_arg in "$@"; do
  kit=$(kit_root "$kit_arg")
  ac=$(sed -n 's/^#define[[:space:]]*ServerMainVers_\([0-9][0-9]\).*/\1/p' "$kit/Support/Inc/ACAPinc.h" | head -n 1)
  case "$ac" in
    26|27) deployment=10.15 ;;
    28|29) deployment=11.0 ;;
    *) die "$kit_arg: kit for Archicad '$ac'; 26 to 29 are supported" ;;
  esac
  echo "=== Archicad $ac kit: $kit (macOS $deployment and later) ==="
  build=$out/ac$ac
  cmake -S . -B "$build" -G Ninja \
        -DCMAKE_BUILD_TYPE=Release \
        -DAC_API_DEVKIT_DIR="$kit" \
        -DCMAKE_OSX_ARCHITECTURES="arm64;x86_64" \
        -DCMAKE_OSX_DEPLOYMENT_TARGET="$deployment" \
        -DPW_SELF_CONTAINED=ON \
        -DCMAKE_PREFIX_PATH="$deps" \
        -Dpugixml_DIR="$deps/lib/cmake/pugixml" \
        -DPW_BUILD_TESTS=OFF -DPW_BUILD_BENCH=OFF
  cmake --build "$build" --target pw_archicad_addon
  # The build names the bundle; the package wants Punktwolke-AC<ver>.bundle.
  built=$(find "$build/addon" -maxdepth 1 -name '*.bundle' | head -n 1)
  [ -n "$built" ] || die "no bundle in $build/addon"
  target=$out/Punktwolke-AC$ac.bundle
  rm -rf "$target"
  ditto "$built" "$target"
  check_bundle "$target" "$kit"
  echo "=== $target ==="
done
