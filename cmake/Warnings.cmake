# Our own code builds without warnings; third-party headers are included as system headers.
function(brind_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wswitch)
  # GCC 12 pairs the allocation of every Asio coroutine frame with the wrong deallocation when it
  # inlines the frame's operator delete, and warns about a mismatch that is not there (later GCCs
  # do not).
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(${target} PRIVATE -Wno-mismatched-new-delete)
  endif()
endfunction()
