#!/usr/bin/env bash
# Installs the build into a scratch prefix, then builds and runs the same C11
# client twice: once through find_package(Morvex), once through pkg-config.
set -euo pipefail
build=$1 source=$2
client=$source/tests/header_c11.c
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

cmake --install "$build" --prefix "$prefix" > "$work/install.log"
libdir=$(dirname "$(find "$prefix" -name 'libmorvex.so' | head -n 1)")

cmake -S "$source/tests/install/consumer" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$prefix" \
  -DCONSUMER_SOURCE="$client" > "$work/configure.log"
cmake --build "$work/cmake" > "$work/build.log"
LD_LIBRARY_PATH=$libdir "$work/cmake/consumer"
echo "find_package client: ok"

export PKG_CONFIG_PATH=$libdir/pkgconfig
cc -std=c11 -Wall -Wextra -Wpedantic -Werror "$client" -o "$work/pc_client" $(pkg-config --cflags --libs morvex)
LD_LIBRARY_PATH=$libdir "$work/pc_client"
echo "pkg-config client: ok"
