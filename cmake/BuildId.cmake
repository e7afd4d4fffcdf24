# Run at every build: writes OUTPUT, a header with the name of this build: what git describes, or RELEASE for a source
# without its git history. The file only changes when the name does.
cmake_minimum_required(VERSION 3.25)
if(EXISTS ${SOURCE}/.git)
  execute_process(COMMAND git describe --always --tags --dirty WORKING_DIRECTORY ${SOURCE}
    OUTPUT_VARIABLE build_id OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()
if(NOT build_id)
  set(build_id "release ${RELEASE}")
endif()
file(CONFIGURE OUTPUT ${OUTPUT} @ONLY CONTENT "\
// kBuildId: which source this program was built from.
inline constexpr const char* kBuildId = \"@build_id@\";
")
