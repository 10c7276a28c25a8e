# shellcheck shell=bash
# Shared by the tools/*.sh scripts (sourced, not run): Debian package set-up
# and the CMake configure step used by every configuration.

# kvx_ensure_packages <package>...: installs the packages that are missing,
# running apt-get update once first. Needs root (or sudo without a password).
# KVX_SKIP_PACKAGES=1 skips the check on machines set up by other means.
kvx_ensure_packages() {
  if [ "${KVX_SKIP_PACKAGES:-0}" = 1 ]; then
    return 0
  fi
  if ! command -v dpkg-query >/dev/null 2>&1 ||
    ! command -v apt-get >/dev/null 2>&1; then
    echo "error: this script installs its tools with apt-get on Debian;" \
      "install them by hand ($*) and set KVX_SKIP_PACKAGES=1" >&2
    return 1
  fi
  local missing=() p
  for p in "$@"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null |
      grep -q 'install ok installed'; then
      missing+=("$p")
    fi
  done
  if [ ${#missing[@]} -eq 0 ]; then
    return 0
  fi
  local sudo=()
  if [ "$(id -u)" -ne 0 ]; then
    if command -v sudo >/dev/null 2>&1 && sudo -n true 2>/dev/null; then
      sudo=(sudo)
    else
      echo "error: missing packages: ${missing[*]}" >&2
      echo "       run as root, or: sudo apt-get install ${missing[*]}" >&2
      return 1
    fi
  fi
  echo "Installing missing packages: ${missing[*]}"
  if ! "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -qq ||
    ! "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq \
      --no-install-recommends "${missing[@]}"; then
    echo "error: could not install: ${missing[*]}" >&2
    return 1
  fi
}

# kvx_configure <build-dir> <cmake arguments>...: configures a build folder
# of the repository ($KVX_ROOT). Ninja is used for new folders when present;
# an existing folder keeps the generator it was made with.
kvx_configure() {
  local dir=$1
  shift
  local generator=()
  if [ ! -f "$dir/CMakeCache.txt" ] && command -v ninja >/dev/null 2>&1; then
    generator=(-G Ninja)
  fi
  cmake -S "$KVX_ROOT" -B "$dir" "${generator[@]}" "$@"
}

# kvx_ensure_wine: Wine with its 32-bit part, to run the Windows DLL. The
# i386 architecture is added first; its security index can lag behind the
# amd64 one, so 'apt-get update' exiting 100 is only a warning here, and the
# i386 packages come from the bookworm release itself.
kvx_ensure_wine() {
  if [ "${KVX_SKIP_PACKAGES:-0}" = 1 ] ||
    { command -v wine >/dev/null 2>&1 &&
      dpkg-query -W -f='${Status}' wine32:i386 2>/dev/null |
      grep -q 'install ok installed'; }; then
    return 0
  fi
  if [ "$(id -u)" -ne 0 ]; then
    echo "error: Wine is missing; as root: dpkg --add-architecture i386 &&" \
      "apt-get update && apt-get install -t bookworm wine wine32:i386" >&2
    return 1
  fi
  echo "Installing Wine (wine, wine32:i386)"
  dpkg --add-architecture i386 || return 1
  local rc=0
  DEBIAN_FRONTEND=noninteractive apt-get update -qq || rc=$?
  if [ "$rc" -ne 0 ]; then
    echo "warning: apt-get update exited $rc (i386 index lagging); going on" >&2
  fi
  if ! DEBIAN_FRONTEND=noninteractive apt-get install -y -qq \
    --no-install-recommends -t bookworm wine wine32:i386; then
    echo "error: could not install Wine" >&2
    return 1
  fi
}

# kvx_build_release_target <target>: builds a target of the Release
# configuration in build-bench/ (benchmarks on, tests and tools off), shared
# by the benchmark and churn runs.
kvx_build_release_target() {
  kvx_ensure_packages cmake ninja-build g++ libbenchmark-dev libeigen3-dev &&
    kvx_configure build-bench -DCMAKE_BUILD_TYPE=Release -DKVX_BUILD_BENCH=ON \
      -DKVX_BUILD_TESTS=OFF -DKVX_BUILD_TOOLS=OFF -DKVX_SANITIZE=OFF \
      >/dev/null &&
    cmake --build build-bench -j "${KVX_JOBS:-2}" --target "$1"
}
