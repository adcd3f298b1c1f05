# Our own code builds without warnings; third-party headers are included as system headers.
function(brind_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wswitch)
endfunction()
