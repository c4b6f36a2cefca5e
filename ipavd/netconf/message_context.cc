#include "ipavd/netconf/message_context.h"

#include <cstdint>

#include "host/base/bytes.h"
#include "host/datastore/input_error.h"
#include "host/datastore/libyang_error.h"

namespace ipav::netconf {

namespace {

using datastore::InputError;

void Load(ly_ctx* context, const std::string& yang_dir, const char* module,
          const char** features) {
  datastore::ClearErrors(context);
  if (ly_ctx_load_module(context, module, nullptr, features) == nullptr) {
    throw datastore::FirstError(context, yang_dir + "/" + module + ".yang");
  }
}

void LoadNetconf(ly_ctx* context, const std::string& yang_dir) {
  // The server announces and implements each of these features.
  const char* features[] = {"writable-running",
                            "candidate",
                            "confirmed-commit",
                            "rollback-on-error",
                            "validate",
                            "startup",
                            "xpath",
                            nullptr};
  Load(context, yang_dir, "ietf-netconf", features);
  for (const char* module : {"ietf-netconf-with-defaults",
                             "ietf-netconf-monitoring", "ipav-netconf"}) {
    Load(context, yang_dir, module, nullptr);
  }
}

// Loads the modules that the model implements, from the same folders.
void LoadModel(ly_ctx* context, const datastore::Model& model) {
  const char* const* folders = ly_ctx_get_searchdirs(model.context());
  for (; folders != nullptr && *folders != nullptr; ++folders) {
    static_cast<void>(ly_ctx_set_searchdir(context, *folders));
  }
  std::uint32_t index = 0;
  while (const lys_module* module =
             ly_ctx_get_module_iter(model.context(), &index)) {
    const bool has_data =
        module->implemented != 0 && module->compiled != nullptr;
    if (!has_data ||
        ly_ctx_get_module_implemented(context, module->name) != nullptr) {
      continue;
    }
    datastore::ClearErrors(context);
    if (ly_ctx_load_module(context, module->name, module->revision, nullptr) ==
        nullptr) {
      throw datastore::FirstError(context, module->name);
    }
  }
}

}  // namespace

MessageContext MakeMessageContext(const datastore::Model& model,
                                  const std::string& yang_dir) {
  ly_ctx* made = nullptr;
  if (ly_ctx_new(nullptr, LY_CTX_DISABLE_SEARCHDIR_CWD, &made) != LY_SUCCESS) {
    throw InputError(yang_dir, "the YANG library does not start");
  }
  MessageContext context(made);
  if (ly_ctx_set_searchdir(made, yang_dir.c_str()) != LY_SUCCESS) {
    throw InputError(yang_dir, "cannot be searched for YANG modules");
  }
  LoadNetconf(made, yang_dir);
  LoadModel(made, model);
  return context;
}

void ReadRequest(ly_ctx* context, const std::string& request) {
  ly_in* input = nullptr;
  if (ly_in_new_memory(request.c_str(), &input) != LY_SUCCESS) return;
  lyd_node* envelope = nullptr;
  lyd_node* operation = nullptr;
  lyd_parse_op(context, nullptr, input, LYD_XML, LYD_TYPE_RPC_NETCONF,
               &envelope, &operation);
  lyd_free_all(operation);
  lyd_free_all(envelope);
  ly_in_free(input, 0);
  datastore::ClearErrors(context);
}

std::string ContentId(const ly_ctx* context) {
  std::string names;
  std::uint32_t index = 0;
  while (const lys_module* module = ly_ctx_get_module_iter(context, &index)) {
    names += module->name;
    names += '@';
    names += module->revision == nullptr ? "" : module->revision;
    names += module->implemented != 0 ? '+' : ' ';
  }
  return std::to_string(base::StableHash(names));
}

}  // namespace ipav::netconf
