#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""compare_lan.py OUR.json LAN.txt LAN6.txt [IPMI-CONFIG.txt]: what `trx-ipmi --json lan` and other programs say of the same LAN
channel: `ipmitool lan print`, `ipmitool lan6 print` and ipmi-config's section Lan_Conf."""
import json
import re
import sys


def read(path):
    with open(path, encoding="ascii") as file:
        return file.read()


def facts(path):
    """The last of each name, in lower case."""
    return {name: value.lower() for name, value in re.findall(r"^\s*(\S.*?)(?: *: |  +)(.*?) *$", read(path), re.M)}


def ipv6(text):
    """The addresses in use. ipmitool does not say where a static one comes from."""
    for kind, said, address, prefix, status in re.findall(
            r"^IPv6 (Static|Dynamic) Address \d+:\n +[\w/]+: +(\w+)\n +Address: +(\S+)/(\d+)\n +Status: +(\w+)$", text, re.M):
        if address != "::":
            source = "static" if kind == "Static" else said.lower()
            yield {"address": address, "prefix": int(prefix), "kind": kind.lower(), "source": source, "status": status}


def main(source, lan, lan6, conf=None):
    ours = json.loads(read(source))["lan"]
    ipv4, vlan, said = ours["ipv4"], ours["vlan"], facts(lan)
    pairs = [(ipv4["source"] + " address", said["IP Address Source"]), (ipv4["address"], said["IP Address"]),
             (ipv4["netmask"], said["Subnet Mask"]), (ipv4["gateway"], said["Default Gateway IP"]), (ours["mac"], said["MAC Address"]),
             (ipv4["gateway_mac"], said["Default Gateway MAC"]), (str(vlan["priority"]), said["802.1q VLAN Priority"]),
             (str(vlan["id"]) if vlan["enabled"] else "disabled", said["802.1q VLAN ID"]), (ours["ipv6"], list(ipv6(read(lan6))))]
    if conf:
        said = facts(conf)
        pairs += [("use_" + ipv4["source"], said["IP_Address_Source"]), (ipv4["address"], said["IP_Address"]),
                  (ours["mac"], said["MAC_Address"]), (ipv4["netmask"], said["Subnet_Mask"]),
                  (ipv4["gateway"], said["Default_Gateway_IP_Address"]), (ipv4["gateway_mac"], said["Default_Gateway_MAC_Address"])]
    wrong = [f"trx-ipmi {own}, others {theirs}" for own, theirs in pairs if own != theirs or not own]
    print("\n".join([f"{len(pairs) - 1} settings and {len(ours['ipv6'])} IPv6 addresses compared", *wrong]))
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
