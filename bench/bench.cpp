// zepasign_bench TABLE PLOT [OPTION...]: measures signatures by all implementations, with Google Benchmark's options,
// and writes rows of the table (Markdown) and the points of the plot.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include <algorithm>
#include <fstream>
#include <map>

#include "base/base64.h"
#include "bench/fixture.h"
#include "bench/job.h"
#include "bench/measure.h"

namespace zepasign::bench {
namespace {

// Row: one job for all implementations.
struct Row {
  const char* title;
  double limit;  // of the library's ratio to the baseline; 0 is none
  Job job;
  bool plotted = false;
};
const Row kRows[] = {
    {"1 KiB embedded with attributes", 1.02, {}, true},
    {"1 KiB embedded without attributes", 1.02, {.attributes = false}},
    {"1 KiB embedded with attributes and chain from the PFX", 1.04, {.certificates = Certificates::kChainInPfx}},
    {"1 KiB embedded with attributes and chain from P7B", 1.04, {.certificates = Certificates::kChainInP7b}},
    {"1 MiB embedded with attributes", 1.2, {.size = kMiB}},
    {"64 MiB detached with attributes", 1.02, {.size = 64 * kMiB, .embed = false}},
    {"64 MiB embedded with attributes", 1.15, {.size = 64 * kMiB}, true},
    {"1 GiB file embedded with attributes", 1.3, {.size = kGiB, .fromFile = true}},
    {"1 GiB embedded with attributes", 0, {.size = kGiB}, true},
    {"P-256 1 KiB embedded with attributes", 0, {.key = KeyKind::kP256}},
    {"P-256 1 KiB embedded without attributes", 0, {.attributes = false, .key = KeyKind::kP256}},
    {"RSA-4096 1 KiB embedded with attributes", 0, {.key = KeyKind::kRsa4096}},
    {"RSA-4096 1 KiB embedded without attributes", 0, {.attributes = false, .key = KeyKind::kRsa4096}},
    {"16 KiB embedded with attributes", 0, {.size = 16 * kKiB}, true},
    {"256 KiB embedded with attributes", 0, {.size = 256 * kKiB}, true},
    {"4 MiB embedded with attributes", 0, {.size = 4 * kMiB}, true},
};
// The first row's job once more with the log at INFO.
const Row kLogRow{"1 KiB embedded with attributes and log at INFO", 0, {.logLevel = "INFO"}};
constexpr double kLogLimit = 40;  // microseconds that the log may add

constexpr double kBase64Limit = 1;  // GB/s
const std::string kEncode = "Base64 encode 1 MiB";
const std::string kDecode = "Base64 decode 1 MiB";

std::string nameOf(const std::string& row, const char* implementation) { return row + "/" + implementation; }

// Samples: the processor seconds of each single operation, by benchmark.
using Samples = std::map<std::string, std::vector<double>>;

// Timing: the fifth percentile and the median. The percentile is compared: other work on the machine slows many
// operations down, and the fastest one may have met a moment of higher clock rate.
struct Timing {
  double low = 0;
  double median = 0;
};

class Results final {
 public:
  explicit Results(Samples samples) : samples_(std::move(samples)) {
    for (auto& [name, seconds] : samples_) std::ranges::sort(seconds);
  }
  [[nodiscard]] bool has(const std::string& row) const { return of(row, kOwn.name).low > 0; }
  // of: zeros when that benchmark did not run.
  [[nodiscard]] Timing of(const std::string& row, const char* implementation) const {
    const auto found = samples_.find(nameOf(row, implementation));
    if (found == samples_.end()) return {};
    const std::vector<double>& seconds = found->second;
    return {.low = seconds[seconds.size() / 20], .median = seconds[seconds.size() / 2]};
  }

