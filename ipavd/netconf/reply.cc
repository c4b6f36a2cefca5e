#include "ipavd/netconf/reply.h"

#include <libxml/entities.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "host/base/utf8.h"
#include "netconf/xml.h"

namespace ipav::netconf {

namespace {

using store::ErrorTag;
using store::RpcError;

NC_ERR_TYPE TypeOf(const RpcError& error) {
  switch (error.type) {
    case store::ErrorType::kRpc:
      return NC_ERR_TYPE_RPC;
    case store::ErrorType::kProtocol:
      return NC_ERR_TYPE_PROT;
    case store::ErrorType::kApplication:
      break;
  }
  return NC_ERR_TYPE_APP;
}

// The library's tags, indexed by ErrorTag.
constexpr std::array kTags = {
    NC_ERR_IN_USE,       NC_ERR_RES_DENIED,       NC_ERR_INVALID_VALUE,
    NC_ERR_MISSING_ATTR, NC_ERR_BAD_ATTR,         NC_ERR_UNKNOWN_ATTR,
    NC_ERR_MISSING_ELEM, NC_ERR_BAD_ELEM,         NC_ERR_UNKNOWN_ELEM,
    NC_ERR_UNKNOWN_NS,   NC_ERR_LOCK_DENIED,      NC_ERR_DATA_EXISTS,
    NC_ERR_DATA_MISSING, NC_ERR_OP_NOT_SUPPORTED, NC_ERR_OP_FAILED};

// The library's tree of a tag. The library takes the details of each tag as
// variable arguments, and a missing one crashes the process.
lyd_node* TreeOfTag(const ly_ctx* context, const RpcError& error) {
  const auto info = [&error](const char* name) {
    for (const auto& [key, text] : error.info) {
      if (key == name) return text.c_str();
    }
    return "";
  };
  const NC_ERR_TYPE type = TypeOf(error);
  const NC_ERR tag = kTags.at(static_cast<std::size_t>(error.tag));
  switch (error.tag) {
    case ErrorTag::kLockDenied:
      return nc_err(context, tag,
                    static_cast<std::uint32_t>(
                        std::strtoul(info("session-id"), nullptr, 10)));
    case ErrorTag::kMissingAttribute:
    case ErrorTag::kBadAttribute:
    case ErrorTag::kUnknownAttribute:
      return nc_err(context, tag, type, info("bad-attribute"),
                    info("bad-element"));
    default:  // some of them, in this order
      return nc_err(context, tag, type, info("bad-element"),
                    info("bad-namespace"));
  }
}

// The element error-path with the namespaces of its prefixes, for the caller to
// free.
lyd_node* ErrorPath(const ly_ctx* context, const std::string& path) {
  std::string xml =
      "<error-path xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\"";
  std::uint32_t index = 0;
  while (const lys_module* module = ly_ctx_get_module_iter(context, &index)) {
    const std::string name = module->name;
    if (path.find(name + ":") == std::string::npos) continue;
    xml += " xmlns:" + name + "=\"" + module->ns + "\"";
  }
  xml += ">" +
         TakeText(xmlEncodeSpecialChars(
             nullptr, reinterpret_cast<const xmlChar*>(path.c_str()))) +
         "</error-path>";
  lyd_node* node = nullptr;
  static_cast<void>(lyd_parse_data_mem(context, xml.c_str(), LYD_XML,
                                       LYD_PARSE_ONLY | LYD_PARSE_OPAQ, 0,
                                       &node));
  return node;
}

// The library's tree of an error, for the caller to free.
lyd_node* ToTree(const ly_ctx* context, const RpcError& error) {
  lyd_node* tree = TreeOfTag(context, error);
  // Set in the order that the reply must have. A plug-in's text may have bytes
  // that XML does not allow.
  const std::string app_tag = base::ToXmlText(error.app_tag);
  const std::string path = base::ToXmlText(error.path);
  const std::string message = base::ToXmlText(error.message);
  if (!app_tag.empty()) nc_err_set_app_tag(tree, app_tag.c_str());
  if (!path.empty()) lyd_insert_child(tree, ErrorPath(context, path));
  if (!message.empty()) nc_err_set_msg(tree, message.c_str(), "en");
  return tree;
}

Reply WithData(const lyd_node& rpc, const void* value,
               LYD_ANYDATA_VALUETYPE type, NC_WD_MODE defaults) {
  lyd_node* envelope = nullptr;
  if (lyd_dup_single(&rpc, nullptr, 0, &envelope) != LY_SUCCESS ||
      lyd_new_any(envelope, nullptr, "data", value,
                  type == LYD_ANYDATA_DATATREE ? 1 : 0, type, 1,
                  nullptr) != LY_SUCCESS) {
    lyd_free_all(envelope);
    throw std::runtime_error("no reply can be made");
  }
  return Reply(nc_server_reply_data(envelope, defaults, NC_PARAMTYPE_FREE));
}

}  // namespace

Reply Ok() { return Reply(nc_server_reply_ok()); }

Reply Data(const lyd_node& rpc, store::Nodes nodes, NC_WD_MODE defaults) {
  Reply reply = WithData(rpc, nodes.get(), LYD_ANYDATA_DATATREE, defaults);
  static_cast<void>(nodes.release());  // the reply owns them now
  return reply;
}

Reply DataText(const lyd_node& rpc, const std::string& text) {
  return WithData(rpc, text.c_str(), LYD_ANYDATA_STRING, NC_WD_ALL);
}

Reply Refuse(const lyd_node& rpc, const RpcError& error) {
  return Reply(nc_server_reply_err(ToTree(LYD_CTX(&rpc), error)));
}

std::string TextOf(const ly_ctx* context, const RpcError& error) {
  const store::Nodes tree(ToTree(context, error));
  return store::TextOf(tree.get(), LYD_PRINT_SHRINK);
}

Reply Answer(const lyd_node& rpc, const std::optional<RpcError>& error) {
  return error.has_value() ? Refuse(rpc, *error) : Ok();
}

Reply Answer(const lyd_node& rpc, const std::vector<RpcError>& errors) {
  if (errors.empty()) return Ok();
  Reply reply = Refuse(rpc, errors.front());
  for (std::size_t i = 1; i < errors.size(); ++i) {
    nc_server_reply_add_err(reply.get(), ToTree(LYD_CTX(&rpc), errors[i]));
  }
  return reply;
}

}  // namespace ipav::netconf
