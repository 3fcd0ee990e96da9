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
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/bench)
  target_link_libraries(${name} PRIVATE qxut::qxut benchmark::benchmark_main benchmark::benchmark ${ARGN})
  target_link_options(${name} PRIVATE -Wl,--as-needed)
endfunction()

# qxut_fuzz(name corpus): a fuzz target, fuzz/<name>.cpp, with its seeds in fuzz/corpus/<corpus>.
# With QXUT_FUZZ it is a libFuzzer program; the tests link it to a driver that replays the seeds.
function(qxut_fuzz name corpus)
  add_executable(${name} ${name}.cpp)
  qxut_warnings(${name})
  target_compile_features(${name} PRIVATE cxx_std_20)
  target_link_libraries(${name} PRIVATE qxut::qxut)
  if(QXUT_FUZZ)
    target_compile_options(${name} PRIVATE -fsanitize=fuzzer)
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  else()
    target_sources(${name} PRIVATE replay.cpp)
    add_test(NAME fuzz.${corpus} COMMAND ${name} ${CMAKE_CURRENT_SOURCE_DIR}/corpus/${corpus})
  endif()
endfunction()
