#include "host/commit/life.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <string_view>
#include <utility>

#include "host/base/stopwatch.h"
#include "host/commit/child_messages.h"
#include "host/commit/plan.h"
#include "host/confd/session.h"
#include "host/confd/tracer.h"
#include "host/confd/value.h"
#include "host/datastore/diff.h"
#include "host/plugin/plugin.h"
#include "host/services/framework.h"

namespace ipav::commit {

namespace {

using datastore::DataTree;
using datastore::Diff;
using plugin::Plugin;
using plugin::PluginError;

// The text of the current exception, for a catch (...) block.
std::string WhatWasThrown() {
  try {
    throw;
  } catch (const std::exception& error) {
    return error.what();
  } catch (...) {
    return "not a std::exception";
  }
}

// Runs a call of the plug-in within a span of the trace.
template <typename Call>
std::int32_t InSpan(const std::string& what, const Call& call) {
  confd::TraceSpan span;
  if (!span.is_on()) return call();
  span.Begin(what);
  try {
    const std::int32_t result = call();
    span.End(std::to_string(result));
    return result;
  } catch (...) {
    span.End("threw: " + WhatWasThrown());
    throw;
  }
}

confd::Keypath KeypathOf(const datastore::Model& model, const PointCall& call) {
  return call.instance != nullptr
             ? confd::KeypathOf(model, call.instance)
             : confd::KeypathOf(model, call.parent, *call.site->node);
}

// The new value of a leaf; the tag of any other node.
confd::OwnedValue NewValue(const datastore::Model& model,
                           const PointCall& call) {
  const lysc_node& node = *call.site->node;
  if (call.instance != nullptr && node.nodetype == LYS_LEAF) {
    return confd::ValueOf(*call.instance);
  }
  return confd::OwnedValue(confd::TagValue(model, node));
}

// The child's part: one life cycle of the plug-in with one transaction.
class Validation {
 public:
  Validation(const Plugin& plugin, const Configurations& configurations,
             const Reporter& reporter)
      : plugin_(plugin),
        session_(configurations.running, configurations.candidate,
                 configurations.diff),
        reporter_(reporter),
        slot_(&contexts_[plugin.ValidationPoint()]) {
    hostd_.maapi_socket = confd::Session::maapi_socket();
    hostd_.instance = &instance_;
    session_.context().v_opaque = &contexts_;
    session_.context().vcb_opaque = &hostd_;
    services::SetListener({[this](const std::string& message) {
                             reporter_.Send({kFault, {message}});
                           },
                           [this](const std::string& line) {
                             reporter_.Send({kDebugLine, {line}});
                           }});
  }
  ~Validation() { services::SetListener({}); }
  Validation(const Validation&) = delete;
  Validation& operator=(const Validation&) = delete;

  void Run(const std::vector<PointCall>& plan, bool all) {
    if (!Init()) return;
    for (const PointCall& call : plan) {
      if (!TimedCall(call) && !all) break;
    }
    Finish();
    ReportLeftOpen();
    std::vector<Message> last;
    for (const PointTimes& point : times_) {
      last.push_back(
          {kPointTook,
           {point.opaque, std::to_string(point.calls),
            std::to_string(point.platform_calls), Encode(point.time)}});
    }
    for (const auto& [name, count] : session_.calls()) {
      last.push_back({kCalls, {std::string(name), std::to_string(count)}});
    }
    last.push_back({kFinished, {}});
    last.push_back({kEnters, {"while it was unloaded"}});
    reporter_.SendAll(last);
  }

 private:
  bool Init() {
    std::string reason = "lib_init failed";
    reporter_.Send({kEnters, {"in lib_init"}});
    try {
      if (InSpan("lib_init", [&] { return plugin_.Init(slot_); }) == 0) {
        return true;
      }
    } catch (...) {
      reason = "lib_init threw: " + WhatWasThrown();
    }
    reporter_.Send({kInitFailed, {reason}});
    return false;
  }

  void Finish() {
    reporter_.Send({kEnters, {"in lib_finish"}});
    try {
      // Always 0, by the interface.
      static_cast<void>(
          InSpan("lib_finish", [&] { return plugin_.Finish(slot_); }));
    } catch (...) {
      reporter_.Send({kFailed, {"lib_finish threw: " + WhatWasThrown()}});
    }
  }

