#include "ipavd/netconf/library.h"

#include <nc_server.h>

#include <cstring>
#include <stdexcept>

#include "ipavd/netconf/dispatch.h"
#include "ipavd/netconf/message_context.h"

namespace ipav::netconf {

namespace {

// Ignores the library's log, which is of no use without its sources.
void Ignore(const nc_session* /*session*/, NC_VERB_LEVEL /*level*/,
            const char* /*text*/) {}

char* CopyContentId(void* context) {
  return strdup(ContentId(static_cast<const ly_ctx*>(context)).c_str());
}

}  // namespace

Library::Library(ly_ctx* context) {
  nc_set_print_clb_session(Ignore);
  RegisterOperations(context);
  if (nc_server_init(context) != 0) {
    throw std::runtime_error("the NETCONF library does not start");
  }
  // Also announces report-all and trim: the library uses the numbers of the
  // modes as bits, and the number of report-all contains both.
  nc_server_set_capab_withdefaults(NC_WD_EXPLICIT, NC_WD_ALL);
  nc_server_set_content_id_clb(CopyContentId, context, nullptr);
}

Library::~Library() { nc_server_destroy(); }

}  // namespace ipav::netconf
