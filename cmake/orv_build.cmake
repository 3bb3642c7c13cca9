# How everything in this tree is compiled, and how its two libraries are made and installed.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
# A build folder works wherever it is seen, as inside the simulated appliance.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

option(ORV_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)
option(ORV_SANITIZE_THREADS "Build with ThreadSanitizer" OFF)
option(ORV_COVERAGE "Count lines and branches of the libraries, with clang++" OFF)
option(ORV_COMPILE_TOGETHER "Compile many sources at once, which reads their headers once" OFF)
option(ORV_PRECOMPILE "Read the headers of the standard library once for each library" OFF)

add_library(orv_options INTERFACE)
target_compile_options(orv_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
# The file tables of the appliance are larger than 2 GiB in places: one file interface, 64 bits wide.
target_compile_definitions(orv_options INTERFACE _GNU_SOURCE _FILE_OFFSET_BITS=64)
if(ORV_SANITIZE)
  target_compile_options(orv_options INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(orv_options INTERFACE -fsanitize=address,undefined)
endif()
if(ORV_SANITIZE_THREADS)
  target_compile_options(orv_options INTERFACE -fsanitize=thread)
  target_link_options(orv_options INTERFACE -fsanitize=thread)
endif()
if(ORV_FUZZ)
  # Every edge is counted. Comparisons are not traced: texts are compared by functions of the C library,
  # which libFuzzer watches anyway, and the others are those of the sanitizers for the most part.
  target_compile_options(orv_options INTERFACE
    -fsanitize-coverage=inline-8bit-counters,pc-table
    -fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/fuzz/uninstrumented)
  target_compile_definitions(orv_options INTERFACE _GLIBCXX_ASSERTIONS)
endif()
# The code of tests is checked for what it does with memory; instrumented for undefined behaviour too,
# as the code under test is, it would take half as long again to compile.
add_library(orv_test_options INTERFACE)
if(ORV_SANITIZE)
  target_compile_options(orv_test_options INTERFACE -fno-sanitize=undefined)
endif()

# Counters that may be pages of their file: what a process did is there whatever root directory it saw,
# and however it ended.
add_library(orv_coverage INTERFACE)
if(ORV_COVERAGE)
  target_compile_options(orv_coverage INTERFACE
    -fprofile-instr-generate -fcoverage-mapping -fprofile-update=atomic
    "SHELL:-mllvm -runtime-counter-relocation")
  target_link_options(orv_coverage INTERFACE -fprofile-instr-generate)
endif()

# orv_add_library(orvNAME): a shared library that exports only what is marked ORV_API.
function(orv_add_library name)
  string(REPLACE "orv" "" component ${name})
  add_library(${name} SHARED)
  add_library(orv::${component} ALIAS ${name})
  set_target_properties(${name} PROPERTIES
    EXPORT_NAME ${component} VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  target_compile_definitions(${name} PRIVATE ORV_BUILDING)
  target_compile_features(${name} PUBLIC cxx_std_20)
  target_include_directories(${name}
    PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
           $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>
    PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PRIVATE
    $<BUILD_INTERFACE:orv_options> $<BUILD_INTERFACE:orv_coverage>)
  if(ORV_PRECOMPILE)
    target_precompile_headers(${name} PRIVATE
      <algorithm> <cerrno> <chrono> <cstdio> <cstring> <functional> <map> <optional> <string>
      <string_view> <unordered_map> <vector>)
  endif()
  # nodelete: the system log keeps a pointer to the ident that the library gave it. now: a function that
  # is looked up at its first call has the caller's registers, which may hold part of a password, saved
  # on the stack.
  target_link_options(${name} PRIVATE
    -Wl,-z,nodelete -Wl,-z,now -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/hidden_std.map)
  set_property(TARGET ${name} APPEND PROPERTY
    LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/hidden_std.map)
  install(TARGETS ${name} EXPORT orv LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
endfunction()

# orv_compile_together(TARGET SEPARATE...): with ORV_COMPILE_TOGETHER the sources of a folder are
# compiled at once, but for SEPARATE: files that name something as another of their folder does.
function(orv_compile_together target)
  set_target_properties(${target} PROPERTIES
    UNITY_BUILD ${ORV_COMPILE_TOGETHER} UNITY_BUILD_MODE GROUP)
  get_target_property(sources ${target} SOURCES)
  foreach(source IN LISTS sources)
    cmake_path(ABSOLUTE_PATH source)
    cmake_path(RELATIVE_PATH source BASE_DIRECTORY ${PROJECT_SOURCE_DIR} OUTPUT_VARIABLE path)
    if(NOT path IN_LIST ARGN)
      cmake_path(GET source PARENT_PATH folder)
      cmake_path(GET folder FILENAME folder)
      set_source_files_properties(${source} TARGET_DIRECTORY ${target}
                                  PROPERTIES UNITY_GROUP ${folder})
    endif()
  endforeach()
endfunction()

# CMake package and pkg-config files of both libraries.
function(orv_install_package)
  include(CMakePackageConfigHelpers)
  set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/orv)
  file(WRITE ${PROJECT_BINARY_DIR}/orvConfig.cmake
       "include(\"\${CMAKE_CURRENT_LIST_DIR}/orvTargets.cmake\")\n")
  write_basic_package_version_file(${PROJECT_BINARY_DIR}/orvConfigVersion.cmake
                                   COMPATIBILITY SameMajorVersion)
  install(FILES ${PROJECT_BINARY_DIR}/orvConfig.cmake ${PROJECT_BINARY_DIR}/orvConfigVersion.cmake
          DESTINATION ${package_dir})
  install(EXPORT orv FILE orvTargets.cmake NAMESPACE orv:: DESTINATION ${package_dir})
  foreach(package IN ITEMS orvsupport orvmgmt)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/${package}.pc.in ${package}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${package}.pc
            DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  endforeach()
endfunction()
