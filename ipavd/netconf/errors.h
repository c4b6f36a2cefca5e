// Makes rpc-errors of the NETCONF library. The library takes the details of a
// tag as variable arguments, and a missing one crashes the process. Hence there
// is one function per tag, with named parameters.
#ifndef IPAV_IPAVD_NETCONF_ERRORS_H_
#define IPAV_IPAVD_NETCONF_ERRORS_H_

#include <libyang/libyang.h>
#include <nc_server.h>

#include <cstdint>
#include <string>

#include "ipavd/store/rpc_error.h"

namespace ipav::netconf {

// The caller owns each tree.
lyd_node* InUse(const ly_ctx* context, NC_ERR_TYPE type);
lyd_node* InvalidValue(const ly_ctx* context, NC_ERR_TYPE type);
lyd_node* MissingAttribute(const ly_ctx* context, NC_ERR_TYPE type,
                           const std::string& attribute,
                           const std::string& element);
lyd_node* BadAttribute(const ly_ctx* context, NC_ERR_TYPE type,
                       const std::string& attribute,
                       const std::string& element);
lyd_node* UnknownAttribute(const ly_ctx* context, NC_ERR_TYPE type,
                           const std::string& attribute,
                           const std::string& element);
lyd_node* MissingElement(const ly_ctx* context, NC_ERR_TYPE type,
                         const std::string& element);
lyd_node* BadElement(const ly_ctx* context, NC_ERR_TYPE type,
                     const std::string& element);
lyd_node* UnknownElement(const ly_ctx* context, NC_ERR_TYPE type,
                         const std::string& element);
lyd_node* UnknownNamespace(const ly_ctx* context, NC_ERR_TYPE type,
                           const std::string& element,
                           const std::string& bad_namespace);
lyd_node* LockDenied(const ly_ctx* context, std::uint32_t session);
lyd_node* DataExists(const ly_ctx* context);
lyd_node* DataMissing(const ly_ctx* context);
lyd_node* OperationNotSupported(const ly_ctx* context, NC_ERR_TYPE type);
lyd_node* OperationFailed(const ly_ctx* context, NC_ERR_TYPE type);

// An error of the datastores, with all its texts.
lyd_node* ToTree(const ly_ctx* context, const store::RpcError& error);

}  // namespace ipav::netconf

#endif  // IPAV_IPAVD_NETCONF_ERRORS_H_
