#!/usr/bin/env bash
# Installs the Debian 12 packages Morvex builds, tests and benchmarks against.
# Idempotent: packages already present are skipped, and the package lists are
# refreshed at most once per run, only when something is missing.
set -euo pipefail

packages=(
  build-essential cmake pkg-config git python3
  libcjson-dev zlib1g-dev
  coinor-libclp-dev coinor-libosi-dev coinor-libcgl-dev coinor-libcoinutils-dev
  libmumps-seq-dev libmetis-dev
  libopenblas-dev liblapack-dev
  libamplsolver-dev
  libgtest-dev libgmock-dev
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  echo "install-deps: all ${#packages[@]} packages present"
  exit 0
fi

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
echo "install-deps: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
