// Runs all eleven validation points on any values and rows of the platform
// (wrong types, empty octets, long texts, texts with NUL, negative and huge
// prefix lengths) and with calls that fail.
//
// Legal: verdict 0 or -1, with one text of the point; the assertions on the
// types of the platform's values: keys, leaves, changes, and the elements of a
// key path, each of which may have any type; the exceptions for invalid texts
// in the OSPFv2 table and for a short output interface name. A snapshot is used
// again after an exception, but not after an assertion.
//
// Input: steps (any_platform.h). The step number kSteps calls the validation
// point that the next byte selects. At the end all points are called, each on a
// fresh snapshot.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "fuzz/support/any_platform.h"
#include "fuzz/support/byte_reader.h"
#include "fuzz/support/plugin_life.h"
#include "fuzz/support/target.h"
#include "tests/support/fake_platform.h"

namespace ipav::fuzz {

namespace {

using testing::Fake;

constexpr int kMaxSteps = 48;

std::unique_ptr<PluginLife> NewLife() {
  return std::make_unique<PluginLife>(Assertions::kLegal);
}

// A failed assertion ends the life cycle, and a new one begins.
void Call(const AnyPlatform& platform, const std::string& point,
          std::unique_ptr<PluginLife>* life) {
  Fake().set_opaque(point);
  testing::KeyPath keypath = platform.KeyPathOf(point);
  if ((*life)->Validate(keypath.get()) != Ending::kAssertion) return;
  life->reset();  // before the next one: the platform has one context
  *life = NewLife();
}

void CallAll(const AnyPlatform& platform) {
  for (const std::string& point : ValidationPoints()) {
    std::unique_ptr<PluginLife> life = NewLife();
    Call(platform, point, &life);
  }
}

void TakeSteps(ByteReader* in, AnyPlatform* platform) {
  std::unique_ptr<PluginLife> life = NewLife();
  for (int i = 0; i < kMaxSteps && !in->AtEnd(); ++i) {
    const std::size_t step = in->Below(AnyPlatform::kSteps + 1);
    if (step < AnyPlatform::kSteps) {
      platform->TakeStep(step);
    } else {
      const auto& points = ValidationPoints();
      Call(*platform, points[in->Below(points.size())], &life);
    }
  }
}

}  // namespace

}  // namespace ipav::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ipav::fuzz::StartPlatform();
  ipav::fuzz::ByteReader in(data, size);
  ipav::fuzz::AnyPlatform platform(&in);
  ipav::fuzz::TakeSteps(&in, &platform);
  ipav::fuzz::CallAll(platform);
  return 0;
}