 private:
  Samples samples_;
};

// timeEach: runs the operation as often as Google Benchmark asks and times each by itself.
void timeEach(benchmark::State& state, const Sign& operation, std::vector<double>& samples) {
  for (auto each : state) {
    const double start = processorSeconds();
    operation();
    samples.push_back(processorSeconds() - start);
  }
}

// add: Google Benchmark has each repetition's mean only; the samples go their own way.
void add(Samples& samples, const std::string& name, int repetitions, std::function<Sign()> prepare) {
  const auto body = [&samples, name, prepare = std::move(prepare)](benchmark::State& state) {
    timeEach(state, prepare(), samples[name]);
  };
  benchmark::RegisterBenchmark(name.c_str(), body)
      ->Unit(benchmark::kMillisecond)
      ->MinTime(0.02)
      ->Repetitions(repetitions)
      ->ReportAggregatesOnly();
}

// repetitionsOf: libcrypto's own calls have no limit to hold and are measured less often.
int repetitionsOf(const Job& job, bool peer) {
  if (job.size >= kGiB) return peer ? 2 : 3;
  if (job.size >= 64 * kMiB) return peer ? 4 : 24;
  return peer ? 20 : 60;
}

void addSigning(Samples& samples, const Row& row, const Implementation& implementation) {
  const bool peer = &implementation != &kBaseline && &implementation != &kOwn;
  add(samples, nameOf(row.title, implementation.name), repetitionsOf(row.job, peer), [&row, &implementation] {
    Sign sign = implementation.prepare(row.job);
    if (row.job.size < kMiB) sign();  // the first one also builds what all later ones use
    return sign;
  });
}

void addBase64(Samples& samples) {
  static const std::span<unsigned char> bytes = fixture().content(kMiB);
  static std::vector<unsigned char> text(base64::encodedLength(kMiB) + 1);
  static std::vector<unsigned char> decoded(base64::decodedBound(text.size()));
  static char* const characters = reinterpret_cast<char*>(text.data());
  static const std::size_t length = text.size() - 1;
  const auto addOne = [&samples](const std::string& row, const char* implementation, const Sign& work) {
    add(samples, nameOf(row, implementation), 60, [work] { return work; });
  };
  addOne(kEncode, kOwn.name, [] {
    base64::Encoder encoder(characters);
    encoder.add(bytes);
    require(encoder.finish() == characters + length, "Base64 encoding");
  });
  addOne(kEncode, kBaseline.name, [] { EVP_EncodeBlock(text.data(), bytes.data(), static_cast<int>(bytes.size())); });
  EVP_EncodeBlock(text.data(), bytes.data(), static_cast<int>(bytes.size()));
  addOne(kDecode, kOwn.name, [] {
    require(base64::decode({characters, length}, decoded.data()) == bytes.size(), "Base64 decoding");
  });
  addOne(kDecode, kBaseline.name, [] {
    require(EVP_DecodeBlock(decoded.data(), text.data(), static_cast<int>(length)) > 0, "EVP_DecodeBlock");
  });
}

// ratioRow: the baseline's time, and the ratios to it, of the percentiles and in parentheses of the medians.
std::string ratioRow(const Row& row, const Results& results) {
  const Timing bare = results.of(row.title, kBaseline.name);
  const double own = results.of(row.title, kOwn.name).low;
  std::string title = row.title;
  std::vector<std::string> cells = {formatted("%.3f ms", bare.low * 1e3)};
  for (const Implementation& implementation : std::span(kImplementations).subspan(1)) {
    const Timing timing = results.of(row.title, implementation.name);
    const bool ran = timing.low > 0;
    cells.push_back(ran ? formatted("%.3f (%.3f)", timing.low / bare.low, timing.median / bare.median) : "");
    if (ran && timing.low < own) title += std::string("; **slower than ") + implementation.name + "**";
  }
  return markdownRow(title, row.limit > 0 ? formatted("%.2f", row.limit) : "", cells, own <= row.limit * bare.low);
}

std::string logRow(const Results& results) {
  const Timing loud = results.of(kLogRow.title, kOwn.name);
  const Timing quiet = results.of(kRows[0].title, kOwn.name);
  const double more = (loud.low - quiet.low) * 1e6;
  const std::string cell = formatted("%.1f us (%.1f us)", more, (loud.median - quiet.median) * 1e6);
  return markdownRow("1 KiB: what the log at INFO adds", formatted("%.0f us", kLogLimit), {"", cell},
                     more <= kLogLimit);
}

// base64Row: in GB/s of bytes; the baseline is EVP_EncodeBlock or EVP_DecodeBlock.
std::string base64Row(const std::string& row, const std::string& limit, const Results& results) {
  const auto speed = [&](const char* whose) { return static_cast<double>(kMiB) / results.of(row, whose).low / 1e9; };
  return markdownRow(row + "; baseline: EVP_" + (row == kEncode ? "EncodeBlock" : "DecodeBlock"), limit,
                     {formatted("%.2f GB/s", speed(kBaseline.name)), formatted("%.2f GB/s", speed(kOwn.name))},
                     speed(kOwn.name) >= kBase64Limit);
}

void writeTable(const Results& results, std::ostream& out) {
  for (const Row& row : kRows) {
    if (results.has(row.title)) out << ratioRow(row, results);
  }
  if (results.has(kLogRow.title)) out << logRow(results);
  if (results.has(kEncode)) out << base64Row(kEncode, formatted("at least %.0f GB/s", kBase64Limit), results);
  if (results.has(kDecode)) out << base64Row(kDecode, "", results);
}

// writePlot: a line for each size: bytes, then the implementations' seconds.
void writePlot(const Results& results, std::ostream& out) {
  for (const Row& row : kRows) {
    if (!row.plotted || !results.has(row.title)) continue;
    out << row.job.size;
    for (const Implementation& implementation : kImplementations) {
      out << formatted(" %.9f", results.of(row.title, implementation.name).low);
    }
    out << '\n';
  }
}

Samples measure(int count, char** options) {
  Samples samples;
  benchmark::Initialize(&count, options);
  for (const Row& row : kRows) {
    for (const Implementation& implementation : kImplementations) addSigning(samples, row, implementation);
  }
  addSigning(samples, kLogRow, kOwn);
  addBase64(samples);
  benchmark::RunSpecifiedBenchmarks();
  return samples;
}

}  // namespace
}  // namespace zepasign::bench

int main(int argc, char** argv) {
  using namespace zepasign::bench;
  if (argc < 3) return 2;
  std::string interleaved = "--benchmark_enable_random_interleaving=true";
  std::vector<char*> options = {argv[0], interleaved.data()};
  options.insert(options.end(), argv + 3, argv + argc);
  const Results results(measure(static_cast<int>(options.size()), options.data()));
  std::ofstream table(argv[1]);
  std::ofstream plot(argv[2]);
  writeTable(results, table);
  writePlot(results, plot);
}
