#!/bin/sh
# The main job: the quillbox tool checks the library end to end.
set -eu
build=${1:-build}
export QUILLBOX_REGISTRY="${QUILLBOX_REGISTRY:-$PWD/$build/run-registry.reg}"
"$build/tools/quillbox/quillbox" version
"$build/tools/quillbox/quillbox" selfcheck
