#!/usr/bin/env bash
# Installs the Debian packages the build needs, only those that are missing.
#   scripts/install-deps.sh          build and test packages
#   scripts/install-deps.sh --bench  the benchmark packages as well
#   scripts/install-deps.sh --fuzz   the fuzzing packages as well
#   scripts/install-deps.sh --valgrind  the memory checker as well
# As root it runs apt-get; otherwise it prints the command to run and exits with status 1.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
lists=("$here/packages-build.txt")
if [[ "${1:-}" == "--bench" ]]; then lists+=("$here/packages-bench.txt"); fi
if [[ "${1:-}" == "--fuzz" ]]; then lists+=("$here/packages-fuzz.txt"); fi
if [[ "${1:-}" == "--valgrind" ]]; then lists+=("$here/packages-valgrind.txt"); fi

missing=()
while read -r package; do
  [[ -z "$package" || "$package" == \#* ]] && continue
  status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
  [[ "$status" == "install ok installed" ]] || missing+=("$package")
done < <(cat "${lists[@]}")

if [[ ${#missing[@]} -eq 0 ]]; then
  exit 0
fi

command=(apt-get install -y --no-install-recommends "${missing[@]}")
if [[ $(id -u) -ne 0 ]]; then
  echo "install-deps: missing packages: ${missing[*]}" >&2
  echo "install-deps: run as root: apt-get update && ${command[*]}" >&2
  exit 1
fi

echo "install-deps: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
# A fresh machine may have no package lists yet; refresh them once if the install fails.
if ! "${command[@]}" >/dev/null 2>&1; then
  apt-get update -qq
  "${command[@]}" >/dev/null
fi
