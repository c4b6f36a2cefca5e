#!/usr/bin/env python3
"""Configurations of any size, to measure the embedded host with.

generate.py INTERFACES FOLDER [--format xml|json]

Writes running.xml and candidate.xml (or .json). Each has that many l3
interfaces of four addresses (IPv4: one primary, one secondary; IPv6: two), a
loopback of two for every 64 of them, one management port, one route for every
four of them (at most 800) and one OSPFv2 process without interfaces. Every rule
holds but the number of interfaces, which is only judged where one of them comes
or goes. The candidate changes the secondary address of the interface in the
middle.
"""

import argparse
import ipaddress
import json
import os

FIRST_PRIMARY = int(ipaddress.ip_address("10.0.0.1"))
FIRST_SECONDARY = int(ipaddress.ip_address("11.0.0.1"))
FIRST_LOOPBACK = int(ipaddress.ip_address("12.0.0.1"))
FIRST_DESTINATION = int(ipaddress.ip_address("100.0.0.0"))
SUBNET = 4  # addresses of a /30
MOST_ROUTES = 800
VRF_GLOBAL = 0


def ipv4(first, step, place):
    return str(ipaddress.ip_address(first + step * place))


def ipv6(kind, place):
    return f"2001:db8:{kind}:{place >> 16:x}:{place & 0xFFFF:x}::1"


def octets(address):
    return ":".join(f"{b:02x}" for b in ipaddress.ip_address(address).packed)


def l3(place, changed):
    # The other end's address of the same subnet is as good.
    secondary = ipv4(FIRST_SECONDARY + changed, SUBNET, place)
    return {
        "name": f"users-{place}",
        "description": f"Sockets of room {place}",
        "mtu": 1500,
        "lower-layer-if": {"vlan": place % 4094 + 1},
        "ipv4": {"address": {
            "ip": ipv4(FIRST_PRIMARY, SUBNET, place) + "/30",
            "secondary": [{"ip": secondary + "/30"}]}},
        "ipv6": {"address": [{"ip": ipv6(kind, place) + "/80"}
                             for kind in "12"]},
    }


def loopback(place):
    return {
        "name": f"lo{place}",
        "ipv4": {"address": [{"ip": ipv4(first, 2, place) + "/32"}
                             for first in (FIRST_LOOPBACK,
                                           FIRST_LOOPBACK + 1)]},
        "ipv6": {"address": [{"ip": ipv6(kind, place) + "/128"}
                             for kind in "34"]},
    }


def mgmt():
    return {
        "name": "eth0",
        "vrf": "mgmt",
        "ipv4": {"address": {"ip": "172.31.12.2/24"}},
        "ipv6": {"address": [{"ip": "2001:db8:5::2/64"}]},
    }


def route(place):
    return {
        "rtmStaticRtFteIndex": VRF_GLOBAL,
        "rtmStaticRtDestType": "ipv4",
        "rtmStaticRtDest": octets(ipv4(FIRST_DESTINATION, 256, place)),
        "rtmStaticRtDestPfxLen": 24,
        "rtmStaticRtNextHopType": "ipv4",
        "rtmStaticRtNextHop": octets(ipv4(FIRST_PRIMARY + 1, SUBNET, place)),
    }


def configuration(size, changed_place):
    """Top nodes by module; within "interface" the lists are ipapp's."""
    return {
        "vorplex-config:config": {
            "interface": {
                "ipapp:l3": [l3(i, i == changed_place) for i in range(size)],
                "ipapp:loopback": [loopback(i) for i in range(size // 64)],
                "ipapp:mgmt": [mgmt()],
            }
        },
        "vorplex-internal:internal": {
            "vrf-config": {
                "indexTOstring": [{"index": VRF_GLOBAL, "vname": "global"}]},
            "ospf-index-to-proc-id": [
                {"compound-id": 1, "proc_id": 10, "vrf_name": "global"}],
        },
        "DC-RTM-MIB:DC-RTM-MIB": {"rtmStaticRtTable": {"rtmStaticRtEntry": [
            route(i) for i in range(min(size // 4, MOST_ROUTES))]}},
    }


NAMESPACES = {
    "vorplex-config": "urn:vorplex:config",
    "ipapp": "urn:vorplex:ipapp",
    "vorplex-internal": "urn:vorplex:internal",
    "DC-RTM-MIB": "urn:vorplex:dc-rtm-mib",
}


def write_xml(name, value, depth, file):
    if isinstance(value, list):
        for entry in value:
            write_xml(name, entry, depth, file)
        return
    module, _, local = name.rpartition(":")
    namespace = f' xmlns="{NAMESPACES[module]}"' if module else ""
    indent = "  " * depth
    if not isinstance(value, dict):
        file.write(f"{indent}<{local}{namespace}>{value}</{local}>\n")
        return
    file.write(f"{indent}<{local}{namespace}>\n")
    for child, inside in value.items():
        write_xml(child, inside, depth + 1, file)
    file.write(f"{indent}</{local}>\n")


def write(path, tree):
    with open(path, "w", encoding="utf-8") as file:
        if path.endswith(".json"):
            json.dump(tree, file, indent=2)
            file.write("\n")
        else:
            for name, value in tree.items():
                write_xml(name, value, 0, file)


def generate(size, folder, form):
    """Paths of the running configuration and of the candidate."""
    os.makedirs(folder, exist_ok=True)
    paths = []
    for name, changed in (("running", -1), ("candidate", size // 2)):
        paths.append(os.path.join(folder, f"{name}.{form}"))
        write(paths[-1], configuration(size, changed))
    return paths


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("interfaces", type=int)
    parser.add_argument("folder")
    parser.add_argument("--format", choices=["xml", "json"], default="xml")
    options = parser.parse_args()
    print(*generate(options.interfaces, options.folder, options.format))


if __name__ == "__main__":
    main()
