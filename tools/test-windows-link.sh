#!/usr/bin/env bash
# The release as a host developer meets it. tools/package.sh makes the
# archives; each must hold what its README and the release promise. Then two
# Windows hosts are built from the unpacked win32 archive alone (its header,
# import libraries and DLL) and run under Wine:
#   msvc_host.exe   clang --target=i686-pc-windows-msvc, lld-link against
#                   KelvoCalibrate.lib and a kernel32 import library made from
#                   tests/windows/kernel32.def; no C runtime at all
#   mingw_host.exe  i686-w64-mingw32-g++ against libKelvoCalibrate.dll.a
# Both are tests/windows/link_host.cpp. Each must import the 105 exports and
# the extension at ordinal 106 from KelvoCalibrate.kvx and report no failed
# call.
# Work folder: build-package/windows-link/. Ends with the line
# "windows link: N passed, M failed" and exits non-zero on a failure.
set -uo pipefail

KVX_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$KVX_ROOT" || exit 1
# shellcheck source=tools/packages.sh
source "$KVX_ROOT/tools/packages.sh"
kvx_ensure_packages libeigen3-dev cmake ninja-build g++ g++-mingw-w64-i686 \
  binutils-mingw-w64-i686 clang llvm lld || exit 2
kvx_ensure_wine || exit 2

PASSED=0
FAILED=0
# check <what> <command>...
check() {
  local what=$1
  shift
  if "$@"; then
    PASSED=$((PASSED + 1))
    echo "ok: $what"
  else
    FAILED=$((FAILED + 1))
    echo "FAILED: $what"
  fi
}

# archive <top> <doc folder> <path>...: the unpacked archive <top> holds the
# paths, every file of docs/ under <doc folder>, and every path its README
# names.
archive() {
  local name=$1 top=$WORK/$1 docdir=$2 path missing=0
  shift 2
  # shellcheck disable=SC2046 # one word per path
  for path in README.md "$@" \
    $(cd docs && find . -type f | sed "s|^\./|$docdir/|") \
    $(grep -o '`[a-z]*/[^` ]*`' "$top/README.md" | tr -d '`' | sort -u); do
    if [ ! -e "$top/$path" ]; then
      echo "  $name lacks $path"
      missing=1
    fi
  done
  return "$missing"
}

# imports <exe>: the names it imports from KelvoCalibrate.kvx, sorted.
imports() {
  i686-w64-mingw32-objdump -p "$1" |
    awk '/DLL Name:/ { on = ($3 == "KelvoCalibrate.kvx"); next }
         on && /^\t[0-9a-f]+\t/ { print $NF }' | sort
}

