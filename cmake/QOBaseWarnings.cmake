# Warning flags for the project's own targets; dependencies are not held to them.
function(qobase_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Werror)
endfunction()
