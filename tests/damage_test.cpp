#include <random>

#include "support/store_fixture.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace vok::test {
namespace {

/// Whatever the bytes, every call ends, stays inside the image and answers with a code; the sanitizers watch.
TEST(DamageTest, RandomInputsOfTheFuzzTarget) {
  static CountingHooks hooks;  // a failed input leaves the store with them
  TerminateStore();
  InstallPlatformHooks(&hooks);
  for (std::uint32_t seed = 0; seed < 600; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    Bytes input(1 + 6 * (1 + random() % 8));
    for (auto& byte : input) byte = static_cast<std::uint8_t>(random());
    EXPECT_EQ(LLVMFuzzerTestOneInput(input.data(), input.size()), 0);
    EXPECT_EQ(hooks.locks_held, 0);
    EXPECT_EQ(hooks.memory_alive, 0);
  }
  InstallPlatformHooks(nullptr);
}

}  // namespace
}  // namespace vok::test