# run_host <exe>: imports every export of the interface and the extension at
# 106 (later extensions are the import libraries' business, not the host's),
# runs under Wine, no failure.
run_host() {
  local exe=$1 output missing
  missing=$(comm -13 <(imports "$exe") <(awk '!/^#/ && $3 == "built" &&
    $1 <= 106 { print ($2 == "cpp" ? $5 : $4) }' src/api/exports.txt | sort))
  if [ -n "$missing" ]; then
    echo "  $exe does not import:" $missing
    return 1
  fi
  output=$(cd "$(dirname "$exe")" && WINEDEBUG=-all \
    WINEPREFIX="$KVX_ROOT/build-mingw/wineprefix" wine "$(basename "$exe")" \
    "Z:${SAMPLE//\//\\}" 2>&1)
  local rc=$?
  echo "$output" | sed 's/^/  /'
  [ "$rc" -eq 0 ] && grep -q '^link host: [1-9][0-9]* passed, 0 failed' <<<"$output"
}

ARCHIVES=$(tools/package.sh) || {
  echo "FAILED: tools/package.sh (logs in build-package/logs/)"
  exit 1
}
VERSION=$(sed -nE 's/^project\(KelvoCalibrate VERSION ([0-9.]+).*/\1/p' CMakeLists.txt)
WIN=KelvoCalibrate-$VERSION-win32
LINUX=KelvoCalibrate-$VERSION-linux-x86_64
WORK=$KVX_ROOT/build-package/windows-link
rm -rf "$WORK" && mkdir -p "$WORK"
check "archives named by the project version $VERSION" test "$ARCHIVES" = \
  "$KVX_ROOT/build-package/$WIN.zip"$'\n'"$KVX_ROOT/build-package/$LINUX.tar.gz"
(cd "$WORK" && cmake -E tar xf "../$WIN.zip" && cmake -E tar xf "../$LINUX.tar.gz")
check "$WIN.zip holds the release" archive "$WIN" docs \
  bin/KelvoCalibrate.kvx lib/KelvoCalibrate.lib lib/libKelvoCalibrate.dll.a \
  include/KelvoCalibrate.h lib/pkgconfig/KelvoCalibrate.pc \
  lib/cmake/KelvoCalibrate/KelvoCalibrateConfig.cmake examples/neon-1024.cal
check "$LINUX.tar.gz holds the release" archive "$LINUX" \
  share/doc/KelvoCalibrate lib/KelvoCalibrate.kvx include/KelvoCalibrate.h \
  lib/pkgconfig/KelvoCalibrate.pc \
  lib/cmake/KelvoCalibrate/KelvoCalibrateConfig.cmake \
  share/KelvoCalibrate/examples/neon-1024.cal

KIT=$WORK/$WIN
SAMPLE=$KIT/examples/neon-1024.cal
HOST=$KVX_ROOT/tests/windows/link_host.cpp
check "MSVC-ABI host links KelvoCalibrate.lib (lld-link, no C runtime)" bash -c "
  llvm-dlltool -m i386 -k -d tests/windows/kernel32.def -l '$WORK/kernel32.lib' &&
  clang++ --target=i686-pc-windows-msvc -std=c++20 -O1 -msse2 -fno-exceptions \
    -fno-rtti -Wall -Wextra -Werror -I'$KIT/include' -c '$HOST' \
    -o '$WORK/msvc_host.obj' &&
  lld-link /nologo /entry:HostEntry /subsystem:console /nodefaultlib \
    '$WORK/msvc_host.obj' '$KIT/lib/KelvoCalibrate.lib' '$WORK/kernel32.lib' \
    /out:'$KIT/bin/msvc_host.exe' &&
  test \"\$(i686-w64-mingw32-objdump -p '$KIT/bin/msvc_host.exe' |
    sed -n 's/.*DLL Name: //p' | sort | xargs)\" = 'KelvoCalibrate.kvx kernel32.dll'"
check "MSVC-ABI host under Wine" run_host "$KIT/bin/msvc_host.exe"
check "MinGW host links libKelvoCalibrate.dll.a" \
  i686-w64-mingw32-g++ -std=c++20 -O1 -Wall -Wextra -Werror -I"$KIT/include" \
  "$HOST" "$KIT/lib/libKelvoCalibrate.dll.a" -static-libgcc -static-libstdc++ \
  -o "$KIT/bin/mingw_host.exe"
check "MinGW host under Wine" run_host "$KIT/bin/mingw_host.exe"
# The same through the kit's CMake package and pkg-config file.
check "MinGW hosts through the CMake package and pkg-config file" bash -c "
  PKG_CONFIG_LIBDIR='$KIT/lib/pkgconfig' cmake -S tests/consumer \
    -B '$WORK/consumer' -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_TOOLCHAIN_FILE='$KVX_ROOT/cmake/toolchain-mingw-i686.cmake' \
    -DKelvoCalibrate_DIR='$KIT/lib/cmake/KelvoCalibrate' &&
  cmake --build '$WORK/consumer' &&
  cp '$KIT/bin/KelvoCalibrate.kvx' '$WORK/consumer/' && cd '$WORK/consumer' &&
  for exe in consumer_cmake.exe consumer_pkgconfig.exe; do
    WINEDEBUG=-all WINEPREFIX='$KVX_ROOT/build-mingw/wineprefix' wine \$exe ||
      exit 1
  done"

echo "windows link: $PASSED passed, $FAILED failed"
[ "$FAILED" -eq 0 ]
