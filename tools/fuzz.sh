#!/bin/sh
# Runs every libFuzzer target of a fuzz build for a while under ASan + UBSan.
# Usage: tools/fuzz.sh BUILD_DIR LIMIT [NAME_PATTERN]
#   LIMIT is either seconds per target (exploring: random seed, and the corpus
#   grows in BUILD_DIR/corpus/ from run to run) or runs=N (for CI: seed 1 and N
#   inputs per target starting from the checked-in seeds only, so the length of
#   the run does not depend on the machine's speed).
#   The targets are the executables BUILD_DIR/fuzz/fuzz_* (NAME_PATTERN, a shell
#   pattern such as 'fuzz_datum*', picks some); each starts from its seeds in
#   fuzz/corpus/<target>/, uses fuzz/<target>.dict when present, and writes a
#   crashing input to BUILD_DIR/findings/. Exits non-zero when any target found
#   something.
set -u
build=${1:?build directory}
limit=${2:?seconds or runs=N per target}
case "$limit" in
runs=*) limit_flags="-runs=${limit#runs=} -seed=1" ;;
*) limit_flags="-max_total_time=$limit" ;;
esac
pattern=${3:-fuzz_*}
root=$(cd "$(dirname "$0")/.." && pwd)
mkdir -p "$build/corpus" "$build/findings" "$build/logs" "$build/tmp"
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
export TMPDIR="$(cd "$build/tmp" && pwd)"
failed=""
found=0
for target in "$build"/fuzz/$pattern; do
    [ -x "$target" ] && [ -f "$target" ] || continue
    name=$(basename "$target")
    found=$((found + 1))
    work="$build/corpus/$name"
    case "$limit" in runs=*) rm -rf "$work" ;; esac
    mkdir -p "$work"
    set -- "$work"
    [ -d "$root/fuzz/corpus/$name" ] && set -- "$@" "$root/fuzz/corpus/$name"
    dict=""
    [ -f "$root/fuzz/$name.dict" ] && dict="-dict=$root/fuzz/$name.dict"
    log="$build/logs/$name.log"
    # shellcheck disable=SC2086
    "$target" $limit_flags -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
        -artifact_prefix="$build/findings/$name-" $dict "$@" >"$log" 2>&1
    status=$?
    runs=$(grep -o 'stat::number_of_executed_units: *[0-9]*' "$log" | grep -o '[0-9]*$')
    cov=$(grep -o 'cov: [0-9]*' "$log" | tail -n 1 | grep -o '[0-9]*$')
    ft=$(grep -o 'ft: [0-9]*' "$log" | tail -n 1 | grep -o '[0-9]*$')
    printf '%-28s status %d  runs %s  cov %s  ft %s\n' "$name" "$status" "${runs:-?}" "${cov:-?}" "${ft:-?}"
    if [ "$status" -ne 0 ]; then
        failed="$failed $name"
        tail -n 40 "$log" >&2
    fi
done
if [ "$found" -eq 0 ]; then
    echo "fuzz: no targets matching $pattern in $build/fuzz" >&2
    exit 1
fi
if [ -n "$failed" ]; then
    echo "fuzz: findings in:$failed (inputs in $build/findings)" >&2
    exit 1
fi
echo "fuzz: $found targets, $limit each, no findings"
