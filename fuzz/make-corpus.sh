#!/bin/sh
# Regenerates the fuzzer's seed corpus in fuzz/corpus/cfb: small files of
# our own (cfb_seed_writer, from a build made by run-fuzz.sh or any build
# with -DQUILLBOX_FUZZ=ON), files written by gsf createole, and corrupted
# variants of both (corrupt.py). The result is kept in the repository.
#   fuzz/make-corpus.sh [path/to/cfb_seed_writer]
set -eu
ROOT=$(cd "$(dirname "$0")/.." && pwd)
OUT=$ROOT/fuzz/corpus/cfb
WRITER=${1:-$ROOT/build-fuzz/fuzz/cfb_seed_writer}
TMP=$(mktemp -d)
trap 'rm -rf "$TMP"' EXIT
mkdir -p "$OUT" "$TMP/base"

"$WRITER" "$TMP/base"

# gsf createole: a folder tree becomes storages and streams.
mkdir -p "$TMP/t/tree/sub" "$TMP/t/flat"
printf 'mini stream' > "$TMP/t/tree/mini"
: > "$TMP/t/tree/empty"
head -c 6000 /dev/zero | tr '\0' 'R' > "$TMP/t/tree/sub/regular"
printf 'x' > "$TMP/t/flat/one"
(cd "$TMP/t" && gsf createole "$TMP/base/gsf-tree.ole" tree >/dev/null && gsf createole "$TMP/base/gsf-flat.ole" flat >/dev/null)

cp "$TMP"/base/* "$OUT/"
/usr/bin/python3 "$ROOT/fuzz/corrupt.py" "$OUT" "$TMP"/base/*
ls "$OUT" | wc -l
