#!/usr/bin/env bash
# Checks that pw_addon_module -- everything the add-on bundle holds apart from
# the binding to the host's SDK, linked the way the bundle is -- needs nothing
# at run time but the C and C++ runtime:
#   - readelf -d lists only libc, libm, libstdc++, libgcc_s and the loader;
#   - every undefined dynamic symbol comes, versioned, from that runtime, and
#     none belongs to pugixml or a CRC library;
#   - no pugixml symbol is exported (the host may have its own).
# Usage: scripts/check-addon-module.sh [BUILD_DIR]   (default build/release,
# whose preset sets PW_SELF_CONTAINED=ON; the target is built if needed).
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/release}
if [ ! -f "$build/CMakeCache.txt" ]; then
  cmake --preset release >/dev/null
fi
grep -q '^PW_SELF_CONTAINED:BOOL=ON' "$build/CMakeCache.txt" || {
  echo "check-addon-module: $build is not configured with -DPW_SELF_CONTAINED=ON" >&2; exit 1; }
cmake --build "$build" --target pw_addon_module >/dev/null
module="$build/src/pw_addon_module.so"
fail=0

needed=$(readelf -d "$module" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
for lib in $needed; do
  case "$lib" in
    libc.so.*|libm.so.*|libstdc++.so.*|libgcc_s.so.*|ld-linux*.so.*) ;;
    *) echo "check-addon-module: needs $lib"; fail=1 ;;
  esac
done

# nm -D prints "U name@VERSION" for undefined symbols, "w name" for weak ones;
# with -C, names demangled. A pugixml symbol is one in namespace pugi.
pugi_symbol='^ *[[:alnum:]]* *[A-Za-z] ((vtable|typeinfo|typeinfo name) for )?pugi::'
undefined=$(nm -D --undefined-only "$module")
if nm -D -C --undefined-only "$module" | grep -E "$pugi_symbol" || grep -i crc <<<"$undefined"; then
  echo "check-addon-module: pugixml or CRC symbols are left undefined (above)"; fail=1
fi
if grep -E '^ +U ' <<<"$undefined" | grep -Ev '@(GLIBC|GLIBCXX|CXXABI|GCC)_[0-9.]+$'; then
  echo "check-addon-module: undefined symbols from outside the C/C++ runtime (above)"; fail=1
fi
if nm -D -C --defined-only "$module" | grep -E "$pugi_symbol"; then
  echo "check-addon-module: pugixml symbols are exported (above)"; fail=1
fi

if [ "$fail" -ne 0 ]; then
  exit 1
fi
# shellcheck disable=SC2086  # one line of names
echo "check-addon-module: $module needs only:" $needed
