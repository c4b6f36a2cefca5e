// The YANG modules of messages: the data model beside those of NETCONF itself.
// Apart from the model's own context, since the NETCONF library keeps functions
// where the host keeps what it knows of a node, and since the plug-in must see
// the same model here as in ipav check.
#ifndef IPAV_IPAVD_NETCONF_MESSAGE_CONTEXT_H_
#define IPAV_IPAVD_NETCONF_MESSAGE_CONTEXT_H_

#include <libyang/libyang.h>

#include <memory>
#include <string>

#include "host/base/c_ptr.h"
#include "host/datastore/model.h"

namespace ipav::netconf {

using MessageContext = base::CPtr<ly_ctx, ly_ctx_destroy>;

// `yang_dir` has the modules of NETCONF. The model must live longer. Throws
// datastore::InputError.
MessageContext MakeMessageContext(const datastore::Model& model,
                                  const std::string& yang_dir);

// Changes when the modules do.
std::string ContentId(const ly_ctx* context);

}  // namespace ipav::netconf

#endif  // IPAV_IPAVD_NETCONF_MESSAGE_CONTEXT_H_
