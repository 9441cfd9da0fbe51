#!/usr/bin/env bash
# Installing: `cmake --install` and `make install PREFIX=... DESTDIR=...` put
# the daemon, lldpctl and lldp-snmp (when built), the systemd units, the man
# pages and the example options file where they belong; a second install keeps
# an options file that is already there; the units pass `systemd-analyze verify`; every
# man page renders without a warning. Writes only below its own directory.
set -u
ROOT=${LLDP_SOURCE_DIR:-$(cd "$(dirname "$0")/.." && pwd)}
BUILD=${LLDP_BUILD_DIR:-$ROOT/build}
TMP=$(mktemp -d /tmp/lldp-install_test.XXXXXX)
trap 'rm -rf "$TMP"' EXIT
fail() { echo "FAIL install_test: $*" >&2; exit 1; }
pass() { echo "ok install_test: $*"; }
[ -x "$BUILD/lldpagent" ] || { echo "SKIP install_test: lldpagent is not built" >&2; exit 77; }

D=$TMP/root
DESTDIR=$D cmake --install "$BUILD" --prefix /usr >"$TMP/install.out" 2>&1 || fail "cmake --install: $(cat "$TMP/install.out")"
want=(usr/sbin/lldpagent usr/share/man/man8/lldpagent.8 usr/share/man/man5/lldp.conf.5
      usr/lib/systemd/system/lldpagent.service etc/lldp/lldp.conf)
[ -x "$BUILD/lldpctl" ] && want+=(usr/bin/lldpctl)
[ -e "$ROOT/docs/man/lldpctl.8.in" ] && want+=(usr/share/man/man8/lldpctl.8)
[ -x "$BUILD/lldp-snmp" ] && want+=(usr/sbin/lldp-snmp usr/share/man/man8/lldp-snmp.8
                                    usr/lib/systemd/system/lldp-snmp.service)
for f in "${want[@]}"; do [ -e "$D/$f" ] || fail "missing $f"; done
got=$(cd "$D" && find . -type f | sed 's|^\./||' | sort)
[ "$got" = "$(printf '%s\n' "${want[@]}" | sort)" ] || fail "installed tree differs: $got"
[ -x "$D/usr/sbin/lldpagent" ] && "$D/usr/sbin/lldpagent" --version | grep -q '^lldpagent ' ||
  fail "installed lldpagent does not run"
cmp -s "$ROOT/etc/lldp.conf" "$D/etc/lldp/lldp.conf" || fail "options file differs from etc/lldp.conf"
grep -qx 'ExecStart=/usr/sbin/lldpagent -c /etc/lldp/lldp.conf -s /run/lldpagent/lldpcmd.socket' \
  "$D/usr/lib/systemd/system/lldpagent.service" || fail "unit does not start /usr/sbin/lldpagent"
if [ -x "$BUILD/lldp-snmp" ]; then
  "$D/usr/sbin/lldp-snmp" --version | grep -q '^lldp-snmp ' || fail "installed lldp-snmp does not run"
  grep -qx 'ExecStart=/usr/sbin/lldp-snmp -s /run/lldpagent/lldpcmd.socket -x unix:/var/agentx/master' \
    "$D/usr/lib/systemd/system/lldp-snmp.service" || fail "the subagent's unit does not start /usr/sbin/lldp-snmp"
fi
echo "lldp.maxifnum = 4  # the operator's" >>"$D/etc/lldp/lldp.conf"
DESTDIR=$D cmake --install "$BUILD" --prefix /usr >/dev/null 2>&1 || fail "second install"
grep -q "the operator's" "$D/etc/lldp/lldp.conf" || fail "a second install replaced the options file"
pass "cmake --install: sbin, unit, man pages, options file kept on reinstall"

if command -v make >/dev/null; then
  make -s -C "$ROOT" install BUILD="$BUILD" PREFIX=/opt/lldp DESTDIR="$TMP/root2" >"$TMP/make.out" 2>&1 ||
    fail "make install: $(cat "$TMP/make.out")"
  [ -x "$TMP/root2/opt/lldp/sbin/lldpagent" ] && [ -e "$TMP/root2/opt/lldp/share/man/man8/lldpagent.8" ] &&
    [ -e "$TMP/root2/etc/lldp/lldp.conf" ] || fail "make install PREFIX=/opt/lldp: $(cd "$TMP/root2" && find . -type f)"
  grep -q '^ExecStart=/opt/lldp/sbin/lldpagent ' "$TMP/root2/opt/lldp/lib/systemd/system/lldpagent.service" ||
    fail "the unit does not follow PREFIX"
  pass "make install PREFIX=/opt/lldp DESTDIR=...: the unit follows the prefix"
