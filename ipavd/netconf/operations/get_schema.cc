#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/base/c_ptr.h"
#include "ipavd/netconf/operations.h"

// The library's own get-schema gives freed memory to the client.

namespace ipav::netconf {

namespace {

using store::ErrorTag;

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
  return base::CText(text).get();
}

// RFC 6022, section 3.1.
Refusal NoModule(const std::string& reason) {
  return Refusal(store::MakeError(ErrorTag::kInvalidValue, reason));
}

// YANG if the client does not say.
LYS_OUTFORMAT FormatOf(const Call& call) {
  const std::string identity = Text(call, "format").value_or("yang");
  const std::string format = identity.substr(identity.rfind(':') + 1);
  if (format == "yang") return LYS_OUT_YANG;
  if (format == "yin") return LYS_OUT_YIN;
  throw NoModule("Modules are there as yang and yin.");
}

}  // namespace

Reply GetSchema(const Call& call) {
  const auto name = Text(call, "identifier");
  if (!name.has_value()) throw MissingElement("identifier");
  const LYS_OUTFORMAT format = FormatOf(call);
  const auto modules = FindModules(call.environment.context, *name,
                                   Text(call, "version").value_or(""));
  if (modules.empty()) {
    throw NoModule("There is no module " + *name + " of that version.");
  }
  if (modules.size() > 1) {
    store::RpcError error =
        store::MakeError(ErrorTag::kOperationFailed,
                         "There are several versions of " + *name + ".");
    error.app_tag = "data-not-unique";
    throw Refusal(error);
  }
  return DataText(call.rpc, Print(*modules.front(), format));
}

}  // namespace ipav::netconf
