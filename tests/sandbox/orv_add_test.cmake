# orv_add_test(NAME SOURCES... [LIBRARIES libraries...] [TIMEOUT seconds] [APART sources...]): a test
# program on the fake machine; every test in it becomes a test of ctest. APART are those sources
# that name something as another one does, and so are not compiled together with others.
function(orv_add_test name)
  include(GoogleTest)
  cmake_parse_arguments(PARSE_ARGV 1 test "" "TIMEOUT" "LIBRARIES;APART")
  if(NOT test_TIMEOUT)
    set(test_TIMEOUT 60)
  endif()
  add_executable(${name} ${test_UNPARSED_ARGUMENTS} ${test_APART})
  orv_compile_tests_together(${name} ${test_APART})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PRIVATE orv_sandbox ${test_LIBRARIES} orv_options orv_test_options)
  # Reading these headers takes longer than compiling a test: the first program does it for all.
  get_property(first GLOBAL PROPERTY orv_first_test_program)
  if(first)
    target_precompile_headers(${name} REUSE_FROM ${first})
  else()
    target_precompile_headers(${name} PRIVATE <gmock/gmock.h> <gtest/gtest.h>
                              <nlohmann/json.hpp>)
    set_property(GLOBAL PROPERTY orv_first_test_program ${name})
  endif()
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT ${test_TIMEOUT})
endfunction()

# orv_compile_tests_together(TARGET APART...): with ORV_COMPILE_TOGETHER, which saves two thirds of the
# time: what takes it is the same templates in every source.
function(orv_compile_tests_together target)
  set_target_properties(${target} PROPERTIES UNITY_BUILD ${ORV_COMPILE_TOGETHER})
  set_source_files_properties(${ARGN} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
  if(ORV_COMPILE_TOGETHER)
    # Each source is meant, which is not the main one of what is compiled.
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
  endif()
endfunction()
