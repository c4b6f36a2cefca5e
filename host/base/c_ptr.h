// Owners of memory that C libraries allocate.
#ifndef IPAV_HOST_BASE_C_PTR_H_
#define IPAV_HOST_BASE_C_PTR_H_

#include <cstdlib>
#include <memory>

namespace ipav::base {

// Calls the library's function, and ignores what it returns.
template <auto kFree>
struct CDeleter {
  template <typename T>
  void operator()(T* resource) const {
    static_cast<void>(kFree(resource));
  }
};

// CPtr<xmlDoc, xmlFreeDoc>, CPtr<std::FILE, std::fclose>. A function with more
// parameters, or a macro, needs a wrapper of its own.
template <typename T, auto kFree>
using CPtr = std::unique_ptr<T, CDeleter<kFree>>;

// A text from malloc().
using CText = CPtr<char, std::free>;

}  // namespace ipav::base

#endif  // IPAV_HOST_BASE_C_PTR_H_
