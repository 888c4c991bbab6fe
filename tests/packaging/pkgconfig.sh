#!/bin/sh
# pkgconfig.sh CXX LIBDIR OUT: builds the consumers with a plain compiler line, and runs them.
set -eu
cxx=$1 libdir=$2 out=$3
here=$( dirname "$0" )/consumer
export PKG_CONFIG_PATH="$libdir/pkgconfig" LD_LIBRARY_PATH="$libdir"
mkdir -p "$out"

build() {   # NAME PACKAGE
   "$cxx" -std=c++20 -Wl,--as-needed "$here/$1.cpp" $( pkg-config --static --cflags --libs "$2" ) -o "$out/$1"
   "$out/$1"
}
build registry clockpath
if [ -e "$libdir/libclockpath.a" ]; then exit; fi
build framework vor
build virtualtime clockpath-sim

flags=$( pkg-config --cflags clockpath )
"$cxx" -std=c++2b $flags -fsyntax-only "$here/standard.cpp"
"$cxx" -std=c++20 -I"$here/theirs" $flags -fsyntax-only "$here/collision.cpp"
"$cxx" -std=c++20 $flags -I"$here/theirs" -fsyntax-only "$here/collision.cpp"
