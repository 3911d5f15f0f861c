#!/usr/bin/env bash
# Builds this platform's release packages into build/package/.
#
# Linux (Debian): punktwolke_<version>_<arch>.deb with the command-line tool,
#   made by CPack; Depends computed by dpkg-shlibdeps. The package is checked:
#   unpacked (dpkg-deb -x), its punktwolke prints its version and converts a
#   file, and every package it depends on exists in the configured apt sources.
#   PW_PACKAGE_INSTALL_CHECK=1 also installs it with dpkg -i (its dependencies
#   must already be there: no apt-get -f), runs /usr/bin/punktwolke and
#   removes it again.
#
# macOS: Punktwolke-<version>-macOS.zip with the universal add-on bundles made
#   by scripts/build-macos.sh (build/macos/Punktwolke-AC<version>.bundle, one
#   per Archicad version; run it first) and the installation text in German
#   and English (packaging/macos/Installation.txt.in).
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
out=$root/build/package
jobs=$(getconf _NPROCESSORS_ONLN 2>/dev/null || echo 2)
version=$(sed -n 's/^project(Punktwolke VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
[ -n "$version" ] || { echo "package.sh: no version in CMakeLists.txt" >&2; exit 1; }
mkdir -p "$out"

package_macos() {
  local bundles=() b ver
  for b in build/macos/Punktwolke-AC[0-9][0-9].bundle; do
    [ -d "$b" ] && bundles+=("$b")
  done
  if [ ${#bundles[@]} -eq 0 ]; then
    echo "package.sh: no build/macos/Punktwolke-AC<version>.bundle; run scripts/build-macos.sh first" >&2
    exit 1
  fi
  local stage=$out/Punktwolke-$version-macOS
  rm -rf "$stage" "$stage.zip"
  mkdir -p "$stage"
  local list_de="" list_en=""
  for b in "${bundles[@]}"; do
    ver=$(basename "$b" .bundle); ver=${ver#Punktwolke-AC}
    ditto "$b" "$stage/$(basename "$b")"
    list_de+="  $(basename "$b")  ->  Archicad $ver"$'\n'
    list_en+="  $(basename "$b")  ->  Archicad $ver"$'\n'
  done
  VERSION=$version LIST_DE=$list_de LIST_EN=$list_en perl -pe '
    s/\@VERSION\@/$ENV{VERSION}/g;
    s/^\@BUNDLES_DE\@\n/$ENV{LIST_DE}/;
    s/^\@BUNDLES_EN\@\n/$ENV{LIST_EN}/;' packaging/macos/Installation.txt.in > "$stage/Installation.txt"
  (cd "$out" && ditto -c -k --sequesterRsrc --keepParent "$(basename "$stage")" "$(basename "$stage").zip")
  rm -rf "$stage"
  echo "package.sh: $out/$(basename "$stage").zip"
  unzip -l "$out/$(basename "$stage").zip" | grep -E 'Installation.txt|Contents/MacOS/' || true
}

package_deb() {
  bash scripts/setup.sh --package
  local build=$root/build/package-build
  local launcher=()
  command -v ccache >/dev/null && launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
  cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DPW_SELF_CONTAINED=ON \
        -DPW_BUILD_TESTS=OFF -DPW_BUILD_BENCH=OFF "${launcher[@]}" >/dev/null
  cmake --build "$build" --target punktwolke -j "$jobs"
  (cd "$build" && cpack -G DEB -B "$out" >/dev/null)
  rm -rf "$out/_CPack_Packages"
  local deb
  deb=$out/punktwolke_${version}_$(dpkg --print-architecture).deb
  [ -f "$deb" ] || { echo "package.sh: cpack made no $deb" >&2; exit 1; }
  echo "package.sh: $deb"
  dpkg-deb -f "$deb" Package Version Architecture Depends

  # The unpacked program runs, says its version and converts a file.
  local check
  check=$(mktemp -d)
  trap 'rm -rf "$check"' RETURN
  dpkg-deb -x "$deb" "$check/root"
  local exe=$check/root/usr/bin/punktwolke
  local said
  said=$("$exe" --version)
  [ "$said" = "punktwolke $version" ] || { echo "package.sh: --version says '$said'" >&2; exit 1; }
  local sample=$root/../shared/e57/bunnyFloat.e57
  if [ ! -f "$sample" ]; then
    sample=$check/synth.e57
    "$exe" synth --points 20000 --scans 2 "$sample" >/dev/null
  fi
  "$exe" convert -d 100 -o "$check/out.gspc" "$sample" >/dev/null
  [ -s "$check/out.gspc" ] || { echo "package.sh: the packaged punktwolke wrote no point file" >&2; exit 1; }
  echo "package.sh: unpacked punktwolke says '$said' and converted $(basename "$sample") ($(stat -c %s "$check/out.gspc") bytes)"

  # Every dependency is a package of the configured (Debian) sources.
  local dep name
  for dep in $(dpkg-deb -f "$deb" Depends | tr ',' '\n' | sed 's/(.*)//; s/|.*//; s/ //g'); do
    name=${dep%%:*}
    apt-cache show "$name" >/dev/null 2>&1 || { echo "package.sh: dependency $name is not in the apt sources" >&2; exit 1; }
  done

  if [ "${PW_PACKAGE_INSTALL_CHECK:-0}" = 1 ]; then
    local SUDO=""; [ "$(id -u)" -eq 0 ] || SUDO="sudo"
    $SUDO dpkg -i "$deb"
    [ "$(/usr/bin/punktwolke --version)" = "punktwolke $version" ]
    $SUDO dpkg -r punktwolke >/dev/null
    echo "package.sh: dpkg -i installed it without further packages; removed again"
  fi
}

case "$(uname -s)" in
  Darwin) package_macos ;;
  Linux) package_deb ;;
  *) echo "package.sh: no package for $(uname -s)" >&2; exit 1 ;;
esac
