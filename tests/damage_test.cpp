#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

#include "input.h"
#include "transcript.h"
#include "vok/vok_worker.h"

/// Whatever the bytes, every call ends, stays inside the image, keeps its bounds and answers with a documented code;
/// the fuzz targets look after that, and the sanitizers with them.

namespace vok::fuzz {
namespace {

struct Target {
  const char* name;
  void (*run)(Input);
  std::uint32_t random_inputs;
  std::uint64_t transcript;  ///< of these inputs
};

std::string NameOf(const testing::TestParamInfo<Target>& target) { return target.param.name; }

class DamageTest : public testing::TestWithParam<Target> {
 protected:
  /// Whatever other tests left in the process.
  void SetUp() override {
    VokWorker worker;
    Bytes psdt = {'P', 'H', 'D', 'R'};
    psdt.resize(96);
    worker.LoadPSDT(psdt.data(), static_cast<std::uint32_t>(psdt.size()), 0xE000);
    worker.SetBlockVOKVersion(0, 1);
    worker.EraseVirtualMemory(0, 0x2000000);
  }

  static void Run(const Bytes& input) {
    transcript.Restart();
    EXPECT_NO_THROW(GetParam().run(Input(input.data(), input.size())));
  }
};
INSTANTIATE_TEST_SUITE_P(Targets, DamageTest,
                         testing::Values(Target{"mount", FuzzMount, 150, 0x3887DB457AC61DC2},
                                         Target{"write", FuzzWrite, 150, 0x8E5674B7A93258E7},
                                         Target{"sequence", FuzzSequence, 100, 0xDFB78B76422BEC46},
                                         Target{"host", FuzzHost, 20, 0xBE3264D89EB72D0A}),
                         NameOf);

TEST_P(DamageTest, KeptInputs) {
  std::uint32_t inputs = 0;
  for (const auto& entry : std::filesystem::directory_iterator(std::string(VOK_FUZZ_CORPUS) + "/" + GetParam().name)) {
    SCOPED_TRACE(entry.path());
    std::ifstream file(entry.path(), std::ios::binary);
    Run(Bytes(std::istreambuf_iterator<char>(file), {}));
    ++inputs;
  }
  EXPECT_GT(inputs, 0u);
}

/// What the store answers, programs, reports, takes and gives for these inputs was compared with models of it. A change
/// that alters anything of it on purpose brings the new number; VOK_SHOW_TRANSCRIPTS=1 tells the inputs concerned.
TEST_P(DamageTest, RandomInputs) {
  Transcript all;
  for (std::uint32_t seed = 0; seed < GetParam().random_inputs; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    Bytes input(1 + random() % 300);
    for (auto& byte : input) byte = static_cast<std::uint8_t>(random());
    Run(input);
    all.See(transcript.value());
    if (std::getenv("VOK_SHOW_TRANSCRIPTS") != nullptr)
      std::printf("%s %u %016llx\n", GetParam().name, seed, static_cast<unsigned long long>(transcript.value()));
  }
  EXPECT_EQ(all.value(), GetParam().transcript);
}

/// Blocks whose whole slot list is one damage over and over: of every state, naming one record, ever lower ones, or
/// none.
TEST(DamageCostTest, BlocksFullOfDamagedSlotsCostNoMoreThanCleanOnesFourTimesOver) {
  static constexpr std::array<std::uint8_t, 4> kStates = {0, 4, 5, 7};  // Valid, Allocated, Void, torn or Valid
  for (std::uint8_t version = 0; version < 3; ++version) {
    for (const std::uint8_t state : kStates) {
      for (std::uint8_t how = 0; how < 3; ++how) {
        SCOPED_TRACE(testing::Message() << int{version} << "/" << int{state} << "/" << int{how});
        Bytes input = {version, 0, 2, 0, 24, 0, 2, 4, 3, 5, 9, 4, 2, 6, 9, 0, 0, 0, 3};
        for (std::uint8_t part = 0; part < 3; ++part) {
          const std::uint8_t type = part == 0 ? 9 : 0;
          const Bytes run = {6, part, how, 0x3F, 0xFF, type, 0x3F, 0xF0, state};
          input.insert(input.end(), run.begin(), run.end());
        }
        EXPECT_NO_THROW(FuzzMount(Input(input.data(), input.size())));
      }
    }
  }
}

}  // namespace
}  // namespace vok::fuzz
