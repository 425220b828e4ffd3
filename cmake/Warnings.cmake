# parcelo_warnings(target): the warnings every Parcelo target is built with.
function(parcelo_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                         -Wno-sign-conversion -Wnon-virtual-dtor -Wold-style-cast)
endfunction()
