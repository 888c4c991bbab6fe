#!/bin/sh
# needed.sh EXECUTABLE: needs the library, which registers its types, but nothing else that it does not call.
set -eu
readelf -d "$1" | grep NEEDED
readelf -d "$1" | grep -q 'NEEDED.*libclockpath.so.1'
! readelf -d "$1" | grep -q 'NEEDED.*libunused'
