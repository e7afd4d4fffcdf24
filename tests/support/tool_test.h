// The built command line, run by the shell in a directory of its own; POSIX only.
#ifndef ZEPASIGN_TESTS_SUPPORT_TOOL_TEST_H_
#define ZEPASIGN_TESTS_SUPPORT_TOOL_TEST_H_

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "tests/support/command.h"
#include "tests/support/files.h"

namespace zepasign::testing {

using Json = nlohmann::json;

// ToolTest: a directory with the demo of "zepasign init" and a second property file that logs nothing.
class ToolTest : public ::testing::Test {
 protected:
  ToolTest() {
    EXPECT_EQ(0, run("init --demo " + demo_).exitCode);
    quiet_ = changed("quiet.properties", "= INFO", "= OFF");
  }

  // run: from inside the directory, in English unless the variables before it say otherwise.
  CommandResult run(const std::string& arguments, const std::string& before = "LC_ALL=C") const {
    return runCommand("cd '" + directory_.path() + "' && " + before + " " ZEPASIGN_TOOL " " + arguments);
  }
  // shell: another command in the directory; returns its exit code.
  int shell(const std::string& command) const {
    return runCommand("cd '" + directory_.path() + "' && " + command).exitCode;
  }
  Json json(const std::string& arguments) const { return Json::parse(run(arguments + " --json 2>&-").output); }

  // changed: the demo's property file under another name, with one text replaced.
  std::string changed(const std::string& name, const std::string& from, const std::string& to) const {
    std::string text = readFile(demo_ + "/app.properties");
    const std::size_t at = text.find(from);
    EXPECT_NE(std::string::npos, at) << from;
    return directory_.write(name, text.replace(at, from.size(), to));
  }

  TempDirectory directory_;
  std::string demo_ = directory_.path("demo");
  std::string quiet_;
};

}  // namespace zepasign::testing

#endif  // ZEPASIGN_TESTS_SUPPORT_TOOL_TEST_H_
