#!/usr/bin/env bash
# Installs what is missing, builds wbm-host with the default preset and starts it with its data
# (database, security log, login text, trust stores and the module settings) in one data
# directory, ./data unless told otherwise. The first start prints the initial password of "admin".
# Ctrl-C stops the host.
set -euo pipefail
cd "$(dirname "$0")/.."

host=build/default/bin/wbm-host
usage() {
  cat <<'TEXT'
Usage: scripts/run.sh [--address HOST:PORT] [--data-dir DIR] [wbm-host options...]

Builds wbm-host (preset "default") and starts it.

  --address HOST:PORT  where to serve (wbm-host --listen; default: the host's own, printed at start)
  --data-dir DIR       the data directory (default ./data): database, security log, login text,
                       trust stores and the module settings (UmWbmModuleSettings.xml, created there
                       from the project's default on the first start)
  --help               this text, without building

Every other option goes to wbm-host unchanged, for example --admin-password, --hash-cost,
--idle-timeout-minutes or --allow-auth-deactivation.
TEXT
  if [ -x "$host" ]; then
    printf '\nwbm-host (as built now) takes:\n\n'
    "$host" --help
  else
    printf '\n(wbm-host is not built yet; its own options appear here once it is.)\n'
  fi
}

data_dir=data
host_args=()
while [ $# -gt 0 ]; do
  case "$1" in
    -h|--help) usage; exit 0 ;;
    --address) [ $# -ge 2 ] || { echo "--address needs HOST:PORT" >&2; exit 2; }; host_args+=(--listen "$2"); shift 2 ;;
    --address=*) host_args+=(--listen "${1#*=}"); shift ;;
    --data-dir) [ $# -ge 2 ] || { echo "--data-dir needs a directory" >&2; exit 2; }; data_dir=$2; shift 2 ;;
    --data-dir=*) data_dir=${1#*=}; shift ;;
    *) host_args+=("$1"); shift ;;
  esac
done

scripts/install-deps.sh
cmake --preset default >/dev/null
cmake --build --preset default --target wbm-host -j"$(nproc)"

# The host keeps the module settings in the data directory by default, so one directory holds
# everything of one device.
exec "$host" --data-dir "$data_dir" ${host_args[@]+"${host_args[@]}"}
