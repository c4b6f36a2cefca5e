// The embedded host with the contract's two files.

#include "host/confd/session.h"
#include "host/datastore/data_tree.h"
#include "host/datastore/diff.h"
#include "host/datastore/model.h"
#include "host/services/framework.h"
#include "tests/contract/seam_under_test.h"

namespace ipav::testing {

namespace {

using datastore::DataTree;
using datastore::Diff;
using datastore::Model;

// Loading it takes longer than a test.
const Model& ProjectModel() {
  static const Model model(IPAV_YANG, IPAV_YANG_EXTENSION);
  return model;
}

class HostSeam : public SeamUnderTest {
 public:
  HostSeam()
      : running_(DataTree::FromFile(ProjectModel(),
                                    IPAV_CONTRACT_DATA "/running.xml")),
        candidate_(DataTree::FromFile(ProjectModel(),
                                      IPAV_CONTRACT_DATA "/candidate.xml")),
        diff_(running_, candidate_),
        session_(running_, candidate_, diff_) {
    hostd_.maapi_socket = confd::Session::maapi_socket();
    hostd_.instance = &instance_;
    session_.context().v_opaque = &contexts_;
    session_.context().vcb_opaque = &hostd_;
    services::SetListener(
        {[this](const std::string& message) { faults_.push_back(message); },
         [this](const std::string& line) { debug_lines_.push_back(line); }});
  }
  ~HostSeam() override { services::SetListener({}); }

  int socket() const override { return confd::Session::maapi_socket(); }
  int thandle() const override {
    return const_cast<confd::Session&>(session_).context().thandle;
  }
  confd_trans_ctx* tctx() override { return &session_.context(); }
  void set_lib_context(void* context) override {
    contexts_["ip_app_validation"] = context;
  }
  std::string error_text() override {
    const std::optional<std::string> text = session_.TakeErrorText();
    if (text.has_value()) error_text_ = *text;
    return error_text_;
  }
  std::vector<std::string> debug_lines() override { return debug_lines_; }
  std::vector<std::string> fault_messages() override { return faults_; }

 private:
  DataTree running_;
  DataTree candidate_;
  Diff diff_;
  confd::Session session_;
  HostdInterface instance_;
  hostd hostd_;
  services::LibraryContexts contexts_;
  std::string error_text_;
  std::vector<std::string> debug_lines_;
  std::vector<std::string> faults_;
};

}  // namespace

std::unique_ptr<SeamUnderTest> OpenSeam() {
  return std::make_unique<HostSeam>();
}

}  // namespace ipav::testing
