// Fault injection: file operations and memory allocations fail, one after the other, each in a process of its own.
// Whatever fails, the process goes on, the call returns a code that fits, and the next call finds nothing missing.
// ZEPASIGN_SWEEP_STEP=1 lets every allocation fail once; without it only every 11th or 101st does.
#include <dlfcn.h>
#include <sys/mman.h>

#include <algorithm>
#include <set>

#include "tests/support/command.h"
#include "tests/support/faults_posix.h"
#include "tests/support/loaded_library_posix.h"

namespace zepasign::testing {
namespace {

// Outcome: what a call returned, and the text that it made. A call ends the faults before it makes this.
struct Outcome {
  int code;
  std::string text;
};
using Call = std::function<Outcome()>;

// openFiles: how many descriptors this process has open.
long openFiles() {
  const std::filesystem::directory_iterator files("/proc/self/fd");
  return std::distance(begin(files), end(files));
}

// Seen: what a child tells its parent.
struct Seen {
  int code;
  bool failed, failedInCpp;  // whether an operation failed, and whether it was an allocation by C++ code
  long grown;                // blocks held more than before
};

// stepOf: as ordered, else the usual one.
long stepOf(long usual) {
  const char* ordered = std::getenv("ZEPASIGN_SWEEP_STEP");
  return ordered == nullptr ? usual : std::stol(ordered);
}

// isCpp: whether the allocation came from operator new or from what throws an exception, and so from the library's own
// code. libcrypto and the C library may hide a failed allocation behind another error.
bool isCpp(const void* caller) {
  Dl_info info{};
  return dladdr(caller, &info) != 0 && std::string(info.dli_fname).find("libstdc++") != std::string::npos;
}

}  // namespace

class Failures : public HostProcess {
 protected:
  // The log's directories do not exist yet, and there are two chains, so that losing one leaves a list that is not
  // empty.
  void SetUp() override {
    prepare([this](Fixture& fixture) {
      for (const char* file : {"chain.p7b", "ca.crl"}) directory_.write(file, readFile(fixture.directory.path(file)));
      const Certificate other = makeIdentity(caPlan("Other Root")).certificate;
      directory_.write("other.p7b", makeP7b({other}));
      directory_.write("content", "content");
      fixture.addChain();
      Properties& properties = fixture.properties;
      properties["P7B.path"] = properties["CRL.path"] = directory_.path();
      properties["LOG.path"] = directory_.path("a/b");
      properties["LOG.encoding"] = "UTF-8";
      properties["PKCS7.addCert"] = "2";
      directory_.write("one-chain", propertyText(properties));
      Properties pfxAlone = fixture.properties;
      std::erase_if(pfxAlone,
                    [](const auto& line) { return line.first.starts_with("P7B") || line.first.starts_with("CRL"); });
      pfxAlone["LOG.level"] = "OFF";
      directory_.write("pfx-alone", propertyText(pfxAlone));
      Properties forms = properties;
      forms["PFX.pswd"] = "";
      forms["PFX.pswdB64"] = kStoredPassword;
      directory_.write("stored", propertyText(forms));
      forms["PSWD.authKey"] = "auth";
      directory_.write("callers", propertyText(forms));
      properties["P7B1.name"] = "other.p7b";
      properties["P7B1.SKI"] = subjectKeyIdOf(other);
    });
    std::filesystem::remove_all(directory_.path("a"));
    seen_ = static_cast<Seen*>(mmap(nullptr, sizeof *seen_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANON, -1, 0));
  }

  // meets: `call` while the n-th operation of that kind fails, then once more while none does.
  void meets(Fault fault, long n, bool lasting, const Call& call, const std::string& expected) {
    const auto body = [&] {
      const long before = liveBlocks();
      const long filesBefore = openFiles();
      failAt(fault, n, lasting);
      const Outcome first = call();
      EXPECT_EQ(openedInheritably(), 0);
      EXPECT_EQ(openFiles(), filesBefore);
      *seen_ = {first.code, failedCaller() != nullptr, isCpp(failedCaller()), 0};
      // An unreadable chain file is a reason to sign without that chain; memory that is missing for a moment is not.
      if (fault != Fault::file || first.code != 0) {
        EXPECT_EQ(first.text, first.code == 0 ? expected : "");
      }
      EXPECT_EQ(call().text, expected);
      seen_->grown = liveBlocks() - before;
    };
    *seen_ = {};
    inChild(body, "failure " + std::to_string(n));
  }

