# libbacktrace, which both compilers find in GCC's own folder: QXUT_BACKTRACE_LIBRARY is the
# archive, QXUT_BACKTRACE_INCLUDE_DIR the folder of its header. That folder holds GCC's intrinsics
# too, so it must come after the compiler's own (-idirafter).
if(NOT QXUT_BACKTRACE_LIBRARY)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libbacktrace.a
                  OUTPUT_VARIABLE archive OUTPUT_STRIP_TRAILING_WHITESPACE)
  get_filename_component(archive "${archive}" ABSOLUTE)
  if(NOT EXISTS "${archive}")
    message(FATAL_ERROR "libbacktrace.a not found; it comes with GCC (libgcc-12-dev)")
  endif()
  set(QXUT_BACKTRACE_LIBRARY "${archive}" CACHE FILEPATH "libbacktrace archive")
endif()
get_filename_component(backtrace_dir "${QXUT_BACKTRACE_LIBRARY}" DIRECTORY)
set(QXUT_BACKTRACE_INCLUDE_DIR "${backtrace_dir}/include")
