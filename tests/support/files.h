// Folders, files, property files and logs for tests.
#ifndef ZEPASIGN_TESTS_SUPPORT_FILES_H_
#define ZEPASIGN_TESTS_SUPPORT_FILES_H_

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace zepasign::testing {

void writeFile(const std::filesystem::path& path, const std::string& bytes);
[[nodiscard]] std::string readFile(const std::filesystem::path& path);

// TempFolder: an empty folder of its own below the system's folder for temporary files, gone with everything in it at
// the end of the scope.
class TempFolder final {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  [[nodiscard]] std::string path() const { return path_.string(); }
  [[nodiscard]] std::string path(const std::string& name) const { return (path_ / name).string(); }

  // write: makes a file of that name with these bytes and tells its full path.
  std::string write(const std::string& name, const std::string& bytes) const;

 private:
  std::filesystem::path path_;
};

// Properties: the pairs of a property file; `propertyText` gives them as lines, ordered by key.
using Properties = std::map<std::string, std::string>;
[[nodiscard]] std::string propertyText(const Properties& properties);

// readLog: the lines of the daily log files in `folder`, oldest first, without line ends. Of each line the time stamp
// and process id are checked and cut off, "ERROR text" and "INFO text" (no leading blank) stay; rows of a hex dump
// stay as they are. Texts are Big5: compare with big5(). Throws when a line has neither form; empty without a file.
[[nodiscard]] std::vector<std::string> readLog(const std::filesystem::path& folder);

// base64Decode: by libcrypto; throws when the text is not Base64 on one line.
[[nodiscard]] std::string base64Decode(const std::string& text);

// big5: a UTF-8 text as the system's own converter gives it in Big5; throws when it cannot.
[[nodiscard]] std::string big5(const std::string& utf8);

}  // namespace zepasign::testing

#endif  // ZEPASIGN_TESTS_SUPPORT_FILES_H_
