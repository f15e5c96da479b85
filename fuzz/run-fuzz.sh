#!/bin/sh
# Builds the fuzzers with clang (their own build folder, with
# AddressSanitizer and UndefinedBehaviorSanitizer) and runs them one after
# the other on their seed corpora, splitting a bounded time between them:
# the compound-file fuzzer (cfb_fuzzer, corpus fuzz/corpus/cfb), the
# property-set fuzzer (propset_fuzzer, corpus fuzz/corpus/propset) and the
# Stream object's fuzzer (stream_values_fuzzer, corpus
# fuzz/corpus/stream_values). Inputs that crash, leak or hang are written to
# fuzz/crashes/ (the other fuzzers' ones to fuzz/crashes/<target>/) and the
# script fails; keep them there, the replay tests run them in every build.
#   fuzz/run-fuzz.sh                     60 seconds in all (20 each)
#   FUZZ_SECONDS=600 fuzz/run-fuzz.sh
#   FUZZ_TARGETS=propset fuzz/run-fuzz.sh  one of them, for all the time
#   FUZZ_BUILD=build-fuzz JOBS=2         where to build, how many jobs
set -eu
ROOT=$(cd "$(dirname "$0")/.." && pwd)
BUILD=${FUZZ_BUILD:-$ROOT/build-fuzz}
SECONDS_TO_RUN=${FUZZ_SECONDS:-60}
TARGETS=${FUZZ_TARGETS:-cfb propset stream_values}
JOBS=${JOBS:-$(nproc)}

set -- $TARGETS
SHARE=$((SECONDS_TO_RUN / $#))
[ "$SHARE" -ge 1 ] || SHARE=1

if [ ! -f "$BUILD/build.ninja" ]; then
  CC=clang CXX=clang++ cmake -S "$ROOT" -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DQUILLBOX_FUZZ=ON -DQUILLBOX_SANITIZE=ON -DQUILLBOX_BUILD_TESTS=OFF -DQUILLBOX_BUILD_TOOLS=OFF
fi
for target in $TARGETS; do
  cmake --build "$BUILD" -j "$JOBS" --target "${target}_fuzzer"
done

status=0
for target in $TARGETS; do
  seeds=$ROOT/fuzz/corpus/$target
  crashes=$ROOT/fuzz/crashes
  [ "$target" = cfb ] || crashes=$crashes/$target
  work_corpus=$BUILD/corpus-$target   # what the fuzzer adds stays out of the source tree
  mkdir -p "$work_corpus" "$crashes"
  echo "== fuzz: ${target}_fuzzer for $SHARE s =="
  ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:allocator_may_return_null=1} \
  UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1} \
  "$BUILD/fuzz/${target}_fuzzer" "$work_corpus" "$seeds" \
    -max_total_time="$SHARE" -timeout=5 -rss_limit_mb=2048 -max_len=262144 \
    -artifact_prefix="$crashes/" -print_final_stats=1 || status=1
done
exit $status
