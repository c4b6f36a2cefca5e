// The YANG modules of messages: the data model and the modules of NETCONF. It
// is not the context of the model, because the NETCONF library keeps its
// callbacks where the host keeps its data about a node, and because the plug-in
// must see the same model as in ipav check.
#ifndef IPAV_IPAVD_NETCONF_MESSAGE_CONTEXT_H_
#define IPAV_IPAVD_NETCONF_MESSAGE_CONTEXT_H_

#include <libyang/libyang.h>

#include <string>

#include "host/base/c_ptr.h"
#include "host/datastore/model.h"

namespace ipav::netconf {

using MessageContext = base::CPtr<ly_ctx, ly_ctx_destroy>;

// `yang_dir` has the modules of NETCONF. The model must live longer. Throws
// datastore::InputError.
MessageContext MakeMessageContext(const datastore::Model& model,
                                  const std::string& yang_dir);

// Reads a request like the NETCONF library, and ignores its errors.
void ReadRequest(ly_ctx* context, const std::string& request);

// An identifier that changes whenever the modules change.
std::string ContentId(const ly_ctx* context);

}  // namespace ipav::netconf

#endif  // IPAV_IPAVD_NETCONF_MESSAGE_CONTEXT_H_