  // In the daemon, these would leak until it ends.
  void ReportLeftOpen() {
    const std::size_t cursors = session_.open_cursors();
    const std::size_t sessions = session_.open_cdb_sessions();
    if (cursors > 0) {
      reporter_.Send({kLeftOpen, {"cursor", std::to_string(cursors)}});
    }
    if (sessions > 0) {
      reporter_.Send({kLeftOpen, {"CDB session", std::to_string(sessions)}});
    }
  }

  bool TimedCall(const PointCall& call) {
    PointTimes& times = TimesOf(call.site->opaque);
    const std::uint64_t platform_calls = session_.call_count();
    base::Stopwatch watch;
    const bool goes_on = Call(call);
    times.time += watch.Lap();
    times.platform_calls += session_.call_count() - platform_calls;
    ++times.calls;
    return goes_on;
  }

  // A search from the end: there are about a dozen, and mostly it is the last
  // one.
  PointTimes& TimesOf(const std::string& opaque) {
    const auto found = std::find_if(
        times_.rbegin(), times_.rend(),
        [&](const PointTimes& times) { return times.opaque == opaque; });
    if (found != times_.rend()) return *found;
    times_.push_back({opaque, 0, 0, {}});
    return times_.back();
  }

  // Whether the commit continues.
  bool Call(const PointCall& call) {
    const datastore::UseSite& site = *call.site;
    reporter_.Send({kBegins, {site.opaque, PathOf(call)}});
    // Drop the text of a previous point that set one and then threw.
    static_cast<void>(session_.TakeErrorText());

    const confd::Keypath keypath = KeypathOf(session_.model(), call);
    const confd::OwnedValue value = NewValue(session_.model(), call);
    confd_value_t newval = *value;
    opaque_ = site.opaque;
    session_.context().validate_opaque =
        site.has_opaque ? opaque_.data() : nullptr;
    try {
      const std::int32_t result = InSpan(site.opaque + " " + PathOf(call), [&] {
        return plugin_.Validate(&session_.context(), keypath.get(), &newval);
      });
      Message answer{kAnswered, {std::to_string(result)}};
      const std::optional<std::string> text = session_.TakeErrorText();
      if (text.has_value()) answer.texts.push_back(*text);
      reporter_.Send(answer);
      return IsAccepting(result);
    } catch (...) {
      reporter_.Send({kThrew, {WhatWasThrown()}});
      return false;
    }
  }

  const Plugin& plugin_;
  confd::Session session_;
  const Reporter& reporter_;
  HostdInterface instance_;
  hostd hostd_;
  services::LibraryContexts contexts_;
  void** slot_;
  std::string opaque_;  // of the current call
  std::vector<PointTimes> times_;
};

// The calls to make: none of use sites of other validation sets.
std::vector<PointCall> PlanFor(const std::string& validation_set,
                               const Configurations& configurations,
                               const Options& options) {
  const auto* calls = options.calls;
  std::vector<PointCall> plan =
      calls == nullptr
          ? PlanCalls(configurations.candidate, configurations.diff)
          : AllCalls(configurations.candidate);
  const auto is_unwanted = [&](const PointCall& call) {
    return call.site->point != validation_set ||
           (calls != nullptr &&
            calls->count({call.site->opaque, PathOf(call)}) == 0);
  };
  plan.erase(std::remove_if(plan.begin(), plan.end(), is_unwanted), plan.end());
  return plan;
}

}  // namespace

void RunLife(const Configurations& configurations, const Options& options,
             std::optional<Plugin> loaded, const Reporter& reporter) {
  confd::SetTracer(options.tracer);
  try {
    base::Stopwatch watch;
    reporter.Send({kEnters, {"while it was loaded"}});
    const Plugin plugin =
        loaded.has_value() ? *std::move(loaded) : Plugin(options.plugin);
    reporter.Send({kEnters, {"in get_validation_point"}});
    const std::string point = plugin.ValidationPoint();
    const base::Duration loading = watch.Lap();

    reporter.Send({kEnters, {"while its calls were planned"}});
    const std::vector<PointCall> plan = PlanFor(point, configurations, options);
    reporter.Send({kPlanned, {std::to_string(plan.size())}});
    const base::Duration planning = watch.Lap();

    Validation(plugin, configurations, reporter).Run(plan, options.all);
    reporter.Send(
        {kTook, {Encode(loading), Encode(planning), Encode(watch.Lap())}});
  } catch (const PluginError& error) {
    reporter.Send({kNoPlugin, {error.what()}});
  } catch (...) {
    reporter.Send({kFailed, {WhatWasThrown()}});
  }
}

}  // namespace ipav::commit
