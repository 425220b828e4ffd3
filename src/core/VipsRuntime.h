#pragma once

#include <vips/vips8>

namespace parcelo::detail {

// Starts libvips once per process: no operation cache (each fit decodes once and keeps
// its own pixels), and none of the library's warnings on the user's terminal.
void ensureVipsStarted();

// libvips keeps one error buffer for the whole process; drop what a failed call left there.
void clearVipsError();

}  // namespace parcelo::detail
