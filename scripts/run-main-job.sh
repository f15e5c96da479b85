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
echo "== quillbox values $sample Typed/Variants  (the same records read back with Stream.Read)"
"$tool" values "$sample" Typed/Variants
echo
# One text, written with WriteString in several framings and code pages:
# each stream is read back with the settings it was written with.
strings=Typed/Strings
echo "== quillbox string $sample $strings/Utf16LengthFirst  (UTF-16, 4-byte count first: the defaults)"
"$tool" string "$sample" "$strings/Utf16LengthFirst"
echo "== quillbox string $sample $strings/Cp1252NullTerminated --encoding 1252 --framing zero"
"$tool" string "$sample" "$strings/Cp1252NullTerminated" --encoding 1252 --framing zero
echo "== quillbox string $sample $strings/Cp437Fixed12 --encoding 437 --framing fixed --count 12"
"$tool" string "$sample" "$strings/Cp437Fixed12" --encoding 437 --framing fixed --count 12
echo
echo "Point the same commands at your own compound files (.doc, .xls, .msg, ...):"
echo "  $tool tree FILE"
echo "  $tool hexdump FILE PATH"
echo "  $tool cat FILE PATH > bytes.bin"
echo "  $tool values FILE PATH    (a stream of variant records)"
echo "  $tool string FILE PATH --encoding CODEPAGE --framing length|zero|fixed"
echo "  $tool --help    (all commands; docs/tool.md)"
