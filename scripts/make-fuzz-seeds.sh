#!/usr/bin/env bash
# Regenerates the committed seed inputs of the fuzzing harnesses (fuzz/corpus/) from the
# library's writers and the tests' byte builders. Needs a fuzz build (make fuzz-build).
#   scripts/make-fuzz-seeds.sh [BUILD_DIR]
set -euo pipefail
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build_dir=${1:-$top/build-fuzz}
cmake --build "$build_dir" --target make_fuzz_seeds -j2 >/dev/null
rm -rf "$top/fuzz/corpus"
"$build_dir/fuzz/make_fuzz_seeds" "$top/fuzz/corpus"
find "$top/fuzz/corpus" -type f | wc -l | xargs echo "make-fuzz-seeds: files written:"
