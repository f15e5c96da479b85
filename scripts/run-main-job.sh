#!/bin/sh
# The main job: the quillbox tool checks the library end to end, then makes
# a sample compound document and shows it with the document commands.
# Usage: scripts/run-main-job.sh [BUILD_DIR]; the sample goes to
# $QUILLBOX_RUN_DIR (default BUILD_DIR/run).
set -eu
build=${1:-build}
tool="$build/tools/quillbox/quillbox"
export QUILLBOX_REGISTRY="${QUILLBOX_REGISTRY:-$PWD/$build/run-registry.reg}"
out="${QUILLBOX_RUN_DIR:-$build/run}"

"$tool" version
"$tool" selfcheck

mkdir -p "$out"
sample="$out/sample.qbx"
rm -f "$sample"  # sample, like new, never overwrites a file

echo
echo "== quillbox sample $sample"
"$tool" sample "$sample"
echo
echo "== quillbox tree $sample"
"$tool" tree "$sample"
echo
echo "== quillbox tree --json $sample"
"$tool" tree --json "$sample"
echo
echo "== quillbox hexdump $sample Typed/Variants  (Long 42, Double 3.25, String, Date, Boolean as variant records)"
"$tool" hexdump "$sample" Typed/Variants
echo
echo "Point the same commands at your own compound files (.doc, .xls, .msg, ...):"
echo "  $tool tree FILE"
echo "  $tool hexdump FILE PATH"
echo "  $tool cat FILE PATH > bytes.bin"
echo "  $tool --help    (all commands; docs/tool.md)"
