# qxut_warnings(target): the warnings that every file of the project compiles without.
function(qxut_warnings target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
endfunction()
