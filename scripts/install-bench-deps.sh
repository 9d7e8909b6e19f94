#!/usr/bin/env bash
# Installs the Debian 12 packages that only the peer benchmark needs: the open
# interior-point solver that bench/peer/ runs side by side with Morvex.
# Optional: neither the build nor the checks need it; without it bench/peer/
# is skipped at configure time. Idempotent like scripts/install-deps.sh.
set -euo pipefail

packages=(
  coinor-libipopt-dev pkg-config
)

. "$(dirname "$0")/apt-install.sh"
apt_install_missing install-bench-deps
