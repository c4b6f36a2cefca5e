// An implementation of the platform interface with the data of the contract
// suite: running.xml is its running configuration, candidate.xml the view of
// its one open transaction.
//
// Each implementation defines OpenSeam() and links the suite, so that the fake
// of the unit tests and the embedded host behave alike.
#ifndef IPAV_TESTS_CONTRACT_SEAM_UNDER_TEST_H_
#define IPAV_TESTS_CONTRACT_SEAM_UNDER_TEST_H_

#include <confd_lib.h>

#include <memory>
#include <string>
#include <vector>

namespace ipav::testing {

// Ends the transaction when destroyed. One at a time.
class SeamUnderTest {
 public:
  SeamUnderTest() = default;
  virtual ~SeamUnderTest() = default;
  SeamUnderTest(const SeamUnderTest&) = delete;
  SeamUnderTest& operator=(const SeamUnderTest&) = delete;

  // The MAAPI socket and the transaction of a validation call, with the opaque
  // pointers of the host's registration.
  virtual int socket() const = 0;
  virtual int thandle() const = 0;
  virtual confd_trans_ctx* tctx() = 0;

  // Sets the context of the validation set ip_app_validation.
  virtual void set_lib_context(void* context) = 0;

  // What the implementation has received, in order.
  virtual std::string error_text() = 0;  // of the transaction, "" without one
  virtual std::vector<std::string> debug_lines() = 0;
  virtual std::vector<std::string> fault_messages() = 0;
};

std::unique_ptr<SeamUnderTest> OpenSeam();

}  // namespace ipav::testing

#endif  // IPAV_TESTS_CONTRACT_SEAM_UNDER_TEST_H_
