# Our own code builds with every warning as an error; generated and third-party code is left alone.
function(tessaro_strict_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Werror)
endfunction()
