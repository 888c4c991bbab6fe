#!/bin/sh
# command.sh TREE BIN: the installed command runs where the tree was moved to, with the libraries and examples in it.
set -eu
tree=$1 bin=$2
ldd "$bin/clockpath" | grep "$tree/.*libclockpath.so" 
ldd "$bin/clockpath" | grep "$tree/.*libvor.so"
"$bin/clockpath" simulate "$tree/share/clockpath/examples/demo.json"
