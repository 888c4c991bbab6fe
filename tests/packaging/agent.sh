#!/bin/sh
# agent.sh CXX LIBDIR EXAMPLE OUT: builds the example agent with a plain compiler line, tests it in virtual time, and runs
# it on a card that is a file, until it has brought its chip up: a file's chip answers nothing, which reads as locked.
set -eu
cxx=$1 libdir=$2 example=$3 out=$4
export PKG_CONFIG_PATH="$libdir/pkgconfig" LD_LIBRARY_PATH="$libdir"
rm -rf "$out"
mkdir -p "$out"
build() {   # SOURCE PACKAGE NAME
   "$cxx" -std=c++20 -Wall -Wextra -Werror "$example/$1" $( pkg-config --cflags --libs "$2" ) -o "$out/$3"
}
build AgentTest.cpp clockpath-sim agent_test
"$out/agent_test"
build Agent.cpp clockpath agent
"$out/agent" "$out/card" >"$out/said" 2>&1 &
agent=$!
trap 'kill -9 $agent 2>/dev/null || true' EXIT
truncate -s 65536 "$out/arriving"
mv "$out/arriving" "$out/card"
for turn in $( seq 200 ); do
   if grep -q "ready, clock ready" "$out/said"; then break; fi
   sleep 0.1
done
cat "$out/said"
kill -TERM $agent
wait $agent
