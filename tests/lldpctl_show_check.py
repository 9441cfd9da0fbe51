#!/usr/bin/python3
"""Checks of lldpctl's show output for tests/lldpctl_show_test.sh.

  lldpctl_show_check.py json FILE      parses FILE with the json module (one
                                       document), checks the conventions and
                                       prints it with volatile values masked
  lldpctl_show_check.py text FILE      prints the text with volatile values
                                       masked
  lldpctl_show_check.py lists FILE N   the neighbours' document holds exactly
                                       N neighbours, and every list is a list

Volatile: what depends on when the command ran (time left, ages, up-times,
clearing times) and the frame counts, which grow with the transmit timers.
Exits non-zero with a reason when a check fails.
"""
import json
import re
import sys

VOLATILE = {"ttl_left_seconds", "age_seconds", "agent_uptime_seconds", "frames_out", "frames_in"}
VOLATILE_RE = re.compile(r"^(seconds_since_.*|.*_at_uptime_seconds)$")
KEY_RE = re.compile(r"^[a-z][a-z0-9_]*$")
MAC_RE = re.compile(r"^[0-9a-f]{2}(:[0-9a-f]{2}){5}$")

# Keys whose value is a list wherever they appear, whatever its length.
LISTS = {"neighbors", "ports", "capabilities_supported", "capabilities_enabled", "management_addresses",
         "tlvs", "ppvids", "vlan_names", "protocol_identities", "autoneg_advertised", "capabilities",
         "policies", "locations", "elements", "unknown_tlvs", "other_org_tlvs", "med_policies",
         "med_locations", "protocol_vlan_ids", "basic", "dot1", "dot3", "med", "private"}
# ...except where the same name is a group of its own.
GROUPS = {"dot1", "dot3", "med", "private"}


def fail(why):
    print("lldpctl_show_check: " + why, file=sys.stderr)
    sys.exit(1)


def walk(v, path, fn):
    fn(v, path)
    if isinstance(v, dict):
        for k, x in v.items():
            walk(x, path + [k], fn)
    elif isinstance(v, list):
        for i, x in enumerate(v):
            walk(x, path + [str(i)], fn)


def conventions(doc):
    def check(v, path):
        if isinstance(v, dict):
            for k in v:
                if not KEY_RE.match(k):
                    fail("key %r at %s is not lower_snake_case" % (k, "/".join(path)))
        if not path:
            return
        key = path[-1]
        if key in LISTS and not isinstance(v, list) and not (key in GROUPS and (v is None or isinstance(v, dict))):
            fail("%s is %r, not a list" % ("/".join(path), v))
        if key.endswith("_seconds") or key in ("local_unit", "unit", "remote_index", "vlan_id", "ppvid"):
            if v is not None and not (isinstance(v, int) and not isinstance(v, bool)):
                fail("%s is %r, not a number" % ("/".join(path), v))
        if key in ("chassis_id", "port_id") and isinstance(v, str) and ":" in v and not MAC_RE.match(v):
            fail("%s %r is neither a MAC address nor a name" % ("/".join(path), v))
    walk(doc, [], check)


def mask_json(doc):
    if isinstance(doc, dict):
        return {k: ("*" if (k in VOLATILE or VOLATILE_RE.match(k)) and v is not None else mask_json(v))
                for k, v in doc.items()}
    if isinstance(doc, list):
        return [mask_json(x) for x in doc]
    return doc


TEXT_RULES = [
    (re.compile(r"Frames out: \d+  in: \d+"), "Frames out: *  in: *"),
    (re.compile(r"^(\s*(?:TTL left \(s\)|Age \(s\)|Agent up-time \(s\)|Seconds since [a-z ]+|"
                r"[A-Za-z ]+ at up-time \(s\)|Frames out|Frames in):\s*)\S+$"), r"\1*"),
    (re.compile(r"last change .* ago"), "last change * ago"),
    (re.compile(r"\(cleared .* ago\)"), "(cleared * ago)"),
]

def mask_text(text):
    out = []
    brief = stats = False
    for line in text.split("\n"):
        if line.startswith("Local ") and "Chassis ID" in line:
            brief, stats = True, False
            left, mgmt = line.index("Left"), line.index("Mgmt")
        elif line.startswith("Port ") and "Cleared" in line:
            brief, stats = False, True
        elif not line.strip():
            brief = stats = False
        elif brief:
            # The "Left" column, where the header puts it.
            line = line[:left] + "*".ljust(mgmt - left) + line[mgmt:]
        elif stats:
            # Out and In (columns 9 to 26) and Cleared (from 68).
            line = line[:9] + "*".rjust(9) + "*".rjust(9) + line[27:68] + "*"
        for rx, rep in TEXT_RULES:
            line = rx.sub(rep, line)
        out.append(line.rstrip())
    return "\n".join(out)


def main():
    what, path = sys.argv[1], sys.argv[2]
    with open(path, encoding="utf-8") as f:
        raw = f.read()
    if what == "json":
        try:
            doc = json.loads(raw)
        except ValueError as e:
            fail("%s is not one JSON document: %s" % (path, e))
        conventions(doc)
        print(json.dumps(mask_json(doc), indent=2))
    elif what == "text":
        print(mask_text(raw), end="")
    elif what == "lists":
        doc = json.loads(raw)
        conventions(doc)
        n = int(sys.argv[3])
        if not isinstance(doc.get("neighbors"), list) or len(doc["neighbors"]) != n:
            fail("%s: neighbors is %r, expected a list of %d" % (path, doc.get("neighbors"), n))
    else:
        fail("unknown check " + what)


main()
