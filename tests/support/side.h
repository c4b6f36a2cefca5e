// Whose code runs: for tests that count the plug-in's allocations, and not
// those of the fake platform, which stand for none of the daemon's.
#ifndef IPAV_TESTS_SUPPORT_SIDE_H_
#define IPAV_TESTS_SUPPORT_SIDE_H_

namespace ipav::testing {

enum class Side : unsigned char { kPlatform, kPlugIn };

// Until the end of the scope. Each call of the fake is on the platform's side;
// a test makes a scope for a call of the plug-in.
class SideScope {
 public:
  explicit SideScope(Side running) : before_(running_) { running_ = running; }
  ~SideScope() { running_ = before_; }
  SideScope(const SideScope&) = delete;
  SideScope& operator=(const SideScope&) = delete;

  static Side running() { return running_; }

 private:
  inline static thread_local Side running_ = Side::kPlatform;
  Side before_;
};

}  // namespace ipav::testing

#endif  // IPAV_TESTS_SUPPORT_SIDE_H_
