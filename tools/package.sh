#!/usr/bin/env bash
# Builds the release archives of KelvoCalibrate into build-package/:
#   KelvoCalibrate-<version>-win32.zip           32-bit Windows: the DLL,
#       KelvoCalibrate.lib (MSVC) and libKelvoCalibrate.dll.a (MinGW-w64)
#   KelvoCalibrate-<version>-linux-x86_64.tar.gz  x86-64 Linux: the module
# each with the header, the CMake package and pkg-config file, the reference
# pages with their C examples, the sample data and a README for host
# developers (tools/package/README-<platform>.md) at the top.
#
# The version is the CMake project version (project() in CMakeLists.txt); it
# names the archives and nothing else: the module's own version query reports
# no version, as hosts of the interface expect.
#
# Builds build-mingw/ (as tools/test-all.sh configures it) and
# build-package/linux/ (Release, the module alone) when needed, installs
# each into build-package/stage/ and archives the result. Prints the archive
# paths, one per line, last. Environment: KVX_JOBS (default 2),
# KVX_SKIP_PACKAGES=1.
set -euo pipefail

KVX_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$KVX_ROOT"
# shellcheck source=tools/packages.sh
source "$KVX_ROOT/tools/packages.sh"
JOBS=${KVX_JOBS:-2}
OUT=$KVX_ROOT/build-package

kvx_ensure_packages libeigen3-dev cmake ninja-build g++ g++-mingw-w64-i686 \
  binutils-mingw-w64-i686 clang llvm

# build <dir> <cmake arguments>...: a Release build of the module.
build() {
  local dir=$1
  shift
  kvx_configure "$dir" -DCMAKE_BUILD_TYPE=Release "$@" \
    >"$OUT/logs/configure-$(basename "$dir").log"
  cmake --build "$dir" -j "$JOBS" --target KelvoCalibrate \
    >"$OUT/logs/build-$(basename "$dir").log"
}

# version <dir>: the project version a configured build folder was made with.
version() {
  sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$1/CMakeCache.txt"
}

# stage <dir> <platform> <version>: installs a build into
# stage/KelvoCalibrate-<version>-<platform>/ with the README on top and
# prints that folder's name.
stage() {
  local dir=$1 platform=$2 version=$3
  local name=KelvoCalibrate-$version-$platform
  rm -rf "$OUT/stage/$name"
  cmake --install "$dir" --prefix "$OUT/stage/$name" --strip \
    >"$OUT/logs/install-$platform.log"
  sed "s/@VERSION@/$version/g" "$KVX_ROOT/tools/package/README-$platform.md" \
    >"$OUT/stage/$name/README.md"
  echo "$name"
}

mkdir -p "$OUT/logs" "$OUT/stage"
build "$KVX_ROOT/build-mingw" \
  -DCMAKE_TOOLCHAIN_FILE="$KVX_ROOT/cmake/toolchain-mingw-i686.cmake"
build "$OUT/linux" -DKVX_BUILD_TESTS=OFF -DKVX_BUILD_TOOLS=OFF \
  -DKVX_BUILD_BENCH=OFF -DKVX_SANITIZE=OFF
VERSION=$(version "$OUT/linux")
if [ -z "$VERSION" ] || [ "$VERSION" != "$(version "$KVX_ROOT/build-mingw")" ]; then
  echo "error: no single project version in the build folders" >&2
  exit 1
fi

win=$(stage "$KVX_ROOT/build-mingw" win32 "$VERSION")
linux=$(stage "$OUT/linux" linux-x86_64 "$VERSION")
rm -f "$OUT/$win.zip" "$OUT/$linux.tar.gz"
(
  cd "$OUT/stage"
  cmake -E tar cf "$OUT/$win.zip" --format=zip "$win"
  cmake -E tar czf "$OUT/$linux.tar.gz" "$linux"
)
echo "$OUT/$win.zip"
echo "$OUT/$linux.tar.gz"