  // sweep: meets every step-th failure from the first on, until none is met, and returns its number. The code is 0 or
  // one of `codes`; of allocations, 5002, or one of `hidden` where libcrypto or iconv does not say why it failed, which
  // is seldom so.
  long sweep(Fault fault, const std::set<int>& codes, const std::set<int>& hidden, const Call& call,
             const std::string& expected, long step, bool lasting = false, long first = 1) {
    meets(fault, 0, false, call, expected);
    EXPECT_EQ(seen_->code, 0);
    const long clean = seen_->grown;
    long failures = 0, hiddenOnes = 0, n = first + clean % step;
    for (; failures == 0 || seen_->failed; n += step, ++failures) {
      meets(fault, n, lasting, call, expected);
      const bool isHidden = !seen_->failedInCpp && hidden.contains(seen_->code);
      const bool isExpected = isHidden || seen_->code == 0 || codes.contains(seen_->code);
      hiddenOnes += isHidden ? 1 : 0;
      EXPECT_TRUE(isExpected) << n << ": " << seen_->code;
      // libcrypto itself leaks some blocks when it runs out of memory.
      if (fault != Fault::memory || seen_->failedInCpp) {
        EXPECT_LE(seen_->grown, clean + 1) << n;
      }
    }
    EXPECT_LE(hiddenOnes * 10, failures);
    return n;
  }

  Call initialising(const std::string& file, const char* password = nullptr) {
    return [this, password, path = directory_.path(file)]() -> Outcome {
      const int code = library_.initialise(path, password);
      endFaults();
      return {code, code == 0 && library_.sign() == 0 ? library_.text() : ""};
    };
  }

  LoadedLibrary library_;
  Seen* seen_ = nullptr;
};

TEST_F(Failures, OfFileOperations) {
  const std::set<int> codes = {1102, 1202, 5002};
  for (const bool lasting : {false, true}) {
    sweep(Fault::file, codes, {}, initialising("one-chain"), expected_, 1, lasting);
  }
}

TEST_F(Failures, OfAllocationsDuringInitialisation) {
  const long step = stepOf(101);
  for (const bool lasting : {false, true}) {
    sweep(Fault::stream, {5002}, {}, initialising("app.properties"), expected_, 1, lasting);
  }
  sweep(Fault::memory, {5002}, {5208}, initialising("app.properties"), expected_, step);
  sweep(Fault::memory, {5002}, {5208}, initialising("app.properties"), expected_, 7 * step, true);
  sweep(Fault::memory, {5002}, {5005, 5208}, initialising("stored"), expected_, step);
  sweep(Fault::memory, {5002}, {5005, 5208}, initialising("callers", kCallersPassword), expected_, step);
  for (const std::string line : {"loadPfxFile() = 0x0000138A(5002)", "loadCertChainFiles() = false"}) {
    EXPECT_EQ(runCommand("grep '" + line + "' " + directory_.path("a/b/*")).exitCode, 0)
        << "steps end in the log: " << line;
  }
  EXPECT_EQ(runCommand("iconv -f UTF-8 -t UTF-8 " + directory_.path("a/b/*")).exitCode, 0) << "LOG.encoding is kept";
}

TEST_F(Failures, OfAllocationsDuringOtherCalls) {
  ASSERT_EQ(library_.initialise(file_), 0);
  const long step = stepOf(11);
  const auto signing = [this](int code) -> Outcome {
    endFaults();
    return {code, library_.text()};
  };
  const auto signText = [&] { return signing(library_.find<decltype(SignPkcs7)>("SignPkcs7")("content", "BIG5")); };
  const auto signFile = [&, file = directory_.path("content")] {
    return signing(library_.find<decltype(SignPkcs7File)>("SignPkcs7File")(file.c_str()));
  };
  const auto makePassword = [&, file = directory_.path("callers")]() -> Outcome {
    char area[100] = "";
    int size = sizeof area;
    const auto make = library_.find<decltype(MakeZEPASignPasswd)>("MakeZEPASignPasswd");
    const int code = make(area, &size, file.c_str(), "pfx-password");
    endFaults();
    return {code, area};
  };
  // The PFX alone, its end in small steps: what libcrypto reads ahead from a key, it reads in a few allocations.
  const Call loadPfx = initialising("pfx-alone");
  const std::string signature = loadPfx().text;
  const long end = sweep(Fault::memory, {5002}, {5208}, loadPfx, signature, 11 * step);
  sweep(Fault::memory, {5002}, {5208}, loadPfx, signature, std::min(step, 3L), false, end * 9 / 10);
  ASSERT_EQ(library_.initialise(file_), 0);
  sweep(Fault::memory, {5002}, {5061, 5901}, signText, expected_, step);
  sweep(Fault::memory, {5002}, {5061}, signFile, expected_, step);
  sweep(Fault::memory, {5002}, {5063}, makePassword, kCallersPassword, step);
}

}  // namespace zepasign::testing
