#include "host/view/address_plan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/report/interfaces_tree.h"

namespace {

using ipav::datastore::Novelty;
using ipav::testing::Tree;
using ipav::view::AddressPlan;
using ipav::view::PlanOf;
using ipav::view::Prefix;
using ipav::view::Space;
using ipav::view::TextOf;

using Texts = std::vector<std::string>;

// The first IPv4 address is the primary one.
std::string L3(const std::string& name, const std::string& vrf,
               const Texts& addresses) {
  std::string ipv4;
  std::string ipv6;
  for (const std::string& address : addresses) {
    const std::string ip = "<ip>" + address + "</ip>";
    if (address.find(':') != std::string::npos) {
      ipv6 += "<address>" + ip + "</address>";
    } else {
      ipv4 += ipv4.empty() ? ip : "<secondary>" + ip + "</secondary>";
    }
  }
  std::string text =
      "<l3 xmlns=\"urn:vorplex:ipapp\"><name>" + name + "</name>";
  if (!vrf.empty()) text += "<vrf>" + vrf + "</vrf>";
  if (!ipv4.empty()) text += "<ipv4><address>" + ipv4 + "</address></ipv4>";
  return text + "<ipv6>" + ipv6 + "</ipv6></l3>";
}

AddressPlan Plan(const std::string& running, const std::string& candidate,
                 const std::vector<Texts>& findings = {}) {
  return PlanOf(Tree(running), Tree(candidate), findings);
}

// "address/length interface" of all, with what they are in the plan.
Texts Describe(const Space& space) {
  Texts texts;
  for (const Prefix& prefix : space.prefixes) {
    std::string text = prefix.text + " " + prefix.interface;
    if (prefix.novelty == Novelty::kAdded) text += " added";
    if (prefix.novelty == Novelty::kRemoved) text += " removed";
    if (prefix.novelty == Novelty::kChanged) {
      text += " changed from " + prefix.before;
    }
    for (const std::size_t other : prefix.overlaps) {
      text += " overlaps " + space.prefixes[other].text;
    }
    texts.push_back(text);
  }
  return texts;
}

Texts NamesOf(const AddressPlan& plan) {
  Texts names;
  for (const Space& space : plan.spaces) names.push_back(space.name);
  return names;
}

TEST(AddressPlan, HasASpaceForEachVrfAndOneForGlobalAndMgmt) {
  const std::string all =
      L3("c", "zoo", {"10.0.0.1/24"}) + L3("b", "", {"10.0.0.1/24"}) +
      L3("a", "abc", {"10.0.0.1/24"}) +
      "<mgmt xmlns=\"urn:vorplex:ipapp\"><name>eth0</name><vrf>mgmt</vrf><ipv4>"
      "<address><ip>10.1.0.1/24</ip></address></ipv4></mgmt>";
  const AddressPlan plan = Plan(all, all);
  EXPECT_EQ(NamesOf(plan),
            (Texts{"VRFs global and mgmt", "VRF abc", "VRF zoo"}));
  EXPECT_EQ(Describe(plan.spaces[0]),
            (Texts{"10.0.0.1/24 l3 b", "10.1.0.1/24 mgmt eth0"}));
}

TEST(AddressPlan, OfNothingHasNoSpace) {
  EXPECT_TRUE(Plan("", "").spaces.empty());
  const std::string bare = L3("a", "red", {});
  EXPECT_TRUE(Plan(bare, bare).spaces.empty());
}

TEST(AddressPlan, IsInTheOrderOfAddressesNotOfTexts) {
  const std::string all = L3("a", "", {"100.0.0.1/8"}) +
                          L3("b", "", {"9.0.0.1/30", "2001:db8:a::1/64"}) +
                          L3("c", "", {"9.0.1.1/24", "2001:db8:9::1/64"});
  EXPECT_EQ(Describe(Plan(all, all).spaces[0]),
            (Texts{"9.0.0.1/30 l3 b", "9.0.1.1/24 l3 c", "100.0.0.1/8 l3 a",
                   "2001:db8:9::1/64 l3 c", "2001:db8:a::1/64 l3 b"}));
}

TEST(AddressPlan, TellsWhatIsNewWhatWasAndWhatIsGone) {
  const std::string running =
      L3("kept", "", {"10.0.1.1/24"}) + L3("moved", "", {"10.0.2.1/24"}) +
      L3("renumbered", "", {"10.0.3.1/24"}) + L3("gone", "", {"10.0.4.1/24"}) +
      L3("lowered", "", {"10.0.8.1/24"});
  const std::string candidate =
      L3("kept", "", {"10.0.1.1/24"}) + L3("moved", "red", {"10.0.2.1/24"}) +
      L3("renumbered", "", {"10.0.5.1/24"}) + L3("new", "", {"10.0.6.1/24"}) +
      L3("lowered", "", {"10.0.7.1/24"});
  const AddressPlan plan = Plan(running, candidate);
  EXPECT_EQ(Describe(plan.spaces[0]),
            (Texts{"10.0.1.1/24 l3 kept", "10.0.4.1/24 l3 gone removed",
                   "10.0.5.1/24 l3 renumbered changed from 10.0.3.1/24",
                   "10.0.6.1/24 l3 new added",
                   "10.0.7.1/24 l3 lowered changed from 10.0.8.1/24"}));
  EXPECT_EQ(Describe(plan.spaces[1]),
            Texts{"10.0.2.1/24 l3 moved changed from in VRF global"});
}

TEST(AddressPlan, ShowsOverlapsOfTwoInterfacesInOneSpaceOnly) {
  const std::string all =
      L3("a", "", {"10.0.0.1/24"}) + L3("b", "mgmt", {"10.0.0.129/25"}) +
      L3("c", "red", {"10.0.0.2/24"}) + L3("d", "", {"10.0.1.1/24"});
  const AddressPlan plan = Plan(all, all);
  EXPECT_EQ(
      Describe(plan.spaces[0]),
      (Texts{"10.0.0.1/24 l3 a overlaps 10.0.0.129/25",
             "10.0.0.129/25 l3 b overlaps 10.0.0.1/24", "10.0.1.1/24 l3 d"}));
  EXPECT_EQ(Describe(plan.spaces[1]), Texts{"10.0.0.2/24 l3 c"});
}

TEST(AddressPlan, LetsAnInterfaceHaveTwoAddressesOfASubnetButNotOneTwice) {
  const std::string fine = L3("a", "", {"10.0.0.1/24", "10.0.0.2/24"});
  EXPECT_EQ(Describe(Plan(fine, fine).spaces[0]),
            (Texts{"10.0.0.1/24 l3 a", "10.0.0.2/24 l3 a"}));
  const std::string twice = L3("a", "", {"10.0.0.1/24", "10.0.0.1/16"});
  EXPECT_EQ(Describe(Plan(twice, twice).spaces[0]),
            (Texts{"10.0.0.1/16 l3 a overlaps 10.0.0.1/24",
                   "10.0.0.1/24 l3 a overlaps 10.0.0.1/16"}));
}

TEST(AddressPlan, SetsARemovedAddressInConflictWithNothing) {
  const AddressPlan plan =
      Plan(L3("old", "", {"10.0.0.1/24"}), L3("new", "", {"10.0.0.1/24"}));
  EXPECT_EQ(Describe(plan.spaces[0]),
            (Texts{"10.0.0.1/24 l3 new added", "10.0.0.1/24 l3 old removed"}));
}

TEST(AddressPlan, KnowsTheFindingsThatNameAnAddress) {
  const std::string all = L3("a", "", {"10.0.0.1/24", "10.0.1.1/24"}) +
                          L3("b", "", {"2001:db8::1/64", "2001:db8:1::1/64"});
  const std::vector<Texts> findings = {
      {"/config/interface/l3{a}/ipv4/address/ip"},
      {},
      {"/config/interface/l3{a}/ipv4/address/secondary{10.0.1.1/24}",
       "/config/interface/l3{b}/ipv6/address{2001:db8::1/64}/ip"}};
  const AddressPlan plan = Plan(all, all, findings);
  std::vector<std::vector<std::size_t>> named;
  for (const Prefix& prefix : plan.spaces[0].prefixes) {
    named.push_back(prefix.findings);
    EXPECT_EQ(prefix.InConflict(), !prefix.findings.empty());
  }
  EXPECT_EQ(named, (std::vector<std::vector<std::size_t>>{{0}, {2}, {2}, {}}));
}

// Every pair of the plan against plain arithmetic on numbers.
TEST(AddressPlan, MarksExactlyThosePrefixesThatArithmeticFindsInConflict) {
  std::mt19937 random(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp): repeatable
  const auto below = [&](unsigned n) {
    return static_cast<unsigned>(random() % n);
  };
  for (int round = 0; round < 200; ++round) {
    struct Row {
      std::string interface;
      unsigned first;
      unsigned last;
      bool in_conflict;
    };
    std::vector<Row> rows;
    std::string all;
    for (unsigned i = 0; i < 12; ++i) {
      const unsigned length = 24 + below(7);
      const unsigned last_octet = 1 + below(250);
      const unsigned third = below(4);
      const std::string name = std::to_string(i);
      all += L3(name, "",
                {"10.0." + std::to_string(third) + "." +
                 std::to_string(last_octet) + "/" + std::to_string(length)});
      const unsigned size = 1U << (32 - length);
      const unsigned first = (third * 256 + last_octet) / size * size;
      rows.push_back({"l3 " + name, first, first + size - 1, false});
    }
    for (Row& a : rows) {
      for (const Row& b : rows) {
        if (&a != &b && a.first <= b.last && b.first <= a.last) {
          a.in_conflict = true;
        }
      }
    }
    const AddressPlan plan = Plan(all, all);
    for (const Prefix& prefix : plan.spaces[0].prefixes) {
      const auto row =
          std::find_if(rows.begin(), rows.end(), [&](const Row& candidate) {
            return candidate.interface == prefix.interface;
          });
      EXPECT_EQ(prefix.InConflict(), row->in_conflict) << all << "\n"
                                                       << prefix.text;
    }
  }
}

TEST(Network, CoverIsTheSmallestThatContainsBoth) {
  const auto network = [](const std::string& prefix) {
    return Plan("", L3("a", "", {prefix})).spaces[0].prefixes[0].network;
  };
  const auto cover = [&](const std::string& a, const std::string& b) {
    return TextOf(CoverOf(network(a), network(b)));
  };
  EXPECT_EQ(cover("10.0.0.1/24", "10.0.1.1/24"), "10.0.0.0/23");
  EXPECT_EQ(cover("10.0.0.1/24", "10.0.0.129/25"), "10.0.0.0/24");
  EXPECT_EQ(cover("1.0.0.1/32", "200.0.0.1/32"), "0.0.0.0/0");
  EXPECT_EQ(cover("10.0.0.1/32", "10.0.0.1/32"), "10.0.0.1/32");
  EXPECT_EQ(cover("2001:db8::1/128", "2001:db8::2/128"), "2001:db8::/126");
  EXPECT_EQ(cover("2001:db8::1/64", "2001:db8:0:8000::1/64"), "2001:db8::/48");
}

}  // namespace
