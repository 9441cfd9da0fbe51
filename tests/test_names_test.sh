#!/usr/bin/env bash
# Every test program lists its tests under readable names: a parameterised
# case names its parameter instead of showing its raw bytes, so that CTest's
# listing and a failure report say which case it is.
set -u
BUILD=${LLDP_BUILD_DIR:-$(cd "$(dirname "$0")/.." && pwd)/build}
progs=0 bad=0
while IFS= read -r p; do
  "$p" --gtest_list_tests >/dev/null 2>&1 || continue  # not a GoogleTest program
  progs=$((progs + 1))
  if "$p" --gtest_list_tests | grep -E -- '-byte object <' >&2; then
    echo "FAIL test_names: $(basename "$p") shows raw parameter bytes (add a PrintTo for the case)" >&2
    bad=1
  fi
done < <(find "$BUILD" -type f -perm -u+x -name '*_test' -not -path '*/CMakeFiles/*')
[ "$progs" -gt 0 ] || { echo "FAIL test_names: no test program found in $BUILD" >&2; exit 1; }
[ "$bad" = 0 ] || exit 1
echo "ok test_names: $progs test programs list readable names"
