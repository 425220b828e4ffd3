#pragma once

// Part of TestSupport.h; a file of its own only while the app's tests include it directly.

#include <signal.h>
#include <sys/resource.h>

#include <stdexcept>

namespace parcelo::test {

// While it lives, no file of this process (or of a process it starts) can grow past `bytes`:
// a write past the limit fails with "File too large" instead of raising SIGXFSZ, as when the
// disk or the user's quota fills up midway through a file.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        if (::getrlimit(RLIMIT_FSIZE, &previous_) != 0) throw std::runtime_error("cannot read the file size limit");
        previousSignal_ = ::signal(SIGXFSZ, SIG_IGN);
        rlimit limited = previous_;
        limited.rlim_cur = bytes;
        if (::setrlimit(RLIMIT_FSIZE, &limited) != 0) throw std::runtime_error("cannot set the file size limit");
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &previous_);
        ::signal(SIGXFSZ, previousSignal_);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit previous_{};
    sighandler_t previousSignal_ = SIG_DFL;
};

}  // namespace parcelo::test
