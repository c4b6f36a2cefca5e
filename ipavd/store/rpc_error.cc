#include "ipavd/store/rpc_error.h"

namespace ipav::store {

const char* NameOf(ErrorTag tag) {
  switch (tag) {
    case ErrorTag::kInUse:
      return "in-use";
    case ErrorTag::kInvalidValue:
      return "invalid-value";
    case ErrorTag::kMissingAttribute:
      return "missing-attribute";
    case ErrorTag::kBadAttribute:
      return "bad-attribute";
    case ErrorTag::kUnknownAttribute:
      return "unknown-attribute";
    case ErrorTag::kMissingElement:
      return "missing-element";
    case ErrorTag::kBadElement:
      return "bad-element";
    case ErrorTag::kUnknownElement:
      return "unknown-element";
    case ErrorTag::kUnknownNamespace:
      return "unknown-namespace";
    case ErrorTag::kLockDenied:
      return "lock-denied";
    case ErrorTag::kDataExists:
      return "data-exists";
    case ErrorTag::kDataMissing:
      return "data-missing";
    case ErrorTag::kOperationNotSupported:
      return "operation-not-supported";
    case ErrorTag::kOperationFailed:
      break;
  }
  return "operation-failed";
}

}  // namespace ipav::store
