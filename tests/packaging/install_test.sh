#!/usr/bin/env bash
# The project as others consume it: installed into a fresh prefix, the
# out-of-tree host (examples/installed_host) built against it with
# find_package and with pkg-config and run, and the installed tool run from
# the prefix (its plug-in and schema found beside it).
#   install_test.sh BUILD_DIR SOURCE_DIR WORKDIR ["COMPILER FLAGS"]
# The flags are those of the build (the sanitizers, in the sanitizer build),
# which a program linking its libraries needs too.
set -euo pipefail
build=$1 source=$2 work=$3 flags=${4:-}
rm -rf "$work" && mkdir -p "$work"
prefix=$work/prefix
fail() { echo "FAIL: $*"; exit 1; }

cmake --install "$build" --prefix "$prefix" > "$work/install.log" || fail "cmake --install failed"
for file in bin/inmem lib/libtylcore.so lib/libmofload.so lib/inmem/libinmem.so include/inmem/core/cim_value.h \
            include/inmem/include/cim_namespace.h include/inmem/mof/mof_loader.h lib/cmake/inmem/inmemConfig.cmake \
            lib/pkgconfig/inmem.pc share/inmem/inventory_schema.mof share/man/man1/inmem.1 \
            share/bash-completion/completions/inmem lib/systemd/system/inmem-serve.service; do
  [ -e "$prefix/$file" ] || fail "not installed: $file"
done
for library in lib/libtylcore.so lib/libmofload.so lib/inmem/libinmem.so; do
  readelf -d "$prefix/$library" | grep "SONAME.*\.so\.0\]" > /dev/null || fail "$library has no versioned SONAME"
done

# find_package(inmem CONFIG)
cmake -S "$source/examples/installed_host" -B "$work/host-cmake" -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_CXX_FLAGS="$flags" > "$work/host-cmake.log" 2>&1 || { cat "$work/host-cmake.log"; fail "find_package"; }
cmake --build "$work/host-cmake" > "$work/host-build.log" 2>&1 || { cat "$work/host-build.log"; fail "host build"; }
"$work/host-cmake/installed_host" | grep "^2 disks through Host_SystemDisk$" > /dev/null || fail "the find_package host"

# pkg-config
export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
plugin=$(pkg-config --variable=plugin inmem)
[ "$(realpath "$plugin")" = "$(realpath "$prefix/lib/inmem/libinmem.so")" ] || fail "pkg-config's plugin is $plugin"
# shellcheck disable=SC2046,SC2086
g++ -std=c++17 $flags -o "$work/host-pkg-config" "$source/examples/installed_host/installed_host.cc" \
  -DINMEM_PLUGIN="\"$plugin\"" $(pkg-config --cflags --libs inmem) -Wl,-rpath,"$prefix/lib" ||
  fail "the pkg-config build"
"$work/host-pkg-config" | grep "^2 disks through Host_SystemDisk$" > /dev/null || fail "the pkg-config host"

# The installed tool: its version, and the plug-in and schema beside it.
"$prefix/bin/inmem" --version | grep "^inmem [0-9]*\.[0-9]*\.[0-9]*$" > /dev/null || fail "inmem --version"
LD_DEBUG=files "$prefix/bin/inmem" inventory --root "$source/tests/tools/fixture-root" > "$work/inventory.txt" \
  2> "$work/ld-debug.txt" || fail "the installed inmem inventory"
grep -q "PELXA_Processor" "$work/inventory.txt" || fail "no processor in the inventory"
grep -q "file=$prefix/lib/inmem/libinmem.so" "$work/ld-debug.txt" || fail "the installed plug-in was not the one loaded"
grep -q "$prefix/bin/../lib/libtylcore.so.0" "$work/ld-debug.txt" || fail "the installed core was not the one loaded"

# The shell completion offers the commands, and each command's options; the
# manual page reads.
# shellcheck disable=SC1091
source "$prefix/share/bash-completion/completions/inmem"
COMP_WORDS=(inmem se) COMP_CWORD=1 && _inmem
[[ " ${COMPREPLY[*]} " == *" serve "* ]] || fail "completion of 'inmem se': ${COMPREPLY[*]}"
COMP_WORDS=(inmem -m x.mof serve --read) COMP_CWORD=4 && _inmem
[ "${COMPREPLY[*]}" = "--read-only" ] || fail "completion of serve --read: ${COMPREPLY[*]}"
MANWIDTH=80 man -l "$prefix/share/man/man1/inmem.1" 2> /dev/null | grep "^SYNOPSIS" > /dev/null || fail "the manual page"
echo "install test: passed"
