# orv_add_test(NAME SOURCES... [LIBRARIES libraries...] [TIMEOUT seconds]): a test program on the fake
# machine; every test in it becomes a test of ctest.
function(orv_add_test name)
  include(GoogleTest)
  cmake_parse_arguments(PARSE_ARGV 1 test "" "TIMEOUT" "LIBRARIES")
  if(NOT test_TIMEOUT)
    set(test_TIMEOUT 60)
  endif()
  add_executable(${name} ${test_UNPARSED_ARGUMENTS})
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
