#!/usr/bin/env bash
# Installs what is missing, builds wbm-host with the default preset and starts it on
# 127.0.0.1:8080 with the data directory ./data, created on first start together with the default
# module settings. The first start prints the initial password of "admin". Ctrl-C stops the host.
# Further options go to wbm-host (scripts/run.sh --help lists them).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
cmake --preset default >/dev/null
cmake --build --preset default --target wbm-host -j"$(nproc)"

mkdir -p data
if [ ! -f data/UmWbmModuleSettings.xml ]; then
  cp settings/UmWbmModuleSettings.xml data/UmWbmModuleSettings.xml
fi

exec build/default/bin/wbm-host --listen 127.0.0.1:8080 --data-dir data \
  --settings data/UmWbmModuleSettings.xml --web-root web "$@"
