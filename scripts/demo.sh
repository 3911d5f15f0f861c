#!/usr/bin/env bash
# The main job on the default sample: synthesise a building scan, import it at
# 25 % (point file + library part), and render the floor plan of the point file
# (and a sheet of plan, section, front and iso beside it).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc 2>/dev/null || echo 2)" --target punktwolke pw-lpxmlconverter
bin=build/release/src/punktwolke
converter=build/release/tools/lpxmlconverter/pw-lpxmlconverter
out=out/demo
rm -rf "$out" && mkdir -p "$out"
"$bin" synth "$out/Musterhaus.e57" --points 2000000 --scans 4 --seed 1
"$bin" import "$out/Musterhaus.e57" --density 25 --converter "$converter"
"$bin" preview "$out/Musterhaus/Musterhaus_data.gspc" -o "$out/Musterhaus.png" --view plan
"$bin" preview "$out/Musterhaus/Musterhaus_data.gspc" -o "$out/Musterhaus_sheet.png" --view sheet
echo
echo "Sample scan:    $out/Musterhaus.e57"
echo "Point file:     $out/Musterhaus/Musterhaus_data.gspc"
echo "Library part:   $out/Musterhaus/Musterhaus.gsm (made by the stand-in converter)"
echo "Floor plan:     $out/Musterhaus.png (cut 1.1 m above the floor)"
echo "Sheet:          $out/Musterhaus_sheet.png (plan, section, front, iso)"
