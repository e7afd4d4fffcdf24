// Directories, files and property files for tests, fuzzers and benchmarks. The library takes the name of a property
// file and reads everything else from the directories that it names, so each run has a directory of its own and leaves
// nothing behind.
//
// Texts are passed and written as bytes, without conversion of encodings or line ends. One thread at a time for each
// directory.
#ifndef ZEPASIGN_DEMO_FILES_H_
#define ZEPASIGN_DEMO_FILES_H_

#include <filesystem>
#include <map>
#include <string>

namespace zepasign::demo {

// writeFile, readFile: the whole content, byte for byte; throw std::runtime_error when the file cannot be used.
// writeFile replaces what the file held.
void writeFile(const std::filesystem::path& path, const std::string& bytes);
[[nodiscard]] std::string readFile(const std::filesystem::path& path);

// TempDirectory: an empty directory of its own below the system's directory for temporary files; removed with
// everything in it at the end of the scope. Its random name begins with "zepasign-". The constructor throws
// std::runtime_error when the directory cannot be made; a failure to remove it is ignored.
class TempDirectory final {
 public:
  TempDirectory();
  ~TempDirectory();
  TempDirectory(const TempDirectory&) = delete;
  TempDirectory& operator=(const TempDirectory&) = delete;

  // path: the full path of the directory, or of a file in it whether that exists or not.
  [[nodiscard]] std::string path() const { return path_.string(); }
  [[nodiscard]] std::string path(const std::string& name) const { return (path_ / name).string(); }

  // write: makes a file of that name with these bytes and returns its full path.
  std::string write(const std::string& name, const std::string& bytes) const;

 private:
  std::filesystem::path path_;
};

// Properties: the pairs of a property file, each key once. `propertyText` gives them as lines, ordered by key; a pair
// with an empty value becomes a line too, which the library takes for a missing key.
using Properties = std::map<std::string, std::string>;
[[nodiscard]] std::string propertyText(const Properties& properties);

}  // namespace zepasign::demo

#endif  // ZEPASIGN_DEMO_FILES_H_
