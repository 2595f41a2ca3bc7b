#!/usr/bin/env bash
# Cross-builds the product for the controller (32-bit ARM, hard-float) in build/armhf: the platform
# libraries, the module, the services and wbm-host, and its Debian package. Installs what is missing first: the cross
# toolchain and the armhf development packages of every dependency (Debian multiarch).
# Idempotent and non-interactive; run as root (or with sudo available).
#
#   scripts/build-armhf.sh               build the product (tests off, as the preset says)
#   scripts/build-armhf.sh --tests       also build the tests and run them under qemu-user
#   scripts/build-armhf.sh --install-only
#   -jN                                  build jobs (default 2)
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build_tests=OFF
install_only=false
jobs=2
for argument in "$@"; do
  case "$argument" in
    --tests) build_tests=ON ;;
    --install-only) install_only=true ;;
    -j*) jobs="${argument#-j}" ;;
    -h|--help) sed -n '2,10p' "$0" | sed 's/^# \{0,1\}//'; exit 0 ;;
    *) echo "Unknown option: $argument" >&2; exit 2 ;;
  esac
done

sudo=""
if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
native="$(dpkg --print-architecture)"

# Build machine tools (qemu-user runs the armhf tests) and the target's libraries. RapidJSON is
# headers only and architecture-independent. rsyslog and openssl are the audit tests' syslog collector
# and its test CA, run natively.
host_packages=(cmake make pkg-config ccache crossbuild-essential-armhf rapidjson-dev qemu-user zopfli
  rsyslog rsyslog-openssl openssl)
# Node.js and npm build the shipped pages; each only when its command is missing (see install-deps.sh).
command -v node >/dev/null || host_packages+=(nodejs)
command -v npm >/dev/null || host_packages+=(npm)
target_packages=(
  libfmt-dev libboost1.81-dev libexpat1-dev zlib1g-dev
  libsqlite3-dev libsodium-dev libssl-dev libldap-dev liboath-dev libqrencode-dev
  libgtest-dev libgmock-dev
)
wanted=("${host_packages[@]}")
for package in "${target_packages[@]}"; do wanted+=("$package:armhf"); done

installed() {
  dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q "install ok installed"
}

missing_packages() {
  local package
  for package in "${wanted[@]}"; do
    installed "$package" || echo "$package"
  done
}

# A library that both architectures need must be installed at one version on both (multiarch).
# When apt cannot find such a pair by itself (e.g. a security update whose armhf index could not
# be fetched), name the versions: the armhf copy at the build machine's version where the armhf
# index has it, otherwise both copies at the newest version that both architectures offer.
align_shared_libraries() {
  local closure package version multiarch common pins=()
  closure="$(apt-cache depends --recurse --no-recommends --no-suggests --no-conflicts --no-breaks \
    --no-replaces --no-enhances "${target_packages[@]/%/:armhf}" 2>/dev/null \
    | grep -E '^[a-z0-9][^ ]*:armhf$' | sed 's/:armhf$//' | sort -u)"
  # "package version" for every version each architecture offers (one apt-cache call each).
  local offered_native offered_target
  # shellcheck disable=SC2086
  offered_native="$(apt-cache madison $closure 2>/dev/null | awk -F'|' '{gsub(/ /, ""); print $1, $2}')"
  # shellcheck disable=SC2086
  offered_target="$(apt-cache madison ${closure//$'\n'/:armhf$'\n'}:armhf 2>/dev/null \
    | awk -F'|' '{gsub(/ /, ""); sub(/:armhf$/, "", $1); print $1, $2}')"
  # shellcheck disable=SC2086
  while read -r package version multiarch; do
    [ "$multiarch" = same ] || continue
    if grep -qxF "$package $version" <<<"$offered_target"; then
      pins+=("$package:armhf=$version")
      continue
    fi
    common="$(grep -xF -f <(grep "^$package " <<<"$offered_native") <<<"$offered_target" \
      | awk '{print $2}' | sort -V | tail -n 1 || true)"
    [ -n "$common" ] || continue
    pins+=("$package:$native=$common" "$package:armhf=$common")
  done < <(dpkg-query -W -f='${db:Status-Abbrev} ${Architecture} ${Package} ${Version} ${Multi-Arch}\n' \
    $closure 2>/dev/null | awk -v native="$native" '$1 == "ii" && $2 == native {print $3, $4, $5}')
  if [ ${#pins[@]} -gt 0 ]; then
    echo "Installing multiarch libraries at matching versions: ${pins[*]}"
    $sudo apt-get install -y -qq --no-install-recommends --allow-downgrades "${pins[@]}" >/dev/null
  fi
}

install_dependencies() {
  local missing
  missing="$(missing_packages)"
  [ -n "$missing" ] || return 0
  if ! dpkg --print-foreign-architectures | grep -qx armhf; then
    $sudo dpkg --add-architecture armhf
  fi
  # A mirror may fail on single indexes; what did arrive is still used (and checked below).
  $sudo apt-get update -qq || echo "apt-get update reported errors; going on with the indexes it has" >&2
  # shellcheck disable=SC2086
  if ! $sudo apt-get install -y -qq --no-install-recommends $missing >/dev/null; then
    align_shared_libraries
    # shellcheck disable=SC2086
    $sudo apt-get install -y -qq --no-install-recommends $(missing_packages) >/dev/null
  fi
}

install_dependencies
if $install_only; then exit 0; fi

build="$root/build/armhf"
(cd "$root" && cmake --preset armhf -DKYR_BUILD_TESTS="$build_tests" >/dev/null)
cmake --build "$build" -j "$jobs"
echo "Built for armhf in $build (bin/, lib/)"
# The controller's Debian package (dpkg-shlibdeps reads the armhf libraries' symbol files).
(cd "$build" && cpack -G DEB >/dev/null)
echo "Package: $(ls "$build"/*.deb)"
if [ "$build_tests" = ON ]; then
  # Each test runs under qemu-user, the emulator that the toolchain file names.
  (cd "$build" && ctest --output-on-failure -j "$jobs" --timeout 600)
fi
