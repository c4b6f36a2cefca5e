#!/usr/bin/env python3
"""Writes a fleet: generate.py DEVICES INTERFACES FOLDER

FOLDER/NNNNNN/running.xml and candidate.xml for each device, with that many l3
interfaces of an IPv4 and an IPv6 address each. The candidate renumbers the
first interface, which runs every rule on addresses; of every tenth device onto
the second one, which is refused.
"""
import pathlib
import sys

INTERFACE = """<l3 xmlns="urn:vorplex:ipapp"><name>l3-{number}</name>
<description>Subscribers {number} of device {device}</description>
<lower-layer-if><vlan>{vlan}</vlan></lower-layer-if>
<ipv4><address><ip>{ipv4}</ip></address></ipv4>
<ipv6><address><ip>2001:db8:{number:x}::1/64</ip></address>
<nd><ra><max-interval>200</max-interval><min-interval>150</min-interval>
<lifetime>1800</lifetime></ra></nd></ipv6></l3>
"""


def address(number):
    return f"10.{number // 256}.{number % 256}"


def configuration(device, interfaces, first):
    parts = ['<config xmlns="urn:vorplex:config"><interface>\n']
    for number in range(interfaces):
        ipv4 = first if number == 0 else address(number) + ".1/24"
        parts.append(INTERFACE.format(device=device, number=number,
                                      vlan=number + 1, ipv4=ipv4))
    parts.append("</interface></config>\n")
    return "".join(parts)


def main():
    devices, interfaces = int(sys.argv[1]), int(sys.argv[2])
    folder = pathlib.Path(sys.argv[3])
    for device in range(1, devices + 1):
        place = folder / f"{device:06}"
        place.mkdir(parents=True)
        changed = (address(1) if device % 10 == 0 else address(0)) + ".9/24"
        for name, first in (("running", address(0) + ".1/24"),
                            ("candidate", changed)):
            text = configuration(device, interfaces, first)
            (place / f"{name}.xml").write_text(text, encoding="utf-8")


main()
