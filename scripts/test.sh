#!/usr/bin/env bash
# Builds and runs every suite in every variant: normal, ASan+UBSan, TSan, 32-bit ARM under
# qemu-arm, then the bounded fuzz runs. Fails if anything fails.
#   scripts/test.sh                 everything
#   scripts/test.sh normal arm      only the named variants (fuzz is a variant too)
set -uo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
"$root/scripts/setup.sh" all || exit 1

variants=("$@")
[ ${#variants[@]} -gt 0 ] || variants=(normal asan tsan arm fuzz)

export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1:detect_stack_use_after_return=1"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:suppressions=$root/tests/tsan.supp"

passed=0
failed=0
failures=()
record() {  # name status
  if [ "$2" -eq 0 ]; then passed=$((passed + 1)); else failed=$((failed + 1)); failures+=("$1"); fi
}

for v in "${variants[@]}"; do
  echo "==== $v: build"
  if ! "$root/scripts/build.sh" "$v"; then record "$v build" 1; continue; fi
  if [ "$v" = fuzz ]; then
    "$root/scripts/fuzz.sh" "${GPSDR_FUZZ_SECONDS:-60}"
    record "fuzz" $?
    continue
  fi
  echo "==== $v: test"
  # The lifecycle stress runs where it can find something: under the two sanitizers.
  filter=()
  case "$v" in asan|tsan) ;; *) filter=(-LE stress) ;; esac
  ctest --test-dir "build/$v" --output-on-failure -j 2 "${filter[@]}"
  record "$v tests" $?
done

echo
[ ${#failures[@]} -eq 0 ] || echo "failed: ${failures[*]}"
echo "test.sh: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
