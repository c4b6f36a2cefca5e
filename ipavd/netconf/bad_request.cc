#include "ipavd/netconf/bad_request.h"

#include <limits>
#include <string_view>

#include "host/datastore/libyang_error.h"
#include "ipavd/netconf/reply.h"
#include "netconf/framing.h"

namespace ipav::netconf {

namespace {

using datastore::Between;
using store::ErrorTag;
using store::ErrorType;
using store::RpcError;

bool IsLeaf(const ly_ctx* context, const std::string& path) {
  const lysc_node* node = lys_find_path(context, nullptr, path.c_str(), 0);
  return node != nullptr && (node->nodetype & (LYS_LEAF | LYS_LEAFLIST)) != 0;
}

// What the YANG library says of an input is only in its texts.
RpcError ErrorOf(const ly_ctx* context, const ly_err_item& item) {
  const std::string text = item.msg;
  const std::string path =
      Between(item.path == nullptr ? "" : item.path, "Data location \"", "\"");
  const std::string unknown =
      Between(text, "Node \"", "\" not found as a child of ");
  if (item.vecode == LYVE_REFERENCE && path.empty()) {
    return MakeError(ErrorTag::kOperationNotSupported, text,
                     ErrorType::kProtocol);
  }
  if (!unknown.empty()) {
    return MakeError(ErrorTag::kUnknownElement, text, ErrorType::kProtocol,
                     {{"bad-element", unknown}});
  }
  if (item.vecode == LYVE_DATA && IsLeaf(context, path)) {
    return MakeError(ErrorTag::kInvalidValue, text, ErrorType::kProtocol);
  }
  return MakeError(ErrorTag::kOperationFailed, text);
}

}  // namespace

std::string WithReason(const ly_ctx* context, const std::string& reply) {
  const ly_err_item* item = ly_err_first(context);
  Deframer deframer(std::numeric_limits<std::size_t>::max());
  deframer.set_framing(Framing::kChunked);
  deframer.Add(reply);
  const auto message = deframer.Next();
  if (item == nullptr || !message.has_value()) return reply;
  constexpr std::string_view kEnd = "</rpc-error>";
  const std::size_t begin = message->find("<rpc-error>");
  const std::size_t end = message->find(kEnd);
  if (begin == std::string::npos || end == std::string::npos) return reply;
  std::string changed(*message);
  changed.replace(begin, end + kEnd.size() - begin,
                  TextOf(context, ErrorOf(context, *item)));
  return Frame(Framing::kChunked, changed);
}

}  // namespace ipav::netconf
