# SPDX-FileCopyrightText: 2026 The Parcelo developers
# SPDX-License-Identifier: GPL-3.0-or-later

# Parcelo reads hostile files from anywhere, so what it ships is built with Debian's hardening
# flags: _FORTIFY_SOURCE, the stack protector, format checks, full RELRO and BIND_NOW (PIE is the
# compiler's default). dpkg-buildflags is the one source of them. The optimisation and debug
# flags stay the build type's; the sanitizer and fuzzing builds, and Debug (which fortification
# needs optimisation for), are left as they are.
find_program(PARCELO_DPKG_BUILDFLAGS dpkg-buildflags)
if(PARCELO_DPKG_BUILDFLAGS AND NOT PARCELO_SANITIZE AND NOT PARCELO_FUZZ AND NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
  foreach(kind CPPFLAGS CXXFLAGS LDFLAGS)
    execute_process(
      COMMAND ${CMAKE_COMMAND} -E env "DEB_BUILD_MAINT_OPTIONS=hardening=+all reproducible=-all"
              ${PARCELO_DPKG_BUILDFLAGS} --get ${kind}
      OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    separate_arguments(flags UNIX_COMMAND "${flags}")
    list(FILTER flags EXCLUDE REGEX "^-(g|O.*)$")
    if(kind STREQUAL "LDFLAGS")
      add_link_options(${flags})
    else()
      add_compile_options(${flags})
    endif()
  endforeach()
elseif(NOT PARCELO_DPKG_BUILDFLAGS)
  message(STATUS "dpkg-buildflags not found: building without Debian's hardening flags")
endif()

# An installed Parcelo finds its libraries where the system keeps them; a RUNPATH into its own
# folder would only let a stray library beside the binary be loaded first.
set(CMAKE_SKIP_INSTALL_RPATH ON)
