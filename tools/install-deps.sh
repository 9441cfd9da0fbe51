#!/usr/bin/env bash
# Installs the Debian packages the agent needs to build and test. Only what is
# missing is installed; run as root (CI and the quick start, ./setup.sh, do).
# Works on a bare Debian 12 (debootstrap --variant=minbase): nothing but
# apt-get and dpkg is assumed.
set -euo pipefail

PKGS=(build-essential make cmake pkg-config libgtest-dev libgmock-dev libbenchmark-dev
      clang libclang-rt-14-dev libmnl-dev libcap-dev nlohmann-json3-dev
      iproute2 procps tshark python3-scapy tcpdump tcpreplay man-db file
      libsnmp-dev snmpd snmp snmptrapd)
# The SNMP tests run their own snmpd and snmptrapd inside network namespaces:
# Debian's services of the two are neither started nor enabled here.
SNMP_SERVICES=(snmpd.service snmptrapd.service snmptrapd.socket)

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
# No service starts during the install (policy-rc.d answers "not now"),
# unless the machine already has a policy of its own.
own_policy=
if [ ! -e /usr/sbin/policy-rc.d ]; then
  printf '#!/bin/sh\nexit 101\n' >/usr/sbin/policy-rc.d
  chmod 755 /usr/sbin/policy-rc.d
  own_policy=1
fi
status=0
apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null || status=$?
[ -n "$own_policy" ] && rm -f /usr/sbin/policy-rc.d
[ "$status" = 0 ] || exit "$status"
if printf '%s\n' "${missing[@]}" | grep -qx -e snmpd -e snmptrapd && command -v systemctl >/dev/null; then
  systemctl disable --now "${SNMP_SERVICES[@]}" >/dev/null 2>&1 || true
fi
