// libyang extension plug-in for `tailf:validate`. Only such a plug-in gets the
// substatements of an extension in a compiled schema. It gets them for every
// origin, including grouping, augment and deviation.

#include <libyang/libyang.h>
#include <libyang/plugins_exts.h>

#include <cctype>
#include <charconv>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "host/datastore/validate_statement.h"

namespace {

using ipav::datastore::ValidateStatement;

constexpr char kModule[] = "tailf-common";

// Name of the module that `prefix` stands for in the text of a statement, or
// null for an unknown one.
const char* ModuleOfPrefix(const lysp_stmt& statement,
                           std::string_view prefix) {
  const auto* in = static_cast<const lysp_module*>(statement.prefix_data);
  if (prefix == in->mod->prefix) return in->mod->name;

  LY_ARRAY_COUNT_TYPE i = 0;
  LY_ARRAY_FOR(in->imports, i) {
    if (prefix == in->imports[i].prefix) return in->imports[i].module->name;
  }
  return nullptr;
}

// Whether the statement is `name` of the extension's own module; another
// module's statements of the same name arrive in the same list.
bool Is(const lysp_stmt& statement, std::string_view name) {
  const std::string_view text = statement.stmt;
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos) return false;
  if (text.substr(colon + 1) != name) return false;
  const char* module = ModuleOfPrefix(statement, text.substr(0, colon));
  return module != nullptr && std::strcmp(module, kModule) == 0;
}

// Replaces each prefix of a location path by the name of its module; false for
// an unknown prefix.
bool WithModuleNames(const lysp_stmt& statement, std::string* path) {
  std::string result;
  std::string_view rest = statement.arg;
  while (!rest.empty()) {
    const std::size_t slash = rest.find('/');
    const std::string_view step = rest.substr(0, slash);
    const std::size_t colon = step.find(':');
    if (colon == std::string_view::npos) {
      result += step;
    } else {
      const char* module = ModuleOfPrefix(statement, step.substr(0, colon));
      if (module == nullptr) return false;
      result += module;
      result += step.substr(colon);
    }
    if (slash == std::string_view::npos) break;
    result += '/';
    rest.remove_prefix(slash + 1);
  }
  *path = result;
  return true;
}

bool ParsePriority(std::string_view text, int* priority) {
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, *priority);
  return error == std::errc() && stop == end;
}

// Stores one substatement; false if its argument is invalid.
bool Take(const lysp_stmt& statement, ValidateStatement* result) {
  const std::string_view argument =
      statement.arg == nullptr ? "" : statement.arg;
  if (Is(statement, "opaque")) {
    result->opaque = argument;
    result->has_opaque = true;
    return true;
  }
  if (Is(statement, "call-once")) {
    result->call_once = argument == "true";
    return argument == "true" || argument == "false";
  }
  if (Is(statement, "priority")) {
    return ParsePriority(argument, &result->priority);
  }
  if (Is(statement, "dependency")) {
    std::string path;
    if (argument.empty() || !WithModuleNames(statement, &path)) return false;
    result->dependencies.push_back(path);
    return true;
  }
  return true;  // this host does not use the statement
}

LY_ERR Compile(lysc_ctx* context, const lysp_ext_instance* parsed,
               lysc_ext_instance* compiled) {
  auto result = std::make_unique<ValidateStatement>();
  for (const lysp_stmt* child = parsed->child; child != nullptr;
       child = child->next) {
    if (!Take(*child, result.get())) {
      lyplg_ext_compile_log(context, compiled, LY_LLERR, LY_EVALID,
                            "Invalid argument \"%s\" of %s.", child->arg,
                            child->stmt);
      return LY_EVALID;
    }
  }
  compiled->compiled = result.release();
  return LY_SUCCESS;
}

void Free(const ly_ctx* /*context*/, lysc_ext_instance* compiled) {
  delete static_cast<ValidateStatement*>(compiled->compiled);
}

}  // namespace

extern "C" {

// Without these two declarations the definitions below would be local to this
// file in C++, and libyang would find no plug-in.
extern std::uint32_t plugins_extensions_apiver__;
extern const struct lyplg_ext_record plugins_extensions__[];

LYPLG_EXTENSIONS = {
    // No revision: another revision's statements must not be dropped silently.
    {kModule,
     nullptr,
     "validate",
     {"ipav validation points", nullptr, Compile, nullptr, nullptr, nullptr,
      nullptr, nullptr, nullptr, nullptr, Free}},
    {}};

}  // extern "C"
