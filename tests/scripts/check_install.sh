#!/bin/sh
# Installs the built library into a scratch prefix, then builds and runs a
# small outside program that finds it with find_package(Quillbox) and, a
# second time, with pkg-config.
set -eu
build_dir=$1
work=$2
src_dir=$(cd "$(dirname "$0")/../install_consumer" && pwd)
rm -rf "$work"
mkdir -p "$work"
cmake --install "$build_dir" --prefix "$work/prefix" > "$work/install.log"
cmake -S "$src_dir" -B "$work/consumer" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" > "$work/configure.log"
cmake --build "$work/consumer" > "$work/build.log"
LD_LIBRARY_PATH="$work/prefix/lib" "$work/consumer/consumer"
libdir=$(ls -d "$work"/prefix/lib*/pkgconfig | head -n1)
PKG_CONFIG_PATH="$libdir" c++ -o "$work/consumer_pc" "$src_dir/main.cc" \
  $(PKG_CONFIG_PATH="$libdir" pkg-config --cflags --libs quillbox)
LD_LIBRARY_PATH="$(dirname "$libdir")" "$work/consumer_pc"
