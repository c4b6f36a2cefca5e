#include "ipavd/netconf/errors.h"

#include <cstdlib>

#include "host/base/utf8.h"

namespace ipav::netconf {

namespace {

using store::ErrorTag;
using store::ErrorType;
using store::RpcError;

NC_ERR_TYPE TypeOf(ErrorType type) {
  switch (type) {
    case ErrorType::kTransport:
      return NC_ERR_TYPE_TRAN;
    case ErrorType::kRpc:
      return NC_ERR_TYPE_RPC;
    case ErrorType::kProtocol:
      return NC_ERR_TYPE_PROT;
    case ErrorType::kApplication:
      break;
  }
  return NC_ERR_TYPE_APP;
}

// An element of error-info; empty if the error has none of that name.
std::string Info(const RpcError& error, const std::string& name) {
  for (const auto& [key, text] : error.info) {
    if (key == name) return text;
  }
  return "";
}

std::uint32_t SessionOf(const RpcError& error) {
  return static_cast<std::uint32_t>(
      std::strtoul(Info(error, "session-id").c_str(), nullptr, 10));
}

lyd_node* WithItsTag(const ly_ctx* context, const RpcError& error) {
  const NC_ERR_TYPE type = TypeOf(error.type);
  const std::string attribute = Info(error, "bad-attribute");
  const std::string element = Info(error, "bad-element");
  switch (error.tag) {
    case ErrorTag::kInUse:
      return InUse(context, type);
    case ErrorTag::kInvalidValue:
      return InvalidValue(context, type);
    case ErrorTag::kMissingAttribute:
      return MissingAttribute(context, type, attribute, element);
    case ErrorTag::kBadAttribute:
      return BadAttribute(context, type, attribute, element);
    case ErrorTag::kUnknownAttribute:
      return UnknownAttribute(context, type, attribute, element);
    case ErrorTag::kMissingElement:
      return MissingElement(context, type, element);
    case ErrorTag::kBadElement:
      return BadElement(context, type, element);
    case ErrorTag::kUnknownElement:
      return UnknownElement(context, type, element);
    case ErrorTag::kUnknownNamespace:
      return UnknownNamespace(context, type, element,
                              Info(error, "bad-namespace"));
    case ErrorTag::kLockDenied:
      return LockDenied(context, SessionOf(error));
    case ErrorTag::kDataExists:
      return DataExists(context);
    case ErrorTag::kDataMissing:
      return DataMissing(context);
    case ErrorTag::kOperationNotSupported:
      return OperationNotSupported(context, type);
    case ErrorTag::kOperationFailed:
      break;
  }
  return OperationFailed(context, type);
}

}  // namespace

lyd_node* InUse(const ly_ctx* context, NC_ERR_TYPE type) {
  return nc_err(context, NC_ERR_IN_USE, type);
}

lyd_node* InvalidValue(const ly_ctx* context, NC_ERR_TYPE type) {
  return nc_err(context, NC_ERR_INVALID_VALUE, type);
}

lyd_node* MissingAttribute(const ly_ctx* context, NC_ERR_TYPE type,
                           const std::string& attribute,
                           const std::string& element) {
  return nc_err(context, NC_ERR_MISSING_ATTR, type, attribute.c_str(),
                element.c_str());
}

lyd_node* BadAttribute(const ly_ctx* context, NC_ERR_TYPE type,
                       const std::string& attribute,
                       const std::string& element) {
  return nc_err(context, NC_ERR_BAD_ATTR, type, attribute.c_str(),
                element.c_str());
}

lyd_node* UnknownAttribute(const ly_ctx* context, NC_ERR_TYPE type,
                           const std::string& attribute,
                           const std::string& element) {
  return nc_err(context, NC_ERR_UNKNOWN_ATTR, type, attribute.c_str(),
                element.c_str());
}

lyd_node* MissingElement(const ly_ctx* context, NC_ERR_TYPE type,
                         const std::string& element) {
  return nc_err(context, NC_ERR_MISSING_ELEM, type, element.c_str());
}

lyd_node* BadElement(const ly_ctx* context, NC_ERR_TYPE type,
                     const std::string& element) {
  return nc_err(context, NC_ERR_BAD_ELEM, type, element.c_str());
}

lyd_node* UnknownElement(const ly_ctx* context, NC_ERR_TYPE type,
                         const std::string& element) {
  return nc_err(context, NC_ERR_UNKNOWN_ELEM, type, element.c_str());
}

lyd_node* UnknownNamespace(const ly_ctx* context, NC_ERR_TYPE type,
                           const std::string& element,
                           const std::string& bad_namespace) {
  return nc_err(context, NC_ERR_UNKNOWN_NS, type, element.c_str(),
                bad_namespace.c_str());
}

lyd_node* LockDenied(const ly_ctx* context, std::uint32_t session) {
  return nc_err(context, NC_ERR_LOCK_DENIED, session);
}

lyd_node* DataExists(const ly_ctx* context) {
  return nc_err(context, NC_ERR_DATA_EXISTS);
}

lyd_node* DataMissing(const ly_ctx* context) {
  return nc_err(context, NC_ERR_DATA_MISSING);
}

lyd_node* OperationNotSupported(const ly_ctx* context, NC_ERR_TYPE type) {
  return nc_err(context, NC_ERR_OP_NOT_SUPPORTED, type);
}

lyd_node* OperationFailed(const ly_ctx* context, NC_ERR_TYPE type) {
  return nc_err(context, NC_ERR_OP_FAILED, type);
}

lyd_node* ToTree(const ly_ctx* context, const RpcError& error) {
  lyd_node* tree = WithItsTag(context, error);
  // Set in the order that the reply must have. A plug-in's text may have bytes
  // that XML does not allow.
  const std::string app_tag = base::ToXmlText(error.app_tag);
  const std::string path = base::ToXmlText(error.path);
  const std::string message = base::ToXmlText(error.message);
  if (!app_tag.empty()) nc_err_set_app_tag(tree, app_tag.c_str());
  if (!path.empty()) nc_err_set_path(tree, path.c_str());
  if (!message.empty()) nc_err_set_msg(tree, message.c_str(), "en");
  return tree;
}

}  // namespace ipav::netconf
