#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "tests/plugin/dynamic_symbols.h"

namespace {

// The calls of the platform interface. A C++ class has mangled names.
constexpr char kSeam[] =
    " IdVrfFromComponent cdb_get_int32 confd_errno confd_free_value "
    "confd_lasterr confd_pp_value confd_trans_seterr "
    "get_config_vald_log_handle get_lib_context hostd_instance_get "
    "hostd_maapi_socket_get hostmw_gen_fault hostmw_vlog_debug "
    "limid_l3_vlan_from_components limid_to_ifindex maapi_destroy_cursor "
    "maapi_exists maapi_get_elem maapi_get_int32_elem "
    "maapi_get_ipv4_and_plen_elem maapi_get_ipv6_and_plen_elem "
    "maapi_get_next maapi_get_str_elem maapi_get_u_int16_elem "
    "maapi_get_u_int32_elem maapi_get_u_int8_elem maapi_init_cursor "
    "maapi_keypath_diff_iterate maapi_num_instances maapi_xpath_eval_expr ";

bool IsOfTheSeam(const std::string& name) {
  constexpr char kSession[] = "19HostdCdbSessionBase";
  return std::string(kSeam).find(" " + name + " ") != std::string::npos ||
         name.find(kSession) != std::string::npos;
}

// The run-time libraries version their symbols.
bool IsOfTheRuntime(const std::string& name) {
  for (const char* version : {"@GLIBC_", "@GLIBCXX_", "@CXXABI_", "@GCC_"}) {
    if (name.find(version) != std::string::npos) return true;
  }
  return false;
}

bool IsOptional(const DynamicSymbol& symbol) {
  return symbol.kind == 'w' || symbol.kind == 'v';
}

TEST(ImportedSymbolsTest, AreThoseOfTheSeamAndOfTheRuntimeOnly) {
  std::vector<std::string> others;
  for (const auto& symbol : DynamicSymbols("--undefined-only")) {
    if (IsOptional(symbol) || IsOfTheRuntime(symbol.name) ||
        IsOfTheSeam(symbol.name)) {
      continue;
    }
    others.push_back(symbol.name);
  }
  EXPECT_EQ(others, std::vector<std::string>{});
}

TEST(ImportedSymbolsTest, LeaveThePlatformToTheLoadingProcess) {
  std::set<std::string> names;
  for (const auto& symbol : DynamicSymbols("--undefined-only")) {
    names.insert(symbol.name);
  }
  for (const char* call :
       {"confd_trans_seterr", "get_lib_context", "hostd_maapi_socket_get",
        "maapi_exists", "maapi_get_u_int16_elem"}) {
    EXPECT_EQ(names.count(call), 1U) << call;
  }
}

// The library writes nothing to standard output or standard error; a failed
// assertion is the C library's own report.
TEST(ImportedSymbolsTest, AreNoneThatPrint) {
  const std::set<std::string> printers = {
      "printf",  "fprintf",   "vprintf",   "vfprintf", "puts",    "fputs",
      "putchar", "fwrite",    "write",     "perror",   "dprintf", "stdout",
      "stderr",  "_ZSt4cout", "_ZSt4cerr", "_ZSt4clog"};
  for (const DynamicSymbol& symbol : DynamicSymbols("--undefined-only")) {
    const std::string name = symbol.name.substr(0, symbol.name.find('@'));
    EXPECT_EQ(printers.count(name), 0U) << symbol.name;
  }
}

}  // namespace
