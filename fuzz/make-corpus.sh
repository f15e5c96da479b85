#!/bin/sh
# Regenerates the fuzzers' seed corpora (kept in the repository):
# fuzz/corpus/cfb: small compound files of our own (cfb_seed_writer), files
#   written by gsf createole, and corrupted variants of both (corrupt.py);
# fuzz/corpus/propset: property-set streams of our own (propset_seed_writer),
#   streams Apache POI HPSF writes (the benchmark's W3 generator), and
#   damaged variants of both (corrupt_propset.py);
# fuzz/corpus/stream_values: hand-made programs and stream bytes for the
#   Stream fuzzer (stream_seeds.py).
# The writers come from a build made by run-fuzz.sh (or any build with
# -DQUILLBOX_FUZZ=ON).
#   fuzz/make-corpus.sh [path/to/cfb_seed_writer [path/to/propset_seed_writer]]
#   CORPORA=propset fuzz/make-corpus.sh     only one of them
set -eu
ROOT=$(cd "$(dirname "$0")/.." && pwd)
OUT=$ROOT/fuzz/corpus/cfb
WRITER=${1:-$ROOT/build-fuzz/fuzz/cfb_seed_writer}
PROPSET_OUT=$ROOT/fuzz/corpus/propset
PROPSET_WRITER=${2:-$(dirname "$WRITER")/propset_seed_writer}
POI_CP=/usr/share/java/poi.jar:/usr/share/java/commons-collections4.jar:/usr/share/java/commons-math3.jar:/usr/share/java/commons-codec.jar
POI_PEER=$ROOT/../shared/bench/peers/PoiPeer.java
TMP=$(mktemp -d)
trap 'rm -rf "$TMP"' EXIT
mkdir -p "$OUT" "$TMP/base" "$PROPSET_OUT" "$TMP/sets"
wanted() { case " ${CORPORA:-cfb propset stream_values} " in *" $1 "*) return 0;; esac; return 1; }

if wanted cfb; then
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
fi

if wanted propset; then
# Property sets: ours, then POI's (three W3 documents, their two streams each).
"$PROPSET_WRITER" "$TMP/sets"
mkdir -p "$TMP/poi"
javac -nowarn -d "$TMP/poi" -cp "$POI_CP" "$POI_PEER"
java -cp "$TMP/poi:$POI_CP" PoiPeer gen-w3 "$TMP/poi/w3" 3
/usr/bin/python3 - "$TMP/poi/w3" "$TMP/sets" <<'EOF'
import os, sys, olefile
src, out = sys.argv[1], sys.argv[2]
for doc in sorted(os.listdir(src)):
    ole = olefile.OleFileIO(os.path.join(src, doc))
    for stream, label in (("\x05SummaryInformation", "summary"), ("\x05DocumentSummaryInformation", "docsummary")):
        with open(os.path.join(out, "poi-%s-%s.propset" % (os.path.splitext(doc)[0], label)), "wb") as f:
            f.write(ole.openstream(stream).read())
EOF
cp "$TMP"/sets/* "$PROPSET_OUT/"
/usr/bin/python3 "$ROOT/fuzz/corrupt_propset.py" "$PROPSET_OUT" "$TMP"/sets/*
ls "$PROPSET_OUT" | wc -l
fi

if wanted stream_values; then
/usr/bin/python3 "$ROOT/fuzz/stream_seeds.py" "$ROOT/fuzz/corpus/stream_values"
fi
