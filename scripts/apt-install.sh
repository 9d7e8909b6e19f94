# Sourced by the install scripts: installs the Debian packages named in the
# array `packages` that are missing, refreshing the package lists at most once
# and only when something is missing. $1 names the caller in its messages.
apt_install_missing() {
  local who=$1 p
  local missing=()
  for p in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
      missing+=("$p")
    fi
  done
  if [ ${#missing[@]} -eq 0 ]; then
    echo "$who: all ${#packages[@]} packages present"
    return 0
  fi
  local sudo=""
  if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
  echo "$who: installing ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update -qq
  $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
}
