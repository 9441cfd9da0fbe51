# Prints what an agent learnt, from its log written with trace class 0x1
# (received frames): every "New MSAP Cache Miss" line is matched with the
# packet trace of the frame just before it, whose TLVs are decoded here, or,
# for a neighbour that another unit of a stack sent (trace class 0x40), with
# the fields the sync receiver traced.
# Usage: awk -v agent=NAME -f learnt.awk AGENT.log
function hexval(h,    i, v, c) {
  v = 0
  for (i = 1; i <= length(h); i++) {
    c = index("0123456789abcdef", tolower(substr(h, i, 1)))
    v = v * 16 + (c - 1)
  }
  return v
}
function text(from, n,    s, i) {
  s = ""
  for (i = 0; i < n; i++) s = s sprintf("%c", b[from + i])
  return s
}
function mac(from,    s, i) {
  s = ""
  for (i = 0; i < 6; i++) s = s (i ? ":" : "") sprintf("%02x", b[from + i])
  return s
}
function decode(port,    off, t, l, st, chassis, pid, ttl, name, addr, alen, asub, i) {
  off = 12
  if (b[12] * 256 + b[13] == 33024) off = 16   # 0x8100: skip the tag
  off += 2
  chassis = "?"; pid = "?"; ttl = "?"; name = "-"; addr = "-"
  while (off + 2 <= nb) {
    t = int(b[off] / 2); l = (b[off] % 2) * 256 + b[off + 1]
    if (t == 0 || off + 2 + l > nb) break
    st = b[off + 2]
    if (t == 1) chassis = (st == 4 ? mac(off + 3) : text(off + 3, l - 1))
    else if (t == 2) pid = (st == 3 ? mac(off + 3) : text(off + 3, l - 1))
    else if (t == 3) ttl = b[off + 2] * 256 + b[off + 3]
    else if (t == 5) name = text(off + 2, l)
    else if (t == 8 && addr == "-") {
      alen = b[off + 2] - 1; asub = b[off + 3]
      if (asub == 1 && alen == 4) addr = b[off+4] "." b[off+5] "." b[off+6] "." b[off+7]
      else if (asub == 6 && alen == 6) addr = "mac " mac(off + 4)
      else { addr = ""; for (i = 0; i < alen; i++) addr = addr sprintf("%02x", b[off + 4 + i]) }
    }
    off += 2 + l
  }
  printf "  %-6s on %-8s learnt chassis %s port %s system %s ttl %s mgmt %s\n",
         agent, port, chassis, pid, name, ttl, addr
  found++
}
/lldp\.rxframe: packet len=/ { collecting = 1; nb = 0; synced = 0; next }
/ sync:action:/ { synced = 1; spid = "?"; sname = "-"; sttl = "?"; next }
synced && / sync:portId:/ { spid = $0; sub(/.* sync:portId:/, "", spid); sub(/, offset:[0-9]+\.[ \r]*$/, "", spid); next }
synced && / sync:sysName:/ { sname = $0; sub(/.* sync:sysName:/, "", sname); sub(/, offset: [0-9]+\.[ \r]*$/, "", sname); next }
synced && / sync:rxInfoTTL:/ { sttl = $0; sub(/.* sync:rxInfoTTL:/, "", sttl); sub(/,.*/, "", sttl); next }
collecting && /lldp\.rxframe: len:/ { collecting = 0; next }
collecting && /lldp\.rxframe: ([0-9a-f][0-9a-f] )+/ {
  line = $0; sub(/.*lldp\.rxframe: /, "", line)
  n = split(line, hx, " ")
  for (i = 1; i <= n; i++) if (hx[i] ~ /^[0-9a-f][0-9a-f]$/) b[nb++] = hexval(hx[i])
  next
}
/New MSAP Cache Miss on port/ {
  p = $0; sub(/.*New MSAP Cache Miss on port/, "", p); sub(/[ \r]*$/, "", p)
  if (synced) {
    printf "  %-6s on %-8s holds  port %s system %s ttl %s (sent by the unit that learnt it)\n",
           agent, p, spid, sname, sttl
    found++
    synced = 0
  } else {
    decode(p)
  }
}
END { if (!found) printf "  %-6s learnt nothing\n", agent }
