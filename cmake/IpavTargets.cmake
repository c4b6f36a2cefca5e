# The options with which every target of the project is built.

add_library(ipav_build_flags INTERFACE)
target_compile_features(ipav_build_flags INTERFACE cxx_std_17)
# Sources include each other by their path from here.
target_include_directories(ipav_build_flags INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(ipav_build_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual
    -Wold-style-cast>
  $<$<BOOL:${IPAV_WERROR}>:-Werror>)
if(IPAV_SANITIZE)
  # GCC cannot follow initializations through the sanitizers' code, and warns
  # about the headers of the C++ library.
  target_compile_options(ipav_build_flags INTERFACE
    -fsanitize=${IPAV_SANITIZE} -fno-sanitize-recover=all
    -fno-omit-frame-pointer
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  target_compile_definitions(ipav_build_flags INTERFACE IPAV_SANITIZED)
  target_link_options(ipav_build_flags INTERFACE -fsanitize=${IPAV_SANITIZE})
endif()
if(IPAV_COVERAGE)
  target_compile_options(ipav_build_flags INTERFACE --coverage -O0)
  target_link_options(ipav_build_flags INTERFACE --coverage)
endif()

# The presets compile sources of a target together (CMAKE_UNITY_BUILD), which
# halves the time of a build. Sources that have file-local names in common, or
# that a program replaces by its own, are compiled alone.
function(ipav_compile_alone)
  set_source_files_properties(${ARGN} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()

set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
