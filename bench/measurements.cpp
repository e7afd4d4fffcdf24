// zepasign_measurements: what Google Benchmark does not measure, as lines of Markdown.
//   zepasign_measurements memory       the peak memory of one large signature, each in a fresh process
//   zepasign_measurements processes    what two processes on two cores do together, in terms of one
//   zepasign_measurements start        loading and initialising, beside libcrypto parsing the same files
//   zepasign_measurements soak         100,000 signatures with re-initialisations between, and what stays of the memory
//   zepasign_measurements sign IMPLEMENTATION COUNT    signs 1 KiB COUNT times in signMany, for an instruction counter
#include <malloc.h>
#include <sched.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <map>

#include "api/ZEPASignDLL.h"
#include "bench/fixture.h"
#include "bench/job.h"
#include "bench/measure.h"
#include "bench/start_files.h"
#include "demo/handles.h"

namespace zepasign::bench {

// signMany: outside the anonymous namespace and never inlined, so that the instruction counter finds it by name.
[[gnu::noinline]] void signMany(const Sign& sign, int count) {
  for (int i = 0; i < count; ++i) sign();
}

namespace {

using demo::must;

constexpr double kMiBBytes = static_cast<double>(kMiB);

void print(const std::string& text) { std::fputs(text.c_str(), stdout); }

// peakAbove: the bytes by which one signature raises the peak above what is resident before, the content included.
double peakAbove(const Implementation& implementation, const Job& job) {
  Job small = job;
  small.size = kKiB;
  implementation.prepare(small)();
  const Sign sign = implementation.prepare(job);
  std::ofstream("/proc/self/clear_refs") << 5;  // the peak so far is forgotten
  const double before = statusBytes("VmHWM");
  sign();
  return statusBytes("VmHWM") - before;
}

void printMemoryRow(const char* title, double limit, const Job& job) {
  std::map<const char*, double> mebibytes;
  std::vector<std::string> cells;
  for (const Implementation& implementation : kImplementations) {
    mebibytes[implementation.name] =
        childResult(startChild([&] { return peakAbove(implementation, job); })) / kMiBBytes;
    cells.push_back(formatted("%.2f MiB", mebibytes[implementation.name]));
  }
  print(markdownRow(title, formatted("%.2f MiB", limit), cells, mebibytes[kOwn.name] <= limit));
}

void memory() {
  printMemoryRow("64 MiB embedded: peak memory above the content", 1.34 * 64 + 1, {.size = 64 * kMiB});
  printMemoryRow("64 MiB detached: peak memory above the content", 1, {.size = 64 * kMiB, .embed = false});
}

using Clock = std::chrono::steady_clock;

// secondsOnCore: from `start`, for which it waits when it is ready, to the end of `count` signatures of 1 KiB.
double secondsOnCore(unsigned core, const Implementation& implementation, int count, Clock::time_point start) {
  cpu_set_t cores;
  CPU_ZERO(&cores);
  CPU_SET(core, &cores);
  require(sched_setaffinity(0, sizeof cores, &cores) == 0, "a core for each process");
  const Sign sign = implementation.prepare({});
  sign();
  while (Clock::now() < start) continue;
  signMany(sign, count);
  return std::chrono::duration<double>(Clock::now() - start).count();
}

// together: how many times one process's work two processes do in the same time; the best of several iterations.
double together(const Implementation& implementation) {
  constexpr int kRepetitions = 30;
  constexpr int kSignatures = 30;
  double alone = 1e9;
  double both = 1e9;
  const auto soon = [] { return Clock::now() + std::chrono::milliseconds(100); };
  const auto run = [&](unsigned core, Clock::time_point start) {
    return startChild([&, core, start] { return secondsOnCore(core, implementation, kSignatures, start); });
  };
  for (int i = 0; i < kRepetitions; ++i) {
    alone = std::min(alone, childResult(run(0, soon())));
    const Clock::time_point start = soon();
    const int first = run(0, start);
    const int second = run(1, start);
    const double firstSeconds = childResult(first);
    both = std::min(both, std::max(firstSeconds, childResult(second)));
  }
  return 2 * alone / both;
}

void processes() {
  constexpr double kLimit = 1.9;
  static_cast<void>(fixture().signer(KeyKind::kRsa2048));  // before the children, who would each make their own
  const double bare = together(kBaseline);
  const double own = together(kOwn);
  print(markdownRow("1 KiB, two processes on two cores: one process's work, times", formatted("at least %.2f", kLimit),
                    {formatted("%.2f", bare), formatted("%.2f", own)}, own >= kLimit));
}

double childSeconds(const std::function<void()>& work) {
  return childResult(startChild([&work] {
    const double start = processorSeconds();
    work();
    return processorSeconds() - start;
  }));
}

// startSeconds: what zepasign_start prints.
double startSeconds(const std::string& arguments) {
  double seconds = 0;
  std::FILE* program = must(popen((ZEPASIGN_START " " + arguments).c_str(), "r"), "zepasign_start");
  const bool isComplete = std::fscanf(program, "%lf", &seconds) == 1;
  require(pclose(program) == 0 && isComplete, "zepasign_start");
  return seconds;
}

// printStartRow: what an initialisation costs in terms of libcrypto's own calls, each in fresh processes, by turns.
void printStartRow(const char* title, double limit, const std::function<double()>& libcrypto,
                   const std::function<double()>& library) {
  constexpr int kRepetitions = 15;
  std::vector<double> own;
  std::vector<double> bare;
  for (int i = 0; i < kRepetitions; ++i) {
    bare.push_back(libcrypto());
    own.push_back(library());
  }
  const double least = std::ranges::min(bare);
  const double ratio = std::ranges::min(own) / least;
  print(
      markdownRow(title, limit == 0 ? "" : formatted("%.2f", limit),
                  {formatted("%.1f ms", least * 1e3), formatted("%.3f (%.3f)", ratio, medianOf(own) / medianOf(bare))},
                  ratio <= limit));
}

void start() {
  demo::Fixture onePfx{};
  onePfx.properties["LOG.level"] = "OFF";
  const std::string pfx = onePfx.directory.path("signer.pfx") + " " + onePfx.properties["PFX.pswd"];
  const std::string properties = onePfx.propertyFile();
  const auto library = [&] { return startSeconds("library " ZEPASIGN_LIBRARY " " + properties); };
  printStartRow(
      "Loading and initialising with one PFX; baseline: a context, its providers and PKCS12_parse", 1.1,
      [&] { return startSeconds("libcrypto " + pfx); }, library);
  printStartRow(
      "The same; baseline: the context is made the process's default one first", 0,
      [&] { return startSeconds("default " + pfx); }, library);
  const StartFiles files;
  printStartRow(
      "Initialising with 10 chains and 50 CRLs of 10,000 entries; baseline: libcrypto parsing them", 1.5,
      [&] { return childSeconds([&] { files.parseWithLibcrypto(); }); },
      [&] {
        return childSeconds(
            [&] { require(ZEPASignInitial(files.propertyFile().c_str(), nullptr), "ZEPASignInitial"); });
      });
}

// allocatedBytes: exact when glibc keeps no freed blocks per thread (glibc.malloc.tcache_count=0).
double allocatedBytes() {
  const struct mallinfo2 state = mallinfo2();
  return static_cast<double>(state.uordblks) + static_cast<double>(state.hblkhd) - static_cast<double>(state.fsmblks);
}

// soakJob: the kinds of signature by turns. The first one's log file takes what would else go to standard output.
Job soakJob(int turn) {
  return {.embed = turn % 2 == 0,
          .attributes = turn % 3 != 0,
          .certificates = turn % 5 == 0 ? Certificates::kChainInPfx : Certificates::kSigner,
          .key = turn % 4 == 3 ? KeyKind::kRsa2048 : KeyKind::kP256,
          .logLevel = turn == 0 ? "INFO" : "OFF"};
}

// soakSize: 1 byte to 64 KiB, now and then 1 MiB.
std::size_t soakSize(int i) {
  return i % 997 == 0 ? kMiB : 1 + static_cast<std::size_t>(i) * 7919 % ((i % 16 == 0 ? 64 : 2) * kKiB);
}

void signBytes(std::size_t size) {
  require(SignPkcs7Bin(fixture().content(kMiB).data(), static_cast<int>(size)) == 0, "SignPkcs7Bin");
}

// keptBy: the bytes that stay allocated when the work is done.
double keptBy(const std::function<void()>& work) {
  const double before = allocatedBytes();
  work();
  return allocatedBytes() - before;
}

std::string residentText() { return std::to_string(std::lround(statusBytes("VmRSS") / 1024)) + ' '; }

// Each part of a turn ends with the same small signature, so that the text kept is as long.
void soak() {
  constexpr int kTurns = 100;
  constexpr int kSignatures = 1000;  // of each turn
  double byStarts = 0;
  double bySigning = 0;
  std::string resident;
  for (int turn = 0; turn < kTurns; ++turn) {
    if (turn == 1 || turn % 20 == 0) resident += residentText();
    const std::string file = fixture().propertyFile(soakJob(turn));
    const double byStart = keptBy([&file] {
      require(ZEPASignInitial(file.c_str(), nullptr), "ZEPASignInitial");
      signBytes(1);
    });
    const double bySignatures = keptBy([turn] {
      for (int i = turn * kSignatures + 2; i < (turn + 1) * kSignatures; ++i) signBytes(soakSize(i));
      signBytes(1);
    });
    if (turn > 0) byStarts += byStart;
    if (turn > 0) bySigning += bySignatures;
  }
  std::printf(
      "Soak: %d signatures of 1 byte to 1 MiB, %d initialisations. Resident at the start, after the first thousand and "
      "after each twenty thousand: %sKiB. Left allocated after the first thousand by signing: %.1f KiB; by further "
      "initialisations: %.0f KiB, %.1f KiB each, the replaced credentials, which are not freed, because a signature "
      "may "
      "still refer to them.\n",
      kTurns * kSignatures, kTurns, (resident + residentText()).c_str(), bySigning / 1024, byStarts / 1024,
      byStarts / 1024 / (kTurns - 1));
}

}  // namespace
}  // namespace zepasign::bench

int main(int argc, char** argv) {
  using namespace zepasign::bench;
  static const std::map<std::string, void (*)()> kMeasurements = {
      {"memory", memory}, {"processes", processes}, {"start", start}, {"soak", soak}};
  const std::string what = argc > 1 ? argv[1] : "";
  if (const auto found = kMeasurements.find(what); found != kMeasurements.end()) {
    found->second();
  } else if (what == "sign" && argc == 4) {
    const Sign sign = kImplementations.at(static_cast<std::size_t>(std::atoi(argv[2]))).prepare({});
    sign();
    signMany(sign, std::atoi(argv[3]));
  } else {
    return 2;
  }
}
