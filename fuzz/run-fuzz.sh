#!/bin/sh
# Builds the compound-file fuzzer with clang (its own build folder, with
# AddressSanitizer and UndefinedBehaviorSanitizer) and runs it for a bounded
# time on the seed corpus. Inputs that crash, leak or hang are written to
# fuzz/crashes/ and the script fails; keep them there, the replay test runs
# them in every build.
#   fuzz/run-fuzz.sh                 60 seconds
#   FUZZ_SECONDS=600 fuzz/run-fuzz.sh
#   FUZZ_BUILD=build-fuzz JOBS=2     where to build, how many jobs
set -eu
ROOT=$(cd "$(dirname "$0")/.." && pwd)
BUILD=${FUZZ_BUILD:-$ROOT/build-fuzz}
SECONDS_TO_RUN=${FUZZ_SECONDS:-60}
JOBS=${JOBS:-$(nproc)}
SEEDS=$ROOT/fuzz/corpus/cfb
CRASHES=$ROOT/fuzz/crashes
WORK_CORPUS=$BUILD/corpus-cfb   # what the fuzzer adds stays out of the source tree

if [ ! -f "$BUILD/build.ninja" ]; then
  CC=clang CXX=clang++ cmake -S "$ROOT" -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DQUILLBOX_FUZZ=ON -DQUILLBOX_SANITIZE=ON -DQUILLBOX_BUILD_TESTS=OFF -DQUILLBOX_BUILD_TOOLS=OFF
fi
cmake --build "$BUILD" -j "$JOBS" --target cfb_fuzzer

mkdir -p "$WORK_CORPUS" "$CRASHES"
echo "== fuzz: cfb_fuzzer for $SECONDS_TO_RUN s =="
ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:allocator_may_return_null=1} \
UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1} \
"$BUILD/fuzz/cfb_fuzzer" "$WORK_CORPUS" "$SEEDS" \
  -max_total_time="$SECONDS_TO_RUN" -timeout=5 -rss_limit_mb=2048 -max_len=262144 \
  -artifact_prefix="$CRASHES/" -print_final_stats=1
