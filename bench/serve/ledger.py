"""What clients change together, and what of it a configuration has."""

import xml.etree.ElementTree as ElementTree

from netconf import NETCONF

CONFIG = "urn:vorplex:config"
IPAPP = "urn:vorplex:ipapp"


class Violation(Exception):
    """Something that must not be."""


def l3(name, address, more=""):
    ip = f"<ipv4><address>{address}</address></ipv4>" if address else ""
    return f'<l3 xmlns="{IPAPP}"><name>{name}</name>{more}{ip}</l3>'


def config(*interfaces):
    """The whole configuration of these interfaces."""
    return (f'<config xmlns="{CONFIG}"><interface>' + "".join(interfaces) +
            "</interface></config>")


def edit_of(interfaces):
    return ("<edit-config><target><candidate/></target>"
            f'<config xmlns:nc="{NETCONF}">{config(*interfaces)}</config>'
            "</edit-config>")


class Pair:
    """Two interfaces that one client changes together. The serial number of the
    last commit stands in the descriptions of both and in a secondary address of
    the first."""

    def __init__(self, client, number):
        self.first = f"load-{client}-{number}-a"
        self.second = f"load-{client}-{number}-b"
        self.subnets = (f"10.{client}.{number}", f"10.{100 + client}.{number}")
        self.network = 20 + client
        self.committed = number  # had its ok; no two begin with the same
        self.tried = number  # what the reply is waited for

    def token(self, serial):
        """A secondary address: a /30 for each serial number."""
        place = 4 * serial
        return (f"{self.network}.{place >> 16 & 255}.{place >> 8 & 255}."
                f"{(place & 255) + 1}/30")

    def initial(self):
        first, second = (f"<ip>{each}.1/24</ip>" for each in self.subnets)
        token = f"<secondary><ip>{self.token(self.committed)}</ip></secondary>"
        number = f"<description>{self.committed}</description>"
        return [l3(self.first, first + token, number),
                l3(self.second, second, number)]

    def edit(self, serial, address=""):
        """To a serial number; `address` is new for the second interface."""
        tokens = "".join(
            f'<secondary nc:operation="{operation}"><ip>{self.token(of)}</ip>'
            "</secondary>" for operation, of in [("delete", self.committed),
                                                 ("create", serial)])
        number = f"<description>{serial}</description>"
        ip = f"<ip>{address}</ip>" if address else ""
        return edit_of([l3(self.first, tokens, number),
                        l3(self.second, ip, number)])

    def refusal(self, number):
        """A bad address for the second interface, and the rule's text."""
        if number % 2 == 0:
            bad = f"{self.subnets[1]}.0/24"
            return bad, (f"l3 {self.second} ipv4 address {bad} cannot be "
                         "configured as network address.")
        bad = f"{self.subnets[0]}.9/24"
        return bad, (
            f"l3 {self.first} vrf global ipv4 address {self.subnets[0]}.1/24 "
            f"overlaps with l3 {self.second} vrf global ipv4 address {bad}.")

    def serial_in(self, interfaces):
        """What a configuration has of it, after a look at whether it agrees."""
        first, second = interfaces.get(self.first), interfaces.get(self.second)
        if first is None or second is None:
            raise Violation(f"{self.first} or {self.second} is not there")
        serial = int(first["description"])
        wanted = [f"{self.subnets[0]}.1/24", self.token(serial)]
        if (second["description"] != first["description"]
                or first["addresses"] != wanted
                or second["addresses"] != [f"{self.subnets[1]}.1/24"]):
            raise Violation(f"half a commit: {first} beside {second}")
        return serial


def interfaces_in(text):
    """By name, of the reply to get-config or the content of running.xml."""
    found = {}
    for element in ElementTree.fromstring(text).iter(f"{{{IPAPP}}}l3"):
        description = element.find(f"{{{IPAPP}}}description")
        found[element.find(f"{{{IPAPP}}}name").text] = {
            "description": None if description is None else description.text,
            "addresses": [ip.text for ip in element.iter(f"{{{IPAPP}}}ip")],
        }
    return found
