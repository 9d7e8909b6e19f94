#!/usr/bin/env bash
# Installs the Debian 12 packages that only the peer benchmark needs: the open
# interior-point solver that bench/peer/ runs side by side with Morvex.
# Optional: neither the build nor the checks need it; without it bench/peer/
# is skipped at configure time. Idempotent like scripts/install-deps.sh.
set -euo pipefail

packages=(
  coinor-libipopt-dev pkg-config
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  echo "install-bench-deps: all ${#packages[@]} packages present"
  exit 0
fi

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
echo "install-bench-deps: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
