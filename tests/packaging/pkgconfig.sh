#!/bin/sh
# pkgconfig.sh CXX LIBDIR OUT: builds the consumers with a plain compiler line, and runs them.
set -eu
cxx=$1 libdir=$2 out=$3
here=$( dirname "$0" )/consumer
export PKG_CONFIG_PATH="$libdir/pkgconfig" LD_LIBRARY_PATH="$libdir"
mkdir -p "$out"

build() {   # NAME PACKAGE
   "$cxx" -Wl,--as-needed "$here/$1.cpp" $( pkg-config --cflags --libs "$2" ) -o "$out/$1"
   "$out/$1"
}
build framework vor
build registry clockpath
build operation clockpath
