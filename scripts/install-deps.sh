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

. "$(dirname "$0")/apt-install.sh"
apt_install_missing install-deps
