#!/usr/bin/env bash
# What the controller must carry: cross-builds the product (preset armhf), installs it into a
# staging folder, strips copies of its programs and libraries, and prints
#  - the product's files (host, module, platform libraries, pages, settings and service files);
#  - the system libraries they need, followed through NEEDED, without the C and C++ runtime (libc,
#    libm, libstdc++, libgcc_s, the dynamic loader); the directory (LDAP) client library and what
#    only it pulls in are on lines of their own and outside the total;
#  - the size goals and whether they are met.
#
#   scripts/size-report.sh [-jN]     (the build runs through scripts/build-armhf.sh)
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
"$root/scripts/build-armhf.sh" "$@" >&2

build="$root/build/armhf"
triplet=arm-linux-gnueabihf
library_dirs=("/usr/lib/$triplet" "/lib/$triplet" "/usr/$triplet/lib")
runtime='^(libc\.so\..*|libm\.so\..*|libstdc\+\+\.so\..*|libgcc_s\.so\..*|ld-linux.*\.so\..*)$'
ldap='^libldap(_r)?[-.]'
product_goal=$((8 * 1048576 / 10))      # 0.8 MiB (819.2 KiB)
closure_goal=$((6 * 1024 * 1024))       # 6 MiB
forbidden='^lib(icu|brotli|xml2)'

stage="$(mktemp -d)"
trap 'rm -rf "$stage"' EXIT
DESTDIR="$stage/root" cmake --install "$build" --prefix /usr >/dev/null
mkdir -p "$stage/stripped"

is_elf() { [ "$(head -c 4 "$1" | od -An -c | tr -d ' ')" = '177ELF' ]; }
size_of() { stat -L -c %s "$1"; }
kib() { awk -v b="$1" 'BEGIN { printf "%9.1f KiB", b / 1024 }'; }
mib() { awk -v b="$1" 'BEGIN { printf "%.2f MiB", b / 1048576 }'; }
row() { printf '  %-60s %s\n' "$1" "$(kib "$2")"; }
needed() { readelf -d "$1" 2>/dev/null | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p'; }

# --- The product, stripped.
echo "Product (stripped armhf)"
product_total=0
elves=()
pages_size=0; pages_count=0; other_size=0; other_count=0
while IFS= read -r -d '' file; do
  relative="${file#"$stage/root"}"
  if is_elf "$file"; then
    copy="$stage/stripped/$(basename "$file")"
    $triplet-strip --strip-all -o "$copy" "$file"
    elves+=("$copy")
    row "$relative" "$(size_of "$copy")"
    product_total=$((product_total + $(size_of "$copy")))
  elif [[ "$relative" == */web/* ]]; then
    pages_size=$((pages_size + $(size_of "$file"))); pages_count=$((pages_count + 1))
  else
    other_size=$((other_size + $(size_of "$file"))); other_count=$((other_count + 1))
  fi
done < <(find "$stage/root" -type f -print0 | sort -z)
row "pages ($pages_count files)" "$pages_size"
row "settings, unit, service files ($other_count files)" "$other_size"
product_total=$((product_total + pages_size + other_size))
printf '  %-60s %s  (%s)\n' "Product total" "$(kib "$product_total")" "$(mib "$product_total")"

# --- The closure of system libraries.
locate() {
  local dir
  for dir in "${library_dirs[@]}"; do
    if [ -e "$dir/$1" ]; then readlink -f "$dir/$1"; return 0; fi
  done
  return 1
}
product_names=()
for elf in "${elves[@]}"; do product_names+=("$(basename "$elf")"); done
is_product() { local name; for name in "${product_names[@]}"; do [ "$name" = "$1" ] && return 0; done; return 1; }

# Breadth-first through NEEDED from the product's files; `skip` names a library not to go into.
closure() {
  local skip="$1" queue=() seen=" " name file
  for elf in "${elves[@]}"; do while read -r name; do [ -n "$name" ] && queue+=("$name"); done < <(needed "$elf"); done
  while [ ${#queue[@]} -gt 0 ]; do
    name="${queue[0]}"; queue=("${queue[@]:1}")
    [[ "$seen" == *" $name "* ]] && continue
    seen+="$name "
    if [[ "$name" =~ $runtime ]] || is_product "$name"; then continue; fi
    echo "$name"
    [ -n "$skip" ] && [[ "$name" =~ $skip ]] && continue
    file="$(locate "$name")" || continue
    while read -r next; do [ -n "$next" ] && queue+=("$next"); done < <(needed "$file")
  done
}
all="$(closure "" | sort -u)"
without_ldap="$(closure "$ldap" | grep -Ev "$ldap" | sort -u || true)"

echo
echo "System libraries needed (beyond the C and C++ runtime)"
closure_total=0; ldap_total=0; missing=0
ldap_rows=()
while read -r name; do
  [ -n "$name" ] || continue
  if ! file="$(locate "$name")"; then echo "  $name: not found for armhf" >&2; missing=1; continue; fi
  size="$(size_of "$file")"
  if grep -qx "$name" <<<"$without_ldap"; then
    row "$name" "$size"
    closure_total=$((closure_total + size))
  else
    ldap_rows+=("$name $size")
    ldap_total=$((ldap_total + size))
  fi
done <<<"$all"
printf '  %-60s %s  (%s)\n' "System libraries total" "$(kib "$closure_total")" "$(mib "$closure_total")"
echo
if [ ${#ldap_rows[@]} -eq 0 ]; then
  echo "Directory (LDAP) client library: not linked"
else
  echo "Directory (LDAP) client library and what only it needs"
  for entry in "${ldap_rows[@]}"; do row "${entry% *}" "${entry##* }"; done
  printf '  %-60s %s  (%s)\n' "LDAP total" "$(kib "$ldap_total")" "$(mib "$ldap_total")"
fi

# --- Goals.
echo
verdict() { if "$@"; then echo met; else echo "NOT met"; fi; }
forbidden_found="$(grep -E "$forbidden" <<<"$all" | tr '\n' ' ' || true)"
echo "Goals"
echo "  product <= 0.80 MiB: $(mib "$product_total") - $(verdict [ "$product_total" -le "$product_goal" ])"
echo "  system libraries <= 6.00 MiB: $(mib "$closure_total") - $(verdict [ "$closure_total" -le "$closure_goal" ])"
echo "  no ICU, brotli or libxml2: ${forbidden_found:-none} - $(verdict [ -z "$forbidden_found" ])"
exit "$missing"
