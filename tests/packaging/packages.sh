#!/bin/sh
# packages.sh SOURCES BUILD OUT: Debian's packages have what they should, lintian accepts them, and what they hold runs.
set -eu
sources=$1 build=$2 out=$3
export SOURCE_DATE_EPOCH=1700000000
"$sources/scripts/package" "$build" "$out"

holds() {   # PACKAGE FILE...
   package=$1
   shift
   dpkg-deb --contents "$out/$package"_*.deb >"$out/contents"
   for file; do
      if ! grep -q "[.]/$file\( ->.*\)\?$" "$out/contents"; then
         echo "$package does not hold $file" >&2
         exit 1
      fi
   done
}
holds libclockpath1 usr/lib/libclockpath.so.1 usr/lib/libvor.so.1 usr/share/doc/libclockpath1/copyright
holds libclockpath-dev usr/lib/libclockpath.so usr/lib/libclockpath_card.a usr/include/clockpath/sm/Max24305Sm.h \
   usr/lib/cmake/clockpath/clockpathConfig.cmake usr/share/pkgconfig/clockpath.pc
holds clockpath usr/bin/clockpath usr/share/man/man1/clockpath-agent.1.gz usr/share/clockpath/examples/demo.json \
   usr/share/bash-completion/completions/clockpath usr/share/zsh/vendor-completions/_clockpath \
   usr/share/fish/vendor_completions.d/clockpath.fish usr/share/doc/clockpath/command.md \
   usr/share/doc/clockpath/changelog.gz usr/lib/systemd/system/clockpath@.service \
   usr/lib/udev/rules.d/60-clockpath.rules usr/lib/sysusers.d/clockpath.conf usr/lib/tmpfiles.d/clockpath.conf

for package in libclockpath1 libclockpath-dev clockpath; do
   dpkg-deb --extract "$out/$package"_*.deb "$out/root"
   dpkg-deb --field "$out/$package"_*.deb Depends
done
"$out/root/usr/bin/clockpath" simulate "$out/root/usr/share/clockpath/examples/demo.json"
PKG_CONFIG_PATH=$out/root/usr/share/pkgconfig pkg-config --libs --cflags clockpath-card | grep "$out/root"
