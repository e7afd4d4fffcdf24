// zepasign_batch TOOL [COUNT]: files per second of "TOOL sign --jobs 2" over COUNT files of 1 KiB (100,000), beside two
// processes that read each file, EVP_DigestSign it, write as many bytes as its signature has to a temporary file and
// rename that. Both work in the same directory, by turns. Prints lines of Markdown: with the log at WARN, with the log
// at INFO, and the peak memory of the tool's largest process.
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>
#include <vector>

#include "bench/fixture.h"
#include "bench/measure.h"
#include "demo/handles.h"

namespace zepasign::bench {
namespace {

constexpr int kProcesses = 2;

class Batch final {
 public:
  explicit Batch(std::string tool, int count) : tool_(std::move(tool)), count_(count) {
    const std::span<unsigned char> content = fixture().content(kKiB);
    std::filesystem::create_directory(directory_.path("in"));
    for (int i = 0; i < count_; ++i) {
      directory_.write("in/" + std::to_string(i), {content.begin(), content.end()});
    }
  }

  [[nodiscard]] int count() const { return count_; }

  // signWithTool: signs the first `count` files; returns the seconds that it took.
  double signWithTool(const std::string& propertyFile, int count) {
    std::ofstream list(directory_.path("list"));
    for (int i = 0; i < count; ++i) list << input(i) << '\n';
    list.close();
    const std::string command = "/usr/bin/time -f %M -o " + directory_.path("peak") + " " + tool_ + " sign -c " +
                                propertyFile + " --jobs " + std::to_string(kProcesses) + " --files-from " +
                                directory_.path("list") + " --out-dir " + directory_.path("out") + " 2>/dev/null";
    return timed([&command] { require(std::system(command.c_str()) == 0, "zepasign sign"); });
  }
  // peakKiB: of the largest process of the last signWithTool.
  [[nodiscard]] double peakKiB() const { return std::stod(demo::readFile(directory_.path("peak"))); }

  // signBare: signs them all without the tool; returns the seconds. REQUIRES: signWithTool was called, since the size
  // of a signature is taken from there.
  double signBare() {
    const std::string signature(std::filesystem::file_size(directory_.path("out/0.p7s.b64")), 'A');
    return timed([this, &signature] {
      std::vector<int> children;
      for (int first = 0; first < kProcesses; ++first) {
        children.push_back(startChild([this, first, &signature] { return signShare(first, signature); }));
      }
      for (const int child : children) static_cast<void>(childResult(child));
    });
  }

 private:
  [[nodiscard]] std::string input(int i) const { return directory_.path("in/" + std::to_string(i)); }

  // timed: with an empty directory for the signatures.
  double timed(const std::function<void()>& work) const {
    std::filesystem::remove_all(directory_.path("out"));
    std::filesystem::create_directory(directory_.path("out"));
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  }

  double signShare(int first, const std::string& signature) const {
    const demo::Key key = fixture().signer(KeyKind::kRsa2048).key;
    for (int i = first; i < count_; i += kProcesses) signBareFile(key, i, signature);
    return 0;
  }

  void signBareFile(const demo::Key& key, int i, const std::string& signature) const {
    const std::string content = demo::readFile(input(i));
    const demo::Owned<EVP_MD_CTX_free, EVP_MD_CTX> context(EVP_MD_CTX_new());
    unsigned char value[512];
    std::size_t length = sizeof value;
    require(EVP_DigestSignInit(context.get(), nullptr, EVP_sha256(), nullptr, key.get()) == 1, "EVP_DigestSignInit");
    require(EVP_DigestSign(context.get(), value, &length, reinterpret_cast<const unsigned char*>(content.data()),
                           content.size()) == 1,
            "EVP_DigestSign");
    const std::string place = directory_.path("out/" + std::to_string(i));
    demo::writeFile(place + ".part", signature);
    std::filesystem::rename(place + ".part", place);
  }

  demo::TempDirectory directory_;
  std::string tool_;
  int count_;
};

// printRateRow: files per second, the median of `repetitions`; the ratio must reach `limit`.
void printRateRow(Batch& batch, const char* logLevel, int repetitions, double limit) {
  const std::string propertyFile = fixture().propertyFile({.logLevel = logLevel});
  std::vector<double> own;
  std::vector<double> bare;
  for (int i = 0; i < repetitions; ++i) {
    own.push_back(batch.signWithTool(propertyFile, batch.count()));
    bare.push_back(batch.signBare());
  }
  const double ratio = medianOf(bare) / medianOf(own);
  const std::string title =
      formatted("sign --jobs %d, %d files of 1 KiB, log at %s", kProcesses, batch.count(), logLevel);
  const std::string row = markdownRow(title, limit == 0 ? "" : formatted("at least %.2f", limit),
                                      {formatted("%.0f files/s", batch.count() / medianOf(bare)),
                                       formatted("%.2f (%.0f files/s)", ratio, batch.count() / medianOf(own))},
                                      ratio >= limit);
  std::fputs(row.c_str(), stdout);
}

// printMemoryRow: the peak of the largest process over all files, in terms of the peak over a tenth of them.
void printMemoryRow(Batch& batch) {
  constexpr double kLimit = 1.05;
  const std::string propertyFile = fixture().propertyFile({.logLevel = "WARN"});
  batch.signWithTool(propertyFile, batch.count() / 10);
  const double small = batch.peakKiB();
  batch.signWithTool(propertyFile, batch.count());
  const double ratio = batch.peakKiB() / small;
  const std::string title = formatted("sign --jobs %d: peak memory; baseline: a tenth of the files", kProcesses);
  const std::string row = markdownRow(title, formatted("%.2f", kLimit),
                                      {formatted("%.1f MiB", small / kKiB), formatted("%.2f", ratio)}, ratio <= kLimit);
  std::fputs(row.c_str(), stdout);
}

}  // namespace
}  // namespace zepasign::bench

int main(int argc, char** argv) {
  using namespace zepasign::bench;
  constexpr int kFiles = 100'000;
  constexpr double kLimit = 0.85;
  if (argc < 2) return 2;
  Batch batch(argv[1], argc > 2 ? std::atoi(argv[2]) : kFiles);
  printRateRow(batch, "WARN", 3, kLimit);
  printRateRow(batch, "INFO", 1, 0);
  printMemoryRow(batch);
}
