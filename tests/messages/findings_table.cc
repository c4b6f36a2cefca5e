#include "tests/messages/findings_table.h"

namespace ipav::messages {

namespace {

// A table, however long.
// NOLINTBEGIN(readability-function-size,bugprone-suspicious-missing-comma)
void AddInterfaces(std::vector<Expectation>* all) {
  all->insert(
      all->end(),
      {
          {"intf_l3_name_validation/l3-257-interfaces",
           "l3-too-many",
           {"new interface, added /config/interface/l3{spare-256} "
            "candidate.xml:985 spare-256",
            "new interface, added /config/interface/l3{spare-257} "
            "candidate.xml:988 spare-257",
            "note: 257 l3 interfaces, there is room for 256"}},
          {"intf_l3_name_validation/l3-259-interfaces-two-removed",
           "l3-too-many",
           {"note: 257 l3 interfaces, there is room for 256; none of them is "
            "new"}},
          {"intf_l3_name_validation/l3-300-interfaces",
           "l3-too-many",
           {"new interface, added /config/interface/l3{spare-15} "
            "candidate.xml:262 spare-15",
            "new interface, added /config/interface/l3{spare-16} "
            "candidate.xml:265 spare-16",
            "new interface, added /config/interface/l3{spare-17} "
            "candidate.xml:268 spare-17",
            "new interface, added /config/interface/l3{spare-18} "
            "candidate.xml:271 spare-18",
            "new interface, added /config/interface/l3{spare-19} "
            "candidate.xml:274 spare-19",
            "note: 300 l3 interfaces, there is room for 256; 281 of the 286 "
            "new ones are not listed"}},
          {"intf_l3_name_validation/l3-name-61-bytes",
           "l3-name-too-long",
           {"name, added "
            "/config/interface/"
            "l3{customer-green-building-7-floor-2-room-217-rack-4-panel-b-p12}/"
            "name candidate.xml:262 "
            "customer-green-building-7-floor-2-room-217-rack-4-panel-b-p12"}},
          {"intf_l3_name_validation/l3-name-62-bytes-33-characters",
           "l3-name-too-long",
           {"name, added "
            "/config/interface/l3{büro-üüüüüüüüüüüüüüüüüüüüüüüüüüüü}/name "
            "candidate.xml:262 büro-üüüüüüüüüüüüüüüüüüüüüüüüüüüü"}},
          {"intf_l3_name_validation/l3-name-empty",
           "l3-name-too-short",
           {"name, added /config/interface/l3{\"\"}/name candidate.xml:262 "
            "<name>"}},
          {"intf_l3_name_validation/l3-name-empty-json",
           "l3-name-too-short",
           {"name, added /config/interface/l3{\"\"}/name candidate.json:293 "
            "\"\""}},
          {"intf_l3_name_validation/l3-name-of-three-words",
           "l3-name-characters",
           {"name, added /config/interface/l3{\"a b c\"}/name "
            "candidate.xml:262 a b c"}},
          {"intf_l3_name_validation/l3-name-not-ascii",
           "l3-name-characters",
           {"name, added /config/interface/l3{büro}/name candidate.xml:262 "
            "büro"}},
          {"ipv4_addr_validation/l3-slash24-network",
           "address-is-network",
           {"address, changed /config/interface/l3{users}/ipv4/address/ip "
            "candidate.json:89 \"10.20.10.0/24\""}},
          {"intf_vrf_validation/l3-vrf-changed-network-address",
           "address-is-network",
           {"address, changed /config/interface/l3{blue-shop}/ipv4/address/ip "
            "candidate.xml:252 172.31.20.64/26"}},
          {"ipv4_addr_validation/loopback-slash30-network",
           "address-is-network",
           {"address, added "
            "/config/interface/loopback{lo0}/ipv4/address{10.255.0.4/30}/ip "
            "candidate.xml:269 10.255.0.4/30"}},
          {"ipv4_addr_validation/mgmt-slash24-broadcast",
           "address-is-broadcast",
           {"address, changed /config/interface/mgmt{eth1}/ipv4/address/ip "
            "candidate.xml:325 172.31.21.255/24"}},
          {"ipv4_addr_validation/l3-secondary-broadcast",
           "address-is-broadcast",
           {"address, added "
            "/config/interface/l3{voice}/ipv4/address/secondary{10.20.23.255/"
            "23}/ip candidate.xml:109 10.20.23.255/23"}},
          {"ipv4_addr_validation/l3-duplicate-other-length",
           "address-twice",
           {"address, unchanged /config/interface/l3{users}/ipv4/address/ip "
            "candidate.xml:80 10.20.10.1/24",
            "same address, added "
            "/config/interface/l3{users}/ipv4/address/secondary{10.20.10.1/25}/"
            "ip candidate.xml:85 10.20.10.1/25"}},
          {"ipv4_addr_validation/loopback-duplicate-other-length",
           "address-twice",
           {"address, unchanged "
            "/config/interface/loopback{dns-red}/ipv4/address{10.255.1.53/32}/"
            "ip candidate.xml:281 10.255.1.53/32",
            "same address, added "
            "/config/interface/loopback{dns-red}/ipv4/address{10.255.1.53/31}/"
            "ip candidate.xml:284 10.255.1.53/31"}},
          {"ipv6_addr_validation/l3-duplicate-other-spelling",
           "address-twice",
           {"address, unchanged "
            "/config/interface/l3{users}/ipv6/address{2001:db8:20:10::1/64}/ip "
            "candidate.json:100 \"2001:db8:20:10::1/64\"",
            "same address, added "
            "/config/interface/l3{users}/ipv6/address{2001:db8:20:10::1/96}/ip "
            "candidate.json:103 \"2001:0DB8:0020:0010:0:0:0:1/96\""}},
          {"ipv6_addr_validation/mgmt-duplicate-other-length",
           "address-twice",
           {"address, unchanged "
            "/config/interface/mgmt{eth1}/ipv6/address{2001:db8:20:ff01::2/64}/"
            "ip candidate.xml:330 2001:db8:20:ff01::2/64",
            "same address, added "
            "/config/interface/mgmt{eth1}/ipv6/address{2001:db8:20:ff01::2/"
            "120}/ip candidate.xml:333 2001:db8:20:ff01::2/120"}},
          {"intf_vrf_validation/l3-vrf-changed-into-overlap",
           "interface-overlap",
           {"address, unchanged /config/interface/l3{red-hq}/ipv4/address/ip "
            "candidate.xml:200 10.0.0.1/24",
            "overlaps with, unchanged "
            "/config/interface/l3{blue-hq}/ipv4/address/ip candidate.xml:235 "
            "10.0.0.1/24",
            "VRF of l3 blue-hq, changed /config/interface/l3{blue-hq}/vrf "
            "candidate.xml:228 red"}},
          {"intf_vrf_validation/l3-vrf-removed-into-overlap",
           "interface-overlap",
           {"address, unchanged "
            "/config/interface/l3{blue-shop}/ipv4/address/ip candidate.xml:251 "
            "172.31.20.65/26",
            "overlaps with, unchanged "
            "/config/interface/mgmt{eth0}/ipv4/address/ip candidate.xml:309 "
            "172.31.20.2/24",
            "VRF of l3 blue-shop, removed /config/interface/l3{blue-shop}/vrf "
            "running.xml:245 blue"}},
          {"ipv4_addr_validation/l3-and-loopback-changed-into-overlap",
           "interface-overlap",
           {"address, added "
            "/config/interface/l3{lab}/ipv4/address/secondary{10.255.9.129/24}/"
            "ip candidate.json:149 \"10.255.9.129/24\"",
            "overlaps with, added "
            "/config/interface/loopback{lo0}/ipv4/address{10.255.9.1/32}/ip "
            "candidate.json:308 \"10.255.9.1/32\""}},
          {"ipv6_addr_validation/l3-overlaps-mgmt",
           "interface-overlap",
           {"address, added "
            "/config/interface/l3{lab}/ipv6/address{2001:db8:20:ff00::129/112}/"
            "ip candidate.xml:139 2001:db8:20:ff00::129/112",
            "overlaps with, unchanged "
            "/config/interface/mgmt{eth0}/ipv6/address{2001:db8:20:ff00::2/64}/"
            "ip candidate.xml:318 2001:db8:20:ff00::2/64"}},
          {"ipv6_addr_validation/l3-vrf-changed-into-overlap",
           "interface-overlap",
           {"address, unchanged "
            "/config/interface/l3{red-hq}/ipv6/address{fd00:a::1/64}/ip "
            "candidate.xml:205 fd00:a::1/64",
            "overlaps with, unchanged "
            "/config/interface/l3{blue-hq}/ipv6/address{fd00:a::1/64}/ip "
            "candidate.xml:240 fd00:a::1/64",
            "VRF of l3 blue-hq, changed /config/interface/l3{blue-hq}/vrf "
            "candidate.xml:228 red"}},
          {"ipv4_addr_validation/l3-address-beside-standing-overlap",
           "interface-overlap",
           {"address, unchanged /config/interface/l3{users}/ipv4/address/ip "
            "candidate.xml:80 10.20.10.1/24",
            "overlaps with, unchanged "
            "/config/interface/l3{lab}/ipv4/address/secondary{10.20.10.129/25}/"
            "ip candidate.xml:133 10.20.10.129/25"}},
      });
}

void AddRoutes(std::vector<Expectation>* all) {
  all->insert(
      all->end(),
      {
          {"ipv4_addr_route_validation/route-in-red-through-own-address",
           "route-next-hop-is-own",
           {"address, unchanged "
            "/config/interface/l3{red-plant}/ipv4/address/ip "
            "candidate.json:242 \"10.0.1.1/24\"",
            "next hop, added /DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry{2 "
            "ipv4 0a:50:00:00 16 ipv4 0a:00:01:01}/rtmStaticRtNextHop "
            "candidate.json:581 \"0a:00:01:01\""}},
          {"ipv4_addr_route_validation/"
           "route-with-host-bits-through-own-address",
           "route-next-hop-is-own",
           {"address, unchanged /config/interface/l3{voice}/ipv4/address/ip "
            "candidate.xml:107 10.20.20.1/24",
            "next hop, added /DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry{0 "
            "ipv4 0a:50:00:01 16 ipv4 0a:14:14:01}/rtmStaticRtNextHop "
            "candidate.xml:522 0a:14:14:01"}},
          {"ipv6_addr_route_validation/route-through-own-loopback",
           "route-next-hop-is-own",
           {"address, unchanged "
            "/config/interface/loopback{lo0}/ipv6/address{2001:db8:20:ffff::1/"
            "128}/ip candidate.xml:271 2001:db8:20:ffff::1/128",
            "next hop, added /DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry{0 "
            "ipv6 20:01:0d:b8:00:80:00:00:00:00:00:00:00:00:00:00 48 ipv6 "
            "20:01:0d:b8:00:20:ff:ff:00:00:00:00:00:00:00:01}/"
            "rtmStaticRtNextHop candidate.xml:522 "
            "20:01:0d:b8:00:20:ff:ff:00:00:00:00:00:00:00:01"}},
          {"ipv6_addr_route_validation/vrf-name-removed",
           "route-next-hop-is-own",
           {"address, unchanged "
            "/config/interface/l3{lab}/ipv6/address{2001:db8:20:40::1/64}/ip "
            "candidate.xml:136 2001:db8:20:40::1/64",
            "next hop, unchanged "
            "/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry{4 ipv6 "
            "00:00:00:00:00:00:00:00:00:00:00:00:00:00:00:00 0 ipv6 "
            "20:01:0d:b8:00:20:00:40:00:00:00:00:00:00:00:01}/"
            "rtmStaticRtNextHop candidate.xml:502 "
            "20:01:0d:b8:00:20:00:40:00:00:00:00:00:00:00:01",
            "VRF of the route, removed "
            "/internal/vrf-config/indexTOstring{4}/vname running.xml:355 "
            "guest"}},
          {"intf_vrf_validation/l3-vrf-changed-onto-next-hop",
           "route-next-hop-is-own",
           {"address, unchanged /config/interface/l3{lab}/ipv4/address/ip "
            "candidate.xml:132 10.20.40.1/26",
            "next hop, unchanged "
            "/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry{5 ipv4 0a:60:00:00 "
            "12 ipv4 0a:14:28:01}/rtmStaticRtNextHop candidate.xml:527 "
            "0a:14:28:01",
            "VRF of l3 lab, added /config/interface/l3{lab}/vrf "
            "candidate.xml:126 green"}},
          {"ipv6_addr_route_validation/route-1001-ipv4",
           "route-too-many",
           {"new route, added /DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry{0 "
            "ipv4 64:40:00:00 24 ipv4 c0:00:02:01} candidate.xml:460 0",
            "new route, added /DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry{0 "
            "ipv4 64:40:01:00 24 ipv4 c0:00:02:05} candidate.xml:461 0",
            "new route, added /DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry{0 "
            "ipv4 64:40:02:00 24 ipv4 c0:00:02:01} candidate.xml:462 0",
            "new route, added /DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry{0 "
            "ipv4 64:40:03:00 24 ipv4 c0:00:02:05} candidate.xml:463 0",
            "new route, added /DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry{0 "
            "ipv4 64:40:04:00 24 ipv4 c0:00:02:01} candidate.xml:464 0",
            "note: 1001 IPv4 and 0 IPv6 routes take the room of 1001, there is "
            "room for 1000; 987 of the 992 new ones are not listed"}},
          {"ipv6_addr_route_validation/route-removed-1002-to-1001",
           "route-too-many",
           {"note: 1001 IPv4 and 0 IPv6 routes take the room of 1001, there is "
            "room for 1000; none of them is new"}},
          {"ipv4_addr_route_validation/route-black-hole-added",
           "route-black-hole-and-next-hop",
           {"black hole, added /DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry{0 "
            "ipv4 0a:50:00:00 16 ipv4 00:00:00:00}/rtmStaticRtNextHop "
            "candidate.xml:530 00:00:00:00",
            "next hop, unchanged "
            "/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry{0 ipv4 0a:50:00:00 "
            "16 ipv4 0a:14:00:01}/rtmStaticRtNextHop candidate.xml:522 "
            "0a:14:00:01"}},
          {"ipv6_addr_route_validation/route-black-hole-of-an-unknown-vrf",
           "route-black-hole-and-next-hop",
           {"black hole, unchanged "
            "/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry{0 ipv6 "
            "20:01:0d:b8:00:20:00:00:00:00:00:00:00:00:00:00 48 ipv6 "
            "00:00:00:00:00:00:00:00:00:00:00:00:00:00:00:00}/"
            "rtmStaticRtNextHop candidate.xml:474 "
            "00:00:00:00:00:00:00:00:00:00:00:00:00:00:00:00",
            "next hop, added /DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry{9 "
            "ipv6 20:01:0d:b8:00:20:00:00:00:00:00:00:00:00:00:00 48 ipv6 "
            "20:01:0d:b8:00:fe:00:02:00:00:00:00:00:00:00:01}/"
            "rtmStaticRtNextHop candidate.xml:522 "
            "20:01:0d:b8:00:fe:00:02:00:00:00:00:00:00:00:01"}},
          {"static_route_l3_intf_validation/l3-vlan-removed",
           "route-output-without-vlan",
           {"VLAN, removed /config/interface/l3{users}/lower-layer-if/vlan "
            "running.xml:75 10",
            "output interface of a route, unchanged /rtmStaticRtEntry-global{0 "
            "0a:40:00:00 12 0a:14:0a:fe}/interface-name candidate.xml:534 "
            "l3-users"}},
          {"static_route_l3_intf_validation/l3-created-without-vlan",
           "route-output-without-vlan",
           {"interface without VLAN, added /config/interface/l3{iot} "
            "candidate.xml:262 iot",
            "output interface of a route, unchanged /rtmStaticRtEntry-global{0 "
            "0a:50:00:00 16 0a:14:3c:02}/interface-name candidate.xml:567 "
            "l3-iot"}},
          {"static_route_l3_intf_validation/l3-vlan-of-both-families-removed",
           "route-output-without-vlan",
           {"VLAN, removed /config/interface/l3{uplink-a}/lower-layer-if/vlan "
            "running.json:9 101",
            "output interface of a route, unchanged /rtmStaticRtEntry-global{0 "
            "00:00:00:00 0 c0:00:02:01}/interface-name candidate.json:581 "
            "\"l3-uplink-a\"",
            "output interface of a route, unchanged /rtmStaticRtEntry-global{0 "
            "00:00:00:00:00:00:00:00:00:00:00:00:00:00:00:00 0 "
            "20:01:0d:b8:00:fe:00:01:00:00:00:00:00:00:00:01}/interface-name "
            "candidate.json:602 \"l3-uplink-a\""}},
          {"static_route_l3_intf_validation/route-beside-standing-fault",
           "route-output-without-vlan",
           {"interface without VLAN, unchanged /config/interface/l3{users} "
            "candidate.xml:73 users",
            "output interface of a route, unchanged /rtmStaticRtEntry-global{0 "
            "0a:40:00:00 12 0a:14:0a:fe}/interface-name candidate.xml:542 "
            "l3-users"}},
      });
}

void AddOspf(std::vector<Expectation>* all) {
  all->insert(
      all->end(),
      {
          {"ipv4_addr_prot_cross_validation/l3-address-changed",
           "ospf-address-removed",
           {"address in its place, changed "
            "/config/interface/l3{core1}/ipv4/address/ip candidate.xml:46 "
            "10.20.0.4/31",
            "known to OSPFv2, unchanged /internal/ospf-interface-l3{10 0.0.0.0 "
            "l3-core1 10.20.0.0}/address candidate.xml:363 10.20.0.0"}},
          {"ipv4_addr_prot_cross_validation/l3-address-removed",
           "ospf-address-removed",
           {"address, removed /config/interface/l3{core1}/ipv4/address/ip "
            "running.xml:45 10.20.0.0/31",
            "known to OSPFv2, unchanged /internal/ospf-interface-l3{10 0.0.0.0 "
            "l3-core1 10.20.0.0}/address candidate.xml:358 10.20.0.0"}},
          {"ipv4_addr_prot_cross_validation/l3-address-replaced-by-two",
           "ospf-address-removed",
           {"address in its place, changed "
            "/config/interface/l3{core1}/ipv4/address/ip candidate.xml:46 "
            "10.20.0.4/31",
            "known to OSPFv2, unchanged /internal/ospf-interface-l3{10 0.0.0.0 "
            "l3-core1 10.20.0.0}/address candidate.xml:366 10.20.0.0"}},
          {"ipv4_addr_prot_cross_validation/"
           "l3-address-changed-process-row-missing",
           "ospf-address-removed",
           {"address in its place, changed "
            "/config/interface/l3{core1}/ipv4/address/ip candidate.xml:46 "
            "10.20.0.4/31",
            "known to OSPFv2, unchanged /internal/ospf-interface-l3{10 0.0.0.0 "
            "l3-core1 10.20.0.0}/address candidate.xml:363 10.20.0.0",
            "note: the table of processes lacks compound-id 10"}},
          {"ipv4_addr_prot_cross_validation/l3-secondary-added",
           "ospf-address-added",
           {"address, added "
            "/config/interface/l3{core1}/ipv4/address/secondary{10.20.0.9/29}/"
            "ip candidate.xml:48 10.20.0.9/29",
            "assigned to OSPFv2, unchanged /internal/ospf-interface-l3{10 "
            "0.0.0.0 l3-core1 10.20.0.0}/interface candidate.xml:365 "
            "l3-core1"}},
          {"ipv4_addr_prot_cross_validation/loopback-in-vrf-address-added",
           "ospf-address-added",
           {"address, added "
            "/config/interface/loopback{dns-red}/ipv4/address{10.255.1.54/32}/"
            "ip candidate.xml:284 10.255.1.54/32",
            "assigned to OSPFv2, unchanged /internal/ospf-interface-l3{20 "
            "0.0.0.0 loopback-dns-red 10.255.1.53}/interface candidate.xml:386 "
            "loopback-dns-red"}},
          {"ipv4_addr_prot_cross_validation/ospf-row-of-one-address-of-two",
           "ospf-address-added",
           {"address, unchanged "
            "/config/interface/l3{users}/ipv4/address/secondary{10.20.11.1/24}/"
            "ip candidate.xml:82 10.20.11.1/24",
            "assigned to OSPFv2, added /internal/ospf-interface-l3{10 0.0.0.1 "
            "l3-users 10.20.10.1}/interface candidate.xml:383 l3-users"}},
          {"intf_vrf_validation/l3-moved-under-ospf",
           "ospf-vrf-differs",
           {"VRF of the interface, added /config/interface/l3{core1}/vrf "
            "candidate.xml:40 red",
            "assigned to OSPFv2, unchanged /internal/ospf-interface-l3{10 "
            "0.0.0.0 l3-core1 10.20.0.0}/interface candidate.xml:363 l3-core1",
            "VRF of the process, unchanged "
            "/internal/ospf-index-to-proc-id{10}/vrf_name candidate.xml:384 "
            "global"}},
          {"intf_vrf_validation/"
           "l3-created-in-global-beside-its-ospf-row-of-a-vrf",
           "ospf-vrf-differs",
           {"interface without VRF, added /config/interface/l3{core3} "
            "candidate.xml:262 core3",
            "assigned to OSPFv2, unchanged /internal/ospf-interface-l3{20 "
            "0.0.0.0 l3-core3 10.20.0.4}/interface candidate.xml:394 l3-core3",
            "VRF of the process, unchanged "
            "/internal/ospf-index-to-proc-id{20}/vrf_name candidate.xml:406 "
            "red"}},
          {"intf_vrf_validation/l3-moved-under-ospfv3",
           "ospfv3-vrf-set",
           {"VRF, added /config/interface/l3{users}/vrf candidate.xml:75 guest",
            "interface in OSPFv3, unchanged /internal/ospfv3-interface-l3{6 "
            "0.0.0.1 l3-users}/ospfv3-pm-if-name candidate.xml:420 l3-users"}},
          {"intf_vrf_validation/loopback-moved-under-ospfv3",
           "ospfv3-vrf-set",
           {"VRF, added /config/interface/loopback{lo6}/vrf candidate.json:314 "
            "\"guest\"",
            "interface in OSPFv3, unchanged /internal/ospfv3-interface-l3{6 "
            "0.0.0.0 loopback-lo6}/ospfv3-pm-if-name candidate.json:474 "
            "\"loopback-lo6\""}},
          {"lower_layer_prot_cross_validation/l3-two-vlans-changed",
           "ospfv3-vlan-changed",
           {"VLAN, changed /config/interface/l3{core1}/lower-layer-if/vlan "
            "candidate.xml:42 113",
            "interface in OSPFv3, unchanged /internal/ospfv3-interface-l3{6 "
            "0.0.0.0 l3-core1}/ospfv3-pm-if-index candidate.xml:397 1111"}},
          {"lower_layer_prot_cross_validation/l3-in-router-4294967295",
           "ospfv3-vlan-changed",
           {"VLAN, changed /config/interface/l3{users}/lower-layer-if/vlan "
            "candidate.xml:76 12",
            "interface in OSPFv3, unchanged "
            "/internal/ospfv3-interface-l3{4294967295 0.0.0.1 "
            "l3-users}/ospfv3-pm-if-index candidate.xml:389 1010"}},
      });
}

void AddTimers(std::vector<Expectation>* all) {
  all->insert(
      all->end(),
      {
          {"validate_ipv6_nd_ra_interval/l3-max-200-min-151",
           "ra-min-interval",
           {"min-interval, changed "
            "/config/interface/l3{users}/ipv6/nd/ra/min-interval "
            "candidate.xml:61 151",
            "max-interval, changed "
            "/config/interface/l3{users}/ipv6/nd/ra/max-interval "
            "candidate.xml:60 200"}},
          {"validate_ipv6_nd_ra_interval/l3-max-lowered-without-min",
           "ra-min-interval",
           {"min-interval, unchanged "
            "/config/interface/l3{users}/ipv6/nd/ra/min-interval "
            "candidate.xml:61 450",
            "max-interval, changed "
            "/config/interface/l3{users}/ipv6/nd/ra/max-interval "
            "candidate.xml:60 200"}},
          {"validate_ipv6_nd_ra_lifetime/l3-lifetime-600-max-600",
           "ra-lifetime",
           {"lifetime, changed /config/interface/l3{users}/ipv6/nd/ra/lifetime "
            "candidate.xml:62 600",
            "max-interval, unchanged "
            "/config/interface/l3{users}/ipv6/nd/ra/max-interval "
            "candidate.xml:60 600"}},
          {"validate_ipv6_nd_ra_interval/l3-max-removed",
           "ra-timer-missing",
           {"max-interval, removed "
            "/config/interface/l3{users}/ipv6/nd/ra/max-interval "
            "running.json:69 600",
            "min-interval, unchanged "
            "/config/interface/l3{users}/ipv6/nd/ra/min-interval "
            "candidate.json:69 200",
            "lifetime, unchanged "
            "/config/interface/l3{users}/ipv6/nd/ra/lifetime candidate.json:70 "
            "1800"}},
          {"validate_ipv6_nd_ra_interval/mgmt-min-missing-max-set",
           "ra-timer-missing",
           {"max-interval, added "
            "/config/interface/mgmt{eth1}/ipv6/nd/ra/max-interval "
            "candidate.xml:184 600",
            "note: min-interval is in neither configuration"}},
          {"validate_ipv6_nd_ra_lifetime/l3-lifetime-removed",
           "ra-timer-missing",
           {"lifetime, removed /config/interface/l3{users}/ipv6/nd/ra/lifetime "
            "running.json:71 1800",
            "max-interval, unchanged "
            "/config/interface/l3{users}/ipv6/nd/ra/max-interval "
            "candidate.json:69 600",
            "min-interval, unchanged "
            "/config/interface/l3{users}/ipv6/nd/ra/min-interval "
            "candidate.json:70 200"}},
      });
}
// NOLINTEND(readability-function-size,bugprone-suspicious-missing-comma)

}  // namespace

const std::vector<Expectation>& Expectations() {
  static const std::vector<Expectation> expectations = [] {
    std::vector<Expectation> all;
    AddInterfaces(&all);
    AddRoutes(&all);
    AddOspf(&all);
    AddTimers(&all);
    return all;
  }();
  return expectations;
}

}  // namespace ipav::messages
