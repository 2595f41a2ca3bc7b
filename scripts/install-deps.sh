#!/usr/bin/env bash
# Installs, from Debian's packages, whatever the build, the product and the tests need and the
# machine lacks. Idempotent and non-interactive; run as root (or with sudo available).
set -euo pipefail

packages=(
  cmake g++ make pkg-config ccache
  rapidjson-dev libfmt-dev libboost1.81-dev libexpat1-dev zlib1g-dev
  libsqlite3-dev libsodium-dev libssl-dev libldap-dev liboath-dev libqrencode-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  curl ca-certificates
  # The package test: dpkg-shlibdeps and file.
  dpkg-dev file
  # Tests start real servers: a syslog collector (TCP, and TLS through its OpenSSL driver) for the
  # audit forwarding, slapd for directory logins, and openssl makes their test certificates.
  rsyslog rsyslog-openssl slapd ldap-utils openssl
  # A QR reader reads back the QR codes that the host draws for authenticator apps.
  zbar-tools
  # The shipped pages are compressed with zopfli (their minifiers come from npm).
  zopfli
)
# Node.js and npm build the shipped pages and run the browser tests. npm comes with some Node.js
# packages and conflicts with a separate npm package there, so each is installed only when its
# command is missing.
command -v node >/dev/null || packages+=(nodejs)
command -v npm >/dev/null || packages+=(npm)
# Extra packages named on the command line (e.g. the browser tests' chromium); --sanitizers adds
# what the presets fuzz and tsan need: Clang with its sanitizer and libFuzzer runtimes, and the
# symbolizer for readable reports.
for argument in "$@"; do
  case "$argument" in
    --sanitizers) packages+=(clang-14 libclang-rt-14-dev llvm-14) ;;
    *) packages+=("$argument") ;;
  esac
done

missing=()
for package in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$package")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

sudo=""
if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
echo "Installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
# A mirror with one broken index (for example of a foreign architecture added for cross builds)
# must not stop the install: the packages below come from the indexes that did load.
$sudo apt-get update -qq || echo "apt-get update reported errors; going on with the indexes it has" >&2
# Packages of daemons (slapd) must not start a system instance: the tests run their own one. A
# policy-rc.d that refuses every start is in place for the install only, unless the machine has one.
policy=/usr/sbin/policy-rc.d
own_policy=""
if [ ! -e "$policy" ]; then
  printf '#!/bin/sh\nexit 101\n' | $sudo tee "$policy" >/dev/null
  $sudo chmod 755 "$policy"
  own_policy=yes
fi
status=0
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null || status=$?
if [ -n "$own_policy" ]; then $sudo rm -f "$policy"; fi
exit "$status"
