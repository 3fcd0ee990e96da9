# The helpers through which every target of the project is declared.

# qxut_test(name sources...): a GoogleTest program over the library; its tests join CTest.
function(qxut_test name)
  add_executable(${name} ${ARGN})
  qxut_warnings(${name})
  target_link_libraries(${name} PRIVATE qxut_test_support)
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60)
endfunction()

# qxut_bench(name source [libraries...]): a benchmark program with its peers linked in.
function(qxut_bench name source)
  add_executable(${name} ${source})
  qxut_warnings(${name})
  target_compile_features(${name} PRIVATE cxx_std_20)
  target_link_libraries(${name} PRIVATE qxut::qxut benchmark::benchmark ${ARGN})
  set_property(GLOBAL APPEND PROPERTY QXUT_BENCHES ${name})
endfunction()
