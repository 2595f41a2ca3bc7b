#!/usr/bin/env bash
# Builds the Debian package from a build tree, unpacks it into a fresh root and starts the systemd
# unit's command line by hand against the unpacked files (systemd itself does not run). Checks the
# package's declared dependencies, the unit, and that the installed host answers on loopback.
#
#   InstallPackageAndStart.sh BUILD_DIR ARCHITECTURE [EMULATOR...]
# ARCHITECTURE is the Debian architecture the build targets; a cross build's host runs through the
# EMULATOR command (qemu-user).
set -euo pipefail
build="$(cd "$1" && pwd)"
architecture="$2"
emulator=("${@:3}")
work="$(mktemp -d)"
host_pid=""
cleanup() {
  if [ -n "$host_pid" ]; then kill "$host_pid" 2>/dev/null || true; wait "$host_pid" 2>/dev/null || true; fi
  rm -rf "$work"
}
trap cleanup EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

cpack --config "$build/CPackConfig.cmake" -G DEB -B "$work/out" >"$work/cpack.log" 2>&1 || { cat "$work/cpack.log" >&2; fail "cpack"; }
package="$(ls "$work"/out/*.deb)"

# Control data: the target's architecture, and the system libraries the programs use, nothing else.
[ "$(dpkg-deb -f "$package" Architecture)" = "$architecture" ] || fail "architecture is not $architecture"
depends="$(dpkg-deb -f "$package" Depends)"
echo "Depends: $depends"
for wanted in libsqlite3 libsodium libfmt libexpat1; do
  grep -q "$wanted" <<<"$depends" || fail "$wanted missing from Depends"
done
for unwanted in libxml2 libicu libbrotli libsystemd libboost; do
  if grep -q "$unwanted" <<<"$depends"; then fail "$unwanted in Depends"; fi
done
control_files="$(dpkg-deb --ctrl-tarfile "$package" | tar -t)"
grep -qx './postinst' <<<"$control_files" || fail "no postinst (system user)"

root="$work/root"
dpkg -x "$package" "$root"
unit="$root/usr/lib/systemd/system/wbm-host.service"
[ -f "$unit" ] || fail "no systemd unit"
for setting in Type=notify StateDirectory=wbm-host User=wbm-host ProtectSystem=strict ProtectHome=yes \
  NoNewPrivileges=yes PrivateTmp=yes AmbientCapabilities=CAP_NET_BIND_SERVICE \
  CapabilityBoundingSet=CAP_NET_BIND_SERVICE Restart=on-failure RestartForceExitStatus=75; do
  grep -qx "$setting" "$unit" || fail "unit lacks $setting"
done
# Where systemd's tools are installed, the unit must parse without a complaint (its program taken
# from the unpacked root).
if command -v systemd-analyze >/dev/null; then
  mkdir -p "$work/verify"
  sed "s|^ExecStart=/|ExecStart=$root/|" "$unit" >"$work/verify/wbm-host.service"
  complaints="$(systemd-analyze verify "$work/verify/wbm-host.service" 2>&1)" || fail "systemd-analyze verify: $complaints"
  [ -z "$complaints" ] || fail "systemd-analyze verify: $complaints"
fi

# The installed programs find their libraries beside them, never in the build tree.
for file in "$root"/usr/lib/wbm-host/bin/* "$root"/usr/lib/wbm-host/lib/*; do
  if readelf -d "$file" | grep -q "$build"; then fail "$file refers to the build tree"; fi
done

# The unit's command line, with the package's absolute paths moved into the unpacked root, the state
# directory into the work folder and the address onto a free loopback port.
exec_start="$(sed -n 's/^ExecStart=//p' "$unit")"
read -r -a words <<<"$exec_start"
command=()
for ((i = 0; i < ${#words[@]}; i++)); do
  word="${words[$i]}"
  case "$word" in
    '$WBM_HOST_OPTIONS') continue ;;
    --listen) command+=("$word" "127.0.0.1:0"); i=$((i + 1)); continue ;;
    /var/lib/wbm-host) word="$work/state" ;;
    /*) word="$root$word" ;;
  esac
  command+=("$word")
done
[ -x "${command[0]}" ] || fail "ExecStart names ${command[0]}, which the package does not hold"
"${emulator[@]}" "${command[@]}" --admin-password 'Package-Test-2026' >"$work/host.log" 2>&1 &
host_pid=$!

address=""
for _ in $(seq 1 300); do
  address="$(sed -n 's/^Listening on \(https\{0,1\}:\/\/[^ ]*\).*/\1/p' "$work/host.log" | head -n 1)"
  [ -n "$address" ] && break
  kill -0 "$host_pid" 2>/dev/null || { cat "$work/host.log" >&2; fail "the host ended"; }
  sleep 0.1
done
[ -n "$address" ] || { cat "$work/host.log" >&2; fail "the host did not start listening"; }
# The pages come from the installed web root, installed compressed: sent so to a client that takes
# gzip, inflated to one that does not.
installed="$root/usr/share/wbm-host/web/login.html.gz"
[ -f "$installed" ] && [ ! -e "${installed%.gz}" ] || fail "login.html is not installed compressed"
status="$(curl -sk -o "$work/login.html" -w '%{http_code}' "$address/login.html")"
[ "$status" = 200 ] || fail "GET /login.html answered $status"
gunzip -c "$installed" | cmp -s - "$work/login.html" || fail "login.html is not the installed page, inflated"
curl -sk -D "$work/headers" -o "$work/login.html.gz" -H 'Accept-Encoding: gzip' "$address/login.html"
grep -qi '^content-encoding: gzip' "$work/headers" || fail "login.html was not sent compressed to a client taking gzip"
cmp -s "$installed" "$work/login.html.gz" || fail "the compressed login.html is not the installed one"
echo "Installed host answered on $address"
