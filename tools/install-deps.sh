#!/usr/bin/env bash
# Installs the Debian packages the agent needs to build and test. Only what is
# missing is installed; run as root (CI and the quick start, ./setup.sh, do).
# Works on a bare Debian 12 (debootstrap --variant=minbase): nothing but
# apt-get and dpkg is assumed.
set -euo pipefail

PKGS=(build-essential make cmake pkg-config libgtest-dev libgmock-dev libbenchmark-dev
      clang libclang-rt-14-dev libmnl-dev libcap-dev libsystemd-dev nlohmann-json3-dev
      iproute2 procps tshark python3-scapy tcpdump man-db file)

missing=()
for p in "${PKGS[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

if [ "$(id -u)" -ne 0 ]; then
  echo "install-deps: missing packages: ${missing[*]} (run as root to install them)" >&2
  exit 1
fi
export DEBIAN_FRONTEND=noninteractive
echo "wireshark-common wireshark-common/install-setuid boolean false" | debconf-set-selections
echo "install-deps: installing ${missing[*]}"
apt-get update -qq
apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
