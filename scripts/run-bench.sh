#!/bin/bash
# The compound-file benchmark: builds our peer and the open-and-list
# benchmark, runs the shared peer harness (/work/shared/bench/run-peers.sh)
# with libgsf and us, which ends with the dd baseline, then prints our
# figures as ratios against libgsf and dd measured in the same run; last,
# the Stream object benchmark (ratios against the platform stream and
# against itself, from its own run).
# W3 (the metadata scan of 2,000 .doc files) reads files POI HPSF writes
# (the harness's PoiPeer gen-w3); they are made here first and kept.
#   scripts/run-bench.sh [build-folder]      (default: build)
#   BENCH_STATE=/tmp/...                     where the harness works
#   BENCH_ONLY=W3 scripts/run-bench.sh       only W3, libgsf's and ours (seconds, not minutes)
#   BENCH_ONLY=stream scripts/run-bench.sh   only the Stream object benchmark (about two minutes)
set -eu
ROOT=$(cd "$(dirname "$0")/.." && pwd)
BUILD=${1:-build}
case $BUILD in /*) ;; *) BUILD=$ROOT/$BUILD;; esac
HARNESS=${QUILLBOX_BENCH_HARNESS:-$ROOT/../shared/bench/run-peers.sh}
STATE=${BENCH_STATE:-/tmp/quillbox-peer-bench}
RESULTS=$STATE/results
PY=/usr/bin/python3

# The Stream object benchmark needs nothing of the harness; its program
# prints Google Benchmark's report and then its own ratios.
run_stream_bench() {
  echo "== Stream object =="
  mkdir -p "$RESULTS"
  QUILLBOX_BENCH_DIR=$STATE "$BUILD/bench/bench_stream_object" |
    tee "$RESULTS/stream-object-$(date -u +%Y-%m-%dT%H%M%S).txt"
}
if [ "${BENCH_ONLY:-}" = stream ]; then
  [ -f "$BUILD/build.ninja" ] || cmake -S "$ROOT" -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
  cmake --build "$BUILD" -j "${JOBS:-$(nproc)}" --target bench_stream_object
  run_stream_bench
  exit 0
fi

# What the harness needs even for the libgsf peer alone: the libgsf peer is
# compiled against libgsf and zlib, and the harness also compiles its Java
# peer and makes its W3 files with Apache POI.
packages="libgsf-1-dev zlib1g-dev pkg-config gcc libapache-poi-java default-jdk-headless nodejs npm python3-olefile"
missing=""
for p in $packages; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing="$missing $p"
  fi
done
# A JDK or node that came another way is fine.
command -v javac >/dev/null && missing=$(echo "$missing" | sed 's/ default-jdk-headless//')
command -v node >/dev/null && command -v npm >/dev/null && missing=$(echo "$missing" | sed 's/ nodejs//; s/ npm//')
if [ -n "$(echo "$missing" | tr -d ' ')" ]; then
  echo "installing:$missing"
  SUDO=""
  [ "$(id -u)" -ne 0 ] && SUDO="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get update -qq
  # shellcheck disable=SC2086
  $SUDO apt-get install -y -qq --no-install-recommends $missing
fi

[ -f "$BUILD/build.ninja" ] || cmake -S "$ROOT" -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build "$BUILD" -j "${JOBS:-$(nproc)}" --target quillbox_peer bench_open_listing bench_stream_object

# ---- W3's files, made as the harness makes them ----
PEERS_DIR=$(dirname "$HARNESS")/peers
POI_CP=/usr/share/java/poi.jar:/usr/share/java/commons-collections4.jar:/usr/share/java/commons-math3.jar:/usr/share/java/commons-codec.jar
W3_FILES=$($PY -c 'import json,sys; print(json.load(open(sys.argv[1]))["W3"]["files"])' "$PEERS_DIR/workload.json")
W3_DIR=$STATE/work/w3   # the harness's $WORK/w3: it finds them there and keeps them
mkdir -p "$RESULTS" "$STATE/build/poi"
if [ "$(ls "$W3_DIR" 2>/dev/null | wc -l)" != "$W3_FILES" ]; then
  echo "generating $W3_FILES W3 files with POI HPSF"
  javac -nowarn -d "$STATE/build/poi" -cp "$POI_CP" "$PEERS_DIR/PoiPeer.java"
  rm -rf "$W3_DIR"
  java -cp "$STATE/build/poi:$POI_CP" PoiPeer gen-w3 "$W3_DIR" "$W3_FILES"
fi

if [ "${BENCH_ONLY:-}" = W3 ]; then
  gcc -O2 -Wall -o "$STATE/build/gsf_peer" "$PEERS_DIR/gsf_peer.c" $(pkg-config --cflags --libs libgsf-1) -lz
  out=$RESULTS/w3-$(date -u +%Y-%m-%dT%H%M%S).jsonl
  sync
  # Each peer twice, the second (warm page cache, like the harness's runs) kept.
  for peer in "$STATE/build/gsf_peer" "$BUILD/bench/quillbox_peer"; do
    "$peer" W3 "$W3_DIR" "$W3_FILES" > /dev/null
    "$peer" W3 "$W3_DIR" "$W3_FILES" | tee -a "$out"
  done
  $PY "$ROOT/scripts/bench_table.py" "$out"
  exit 0
fi

before=$(ls "$RESULTS" 2>/dev/null | sort)
BENCH_PEERS="libgsf" BENCH_EXTRA_PEERS="quillbox=$BUILD/bench/quillbox_peer" BENCH_STATE="$STATE" \
  BENCH_RESULTS="$RESULTS" bash "$HARNESS"
out=""
for f in $(ls "$RESULTS" | sort); do
  echo "$before" | grep -qx "$f" || out=$RESULTS/$f
done
[ -n "$out" ] || { echo "run-bench: the harness wrote no results" >&2; exit 1; }

echo "== open and list 100,000 elements =="
listing=$STATE/open-listing.json
QUILLBOX_BENCH_DIR=$STATE "$BUILD/bench/bench_open_listing" --benchmark_format=json > "$listing"

$PY "$ROOT/scripts/bench_table.py" "$out" "$listing"

run_stream_bench
