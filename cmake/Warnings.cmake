# SPDX-FileCopyrightText: 2026 The Parcelo developers
# SPDX-License-Identifier: GPL-3.0-or-later

# parcelo_warnings(target): the warnings every Parcelo target is built with.
function(parcelo_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                         -Wno-sign-conversion -Wnon-virtual-dtor -Wold-style-cast)
endfunction()
