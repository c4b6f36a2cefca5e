#include <cstdint>
#include <cstdlib>
#include <vector>

#include "netconf/operations.h"

// The library's own get-schema gives freed memory to the client.

namespace ipav::netconf {

namespace {

using store::ErrorTag;
using store::ErrorType;
using store::RpcError;

// The modules of that name and, if not empty, revision.
std::vector<const lys_module*> FindModules(const ly_ctx* context,
                                           const std::string& name,
                                           const std::string& revision) {
  std::vector<const lys_module*> modules;
  std::uint32_t index = 0;
  while (const lys_module* module = ly_ctx_get_module_iter(context, &index)) {
    const std::string its_revision =
        module->revision == nullptr ? "" : module->revision;
    if (name == module->name &&
        (revision.empty() || revision == its_revision)) {
      modules.push_back(module);
    }
  }
  return modules;
}

std::string Print(const lys_module& module, LYS_OUTFORMAT format) {
  char* text = nullptr;
  if (lys_print_mem(&text, &module, format, 0) != LY_SUCCESS) {
    throw std::runtime_error("a module cannot be written");
  }
  std::string printed = text;
  std::free(text);  // NOLINT: it comes from malloc()
  return printed;
}

// RFC 6022, section 3.1.
RpcError NoModule(const std::string& reason) {
  return {ErrorType::kApplication, ErrorTag::kInvalidValue, "", "", reason, {}};
}

RpcError TooManyModules(const std::string& reason) {
  return {ErrorType::kApplication,
          ErrorTag::kOperationFailed,
          "data-not-unique",
          "",
          reason,
          {}};
}

}  // namespace

Reply GetSchema(const Call& call) {
  const std::string name = Text(call, "identifier").value_or("");
  const std::string format = Text(call, "format").value_or("yang");
  const bool is_yin = format.find("yin") != std::string::npos;
  if (!is_yin && format.find("yang") == std::string::npos) {
    return Refuse(call.rpc, NoModule("Modules are there as yang and yin."));
  }
  const auto modules = FindModules(call.environment.context, name,
                                   Text(call, "version").value_or(""));
  if (modules.empty()) {
    return Refuse(call.rpc,
                  NoModule("There is no module " + name + " of that version."));
  }
  if (modules.size() > 1) {
    return Refuse(call.rpc, TooManyModules("There are several versions of " +
                                           name + "."));
  }
  return DataText(call.rpc,
                  Print(*modules.front(), is_yin ? LYS_OUT_YIN : LYS_OUT_YANG));
}

}  // namespace ipav::netconf