fi

if command -v systemd-analyze >/dev/null; then
  # The unit as installed, pointed at the staged daemon (verify checks that
  # the program exists); man pages are checked on their own below.
  sed "s|/usr/sbin/lldpagent|$D/usr/sbin/lldpagent|" "$D/usr/lib/systemd/system/lldpagent.service" \
    >"$TMP/lldpagent.service"
  out=$(systemd-analyze verify --man=no "$TMP/lldpagent.service" 2>&1) && [ -z "$out" ] ||
    fail "systemd-analyze verify: $out"
  if [ -x "$BUILD/lldp-snmp" ]; then
    sed "s|/usr/sbin/lldp-snmp|$D/usr/sbin/lldp-snmp|" "$D/usr/lib/systemd/system/lldp-snmp.service" \
      >"$TMP/lldp-snmp.service"
    out=$(systemd-analyze verify --man=no "$TMP/lldp-snmp.service" 2>&1) && [ -z "$out" ] ||
      fail "systemd-analyze verify of lldp-snmp.service: $out"
  fi
  score=$(systemd-analyze security --offline=yes "$TMP/lldpagent.service" 2>/dev/null | sed -n 's/.*Overall exposure level for [^:]*: //p')
  pass "systemd-analyze verify passes (security exposure: ${score:-not reported})"
else
  echo "note install_test: systemd-analyze not available, unit not verified" >&2
fi

if command -v man >/dev/null; then
  for page in $(cd "$D" && find usr/share/man -type f); do
    err=$(MANWIDTH=80 man --warnings -l "$D/$page" 2>&1 >"$TMP/page.txt")
    [ -z "$err" ] || fail "$page renders with warnings: $err"
    grep -q '^NAME' "$TMP/page.txt" && grep -q '^SEE ALSO' "$TMP/page.txt" || fail "$page renders without its sections"
  done
  pass "every man page renders without a warning"
else
  echo "note install_test: man not available, pages not rendered" >&2
fi

if command -v cpack >/dev/null && command -v dpkg-deb >/dev/null && [ -f "$BUILD/CPackConfig.cmake" ]; then
  (cd "$TMP" && cpack -G DEB -B "$TMP/pkg" --config "$BUILD/CPackConfig.cmake" >"$TMP/cpack.out" 2>&1) ||
    fail "cpack: $(cat "$TMP/cpack.out")"
  deb=$(ls "$TMP"/pkg/lldpagent_*.deb 2>/dev/null | head -1)
  [ -n "$deb" ] || fail "no package built: $(cat "$TMP/cpack.out")"
  files=$(dpkg-deb -c "$deb" | awk '{print $6}')
  for f in ./usr/sbin/lldpagent ./usr/lib/systemd/system/lldpagent.service ./etc/lldp/lldp.conf \
           ./usr/share/man/man8/lldpagent.8 ./usr/share/man/man5/lldp.conf.5; do
    grep -qx -- "$f" <<<"$files" || fail "package lacks $f"
  done
  if [ -x "$BUILD/lldp-snmp" ]; then
    for f in ./usr/sbin/lldp-snmp ./usr/lib/systemd/system/lldp-snmp.service ./usr/share/man/man8/lldp-snmp.8; do
      grep -qx -- "$f" <<<"$files" || fail "package lacks $f"
    done
    dpkg-deb -f "$deb" Depends | grep -q libsnmp || fail "package does not depend on net-snmp's library"
  fi
  [ "$(dpkg-deb -f "$deb" Package)" = lldpagent ] && dpkg-deb -f "$deb" Depends | grep -q libmnl0 ||
    fail "package control: $(dpkg-deb -f "$deb")"
  dpkg-deb --ctrl-tarfile "$deb" | tar -xO ./conffiles | grep -qx /etc/lldp/lldp.conf ||
    fail "the options file is not a conffile"
  pass "make deb: a package with the same tree, the options file a conffile"
fi
