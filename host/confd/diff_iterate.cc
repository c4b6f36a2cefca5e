// Iterates over the transaction's changes, with one call for each.

#include <confd_maapi.h>

#include <cstdarg>
#include <exception>
#include <optional>
#include <vector>

#include "host/confd/confd_error.h"
#include "host/confd/path.h"
#include "host/confd/session.h"
#include "host/confd/tracer.h"
#include "host/confd/value.h"

namespace ipav::confd {

namespace {

using datastore::Change;

using Callback = confd_iter_ret (*)(confd_hkeypath_t*, confd_iter_op,
                                    confd_value_t*, confd_value_t*, void*);

// Thrown to end a walk from within its recursion.
struct WalkStopped {
  std::exception_ptr reason;  // exception of the callback, if any
};

// The operation that is reported for a change; none for a plain container, nor
// for a key, which is created and deleted with its entry.
std::optional<confd_iter_op> Operation(const Change& change) {
  const lysc_node& schema = *change.schema;
  if (schema.nodetype == LYS_LEAF) {
    const lysc_node* leaf = &schema;
    if (lysc_is_key(leaf)) return std::nullopt;
    return change.after != nullptr ? MOP_VALUE_SET : MOP_DELETED;
  }
  if (datastore::IsPlainContainer(schema)) return std::nullopt;
  if (change.before == nullptr) return MOP_CREATED;
  if (change.after == nullptr) return MOP_DELETED;
  if (schema.nodetype == LYS_LIST) return MOP_MODIFIED;
  return std::nullopt;
}

// A change as a trace shows it.
std::string Description(confd_iter_op operation, const lyd_node* node,
                        const confd_value_t& value) {
  const std::string path = PrintPath(node);
  switch (operation) {
    case MOP_CREATED:
      return "created: " + path;
    case MOP_DELETED:
      return "deleted: " + path;
    case MOP_VALUE_SET:
      return "set: " + path + " = " + TraceText(value);
    default:
      return "modified: " + path;
  }
}

class Walk {
 public:
  Walk(const Session& session, const std::string& path, Callback callback,
       void* state)
      : model_(session.model()),
        path_(ParsePath(path)),
        nodes_(ResolveSchema(model_, path_)),
        callback_(callback),
        state_(state) {}

  // Returns the exception of the callback, if any.
  std::exception_ptr Run(const std::vector<Change>& top) const {
    try {
      Descend(top, 0);
    } catch (const WalkStopped& stopped) {
      return stopped.reason;
    }
    return nullptr;
  }

 private:
  // Goes down the path; visits the changes at its end and all below.
  void Descend(const std::vector<Change>& changes, std::size_t depth) const {
    for (const Change& change : changes) {
      if (change.schema != nodes_[depth]) continue;
      const std::vector<std::string>& keys = path_[depth].keys;
      if (!keys.empty() && datastore::KeysOf(change.Node()) != keys) continue;
      if (depth + 1 == nodes_.size()) {
        Visit(change);
      } else {
        Descend(change.children, depth + 1);
      }
    }
  }

  // Parents before children.
  void Visit(const Change& change) const {
    const std::optional<confd_iter_op> operation = Operation(change);
    if (operation.has_value() && !Report(change, *operation)) return;
    for (const Change& child : change.children) Visit(child);
  }

  // Whether to go on into the children.
  bool Report(const Change& change, confd_iter_op operation) const {
    const lyd_node* node = change.Node();
    const Keypath keypath = KeypathOf(model_, node);
    const bool is_set = operation == MOP_VALUE_SET;
    const OwnedValue value = is_set ? ValueOf(*node) : OwnedValue(NoValue());
    confd_value_t borrowed = *value;
    confd_value_t* newv = is_set ? &borrowed : nullptr;
    if (Tracer* tracer = CurrentTracer()) {
      tracer->Note(Description(operation, node, *value));
    }
    switch (Call(keypath.get(), operation, newv)) {
      case ITER_STOP:
        throw WalkStopped{nullptr};
      case ITER_RECURSE:
        return operation != MOP_DELETED;  // nothing is left below
      case ITER_CONTINUE:
        return false;
      default:
        throw ConfdError(CONFD_ERR_NOT_IMPLEMENTED,
                         "this host knows ITER_STOP, _RECURSE and _CONTINUE");
    }
  }

  // An exception of the callback is not a failure of this call, so it must not
  // be reported as one.
  confd_iter_ret Call(confd_hkeypath_t* keypath, confd_iter_op operation,
                      confd_value_t* newv) const {
    try {
      return callback_(keypath, operation, nullptr, newv, state_);
    } catch (...) {
      throw WalkStopped{std::current_exception()};
    }
  }

  const datastore::Model& model_;
  const std::vector<PathStep> path_;
  const std::vector<const lysc_node*> nodes_;
  const Callback callback_;
  void* const state_;
};

}  // namespace

}  // namespace ipav::confd

namespace confd = ipav::confd;

int maapi_keypath_diff_iterate(
    int sock, int thandle,
    confd_iter_ret (*iter)(confd_hkeypath_t*, confd_iter_op, confd_value_t*,
                           confd_value_t*, void*),
    int /*flags*/, void* initstate, const char* fmtpath, ...) {
  va_list args;
  va_start(args, fmtpath);
  confd::CallTrace trace(__func__, fmtpath, args);
  std::exception_ptr thrown;
  const int result = confd::Guarded([&] {
    confd::Session& session = confd::Session::OfTransaction(sock, thandle);
    session.CountCall("maapi_keypath_diff_iterate");
    const confd::Walk walk(session, confd::FormatPath(fmtpath, args), iter,
                           initstate);
    thrown = walk.Run(session.diff().top());
    return CONFD_OK;
  });
  va_end(args);
  if (trace.is_on() && thrown != nullptr) trace.set_answer("an exception");
  trace.End(result);
  if (thrown != nullptr) std::rethrow_exception(thrown);
  return result;
}
