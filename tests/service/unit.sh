#!/bin/sh
# The unit of the service: what systemd says of it, and how it rates what the service may do. Exit code 77 where there is
# no systemd to ask.
set -eu
unit=$1
command -v systemd-analyze >/dev/null || { echo "skipped: there is no systemd-analyze"; exit 77; }
folder=$( mktemp -d )
trap 'rm -rf "$folder"' EXIT

# The command need not be installed here.
sed 's|^ExecStart=[^ ]*|ExecStart=/bin/true|' "$unit" > "$folder/clockpath@.service"
said=$( systemd-analyze verify --man=no "$folder/clockpath@card.service" 2>&1 ) || { echo "$said"; exit 1; }
# It also speaks of other units that this machine has.
if echo "$said" | grep -F clockpath; then exit 1; fi

# 30 of 100 is a rating of 3.0.
rated=$( systemd-analyze security --offline=true --threshold=30 --no-pager "$unit" ) || { echo "$rated"; exit 1; }
echo "$rated" | tail -1

# A watchdog that a sleep of the machines could outlast would end a service that is well.
watchdog=$( sed -n 's/^WatchdogSec=//p' "$unit" )
test "$watchdog" -ge 10
stop=$( sed -n 's/^TimeoutStopSec=//p' "$unit" )
own=$( sed -n 's/.*stopSeconds = \([0-9]*\);.*/\1/p' "$( dirname "$0" )/../../service/StopSignals.h" )
test "$stop" -gt "$own"
