# Warnings are errors on our own code only (dependencies are included as system headers).
function(kyr_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Werror)
endfunction()
