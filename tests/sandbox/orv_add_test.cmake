# orv_add_test(NAME SOURCES... [LIBRARIES libraries...]): a test program on the fake machine; every
# test in it becomes a test of ctest.
function(orv_add_test name)
  include(GoogleTest)
  cmake_parse_arguments(PARSE_ARGV 1 test "" "" "LIBRARIES")
  add_executable(${name} ${test_UNPARSED_ARGUMENTS})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PRIVATE orv_sandbox ${test_LIBRARIES} orv_options)
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 60)
endfunction()
