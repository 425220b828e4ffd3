#pragma once

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <vector>

#include <vips/vips8>

#include "FitCommand.h"

extern char** environ;

namespace parcelo::test {

namespace fs = std::filesystem;

// A fresh folder, removed with everything in it when the test ends.
class TempFolder {
public:
    TempFolder() : path_((fs::temp_directory_path() / "parcelo-cli-XXXXXX").string()) {
        if (::mkdtemp(path_.data()) == nullptr) throw std::runtime_error("cannot make a temporary folder");
    }
    ~TempFolder() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    [[nodiscard]] fs::path path() const { return path_; }
    fs::path operator/(const std::string& name) const { return path() / name; }

private:
    std::string path_;
};

inline std::string readText(const fs::path& location) {
    std::ifstream in(location, std::ios::binary);
    if (!in) throw std::runtime_error("cannot read " + location.string());
    return std::string(std::istreambuf_iterator<char>(in), {});
}

inline void writeFile(const fs::path& location, const std::string& content) {
    std::ofstream out(location, std::ios::binary);
    if (!(out << content)) throw std::runtime_error("cannot write " + location.string());
}

inline std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

// The files of a folder, sorted by name.
inline std::vector<fs::path> filesIn(const fs::path& folder) {
    std::vector<fs::path> files(fs::directory_iterator(folder), {});
    std::sort(files.begin(), files.end());
    return files;
}

// A photo-like picture: smooth colour ramps with noise, so that its size depends on quality.
inline void writeImage(const fs::path& location, int width, int height) {
    if (VIPS_INIT("parcelo-cli-tests") != 0) throw std::runtime_error("cannot start libvips");
    vips::VImage ramp = vips::VImage::xyz(width, height);
    vips::VImage noise = vips::VImage::gaussnoise(width, height, vips::VImage::option()->set("sigma", 25.0));
    vips::VImage picture = ramp[0].linear(255.0 / width, 0.0).bandjoin(ramp[1].linear(255.0 / height, 0.0));
    picture = picture.bandjoin(noise.linear(1.0, 128.0));
    picture = picture.cast(VIPS_FORMAT_UCHAR).copy(vips::VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
    picture.write_to_file(location.c_str());
}

// What runFitCommand printed and returned, run in this process (never on a terminal).
struct CommandRun {
    int status = -1;
    std::string out;
    std::string err;
};

inline CommandRun fitCommand(const std::vector<std::string>& arguments, std::stop_token stopToken = {}) {
    std::ostringstream out;
    std::ostringstream err;
    const int status = parcelo::cli::runFitCommand(arguments, {out, err, false}, std::move(stopToken));
    return {status, out.str(), err.str()};
}

// parcelo-fit run as its own process. Its error output is caught in a file of the scratch
// folder; its standard output too, or, when held, in a pipe of one page that the test reads.
// A held program blocks as soon as the page is full, so it gets no further ahead of the test
// than one page of output.
class FitProcess {
public:
    enum class Output { file, held };

    FitProcess(std::vector<std::string> arguments, const fs::path& scratch, Output output = Output::file)
        : outPath_(scratch / "stdout.txt"), errPath_(scratch / "stderr.txt") {
        arguments.insert(arguments.begin(), PARCELO_FIT_BINARY);
        std::vector<char*> argv;
        for (std::string& argument : arguments) argv.push_back(argument.data());
        argv.push_back(nullptr);
        int pipe[2] = {-1, -1};
        if (output == Output::held && (::pipe2(pipe, O_CLOEXEC) != 0 || ::fcntl(pipe[1], F_SETPIPE_SZ, kPage) != kPage))
            throw std::runtime_error("cannot make a one-page pipe");
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        if (output == Output::held)
            posix_spawn_file_actions_adddup2(&files, pipe[1], STDOUT_FILENO);
        else
            posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, outPath_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        posix_spawn_file_actions_addopen(&files, STDERR_FILENO, errPath_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const int failed = ::posix_spawn(&pid_, argv[0], &files, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&files);
        if (output == Output::held) {
            ::close(pipe[1]);
            heldOut_ = pipe[0];
        }
        if (failed != 0) throw std::runtime_error("cannot start parcelo-fit");
    }
    ~FitProcess() {
        if (heldOut_ >= 0) ::close(heldOut_);
    }
    FitProcess(const FitProcess&) = delete;
    FitProcess& operator=(const FitProcess&) = delete;

    // Held output: blocks until the program has written its next line, which is returned
    // without its line break; nothing when the program closed its output first.
    std::optional<std::string> readLine() {
        std::size_t end = unread_.find('\n');
        while (end == std::string::npos) {
            if (!receive()) return std::nullopt;
            end = unread_.find('\n');
        }
        std::string line = unread_.substr(0, end);
        unread_.erase(0, end + 1);
        return line;
    }

    // Waits for the program to end and returns its exit status (128 + signal when killed).
    // Held output is read to its end first, so that the program never waits on it.
    int wait() {
        while (heldOut_ >= 0 && receive()) {}
        int status = 0;
        if (::waitpid(pid_, &status, 0) != pid_) throw std::runtime_error("cannot wait for parcelo-fit");
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    void signal(int number) const { ::kill(pid_, number); }
    // Everything written to standard output (held output: everything read so far).
    [[nodiscard]] std::string out() const { return heldOut_ >= 0 ? received_ : readText(outPath_); }
    [[nodiscard]] std::string err() const { return readText(errPath_); }

    static constexpr int kPage = 4096;

private:
    // Reads what the program has written so far; false at the end of its output.
    bool receive() {
        char buffer[kPage];
        ssize_t count = 0;
        do count = ::read(heldOut_, buffer, sizeof buffer);
        while (count < 0 && errno == EINTR);
        if (count < 0) throw std::runtime_error("cannot read parcelo-fit's output");
        received_.append(buffer, static_cast<std::size_t>(count));
        unread_.append(buffer, static_cast<std::size_t>(count));
        return count > 0;
    }

    fs::path outPath_;
    fs::path errPath_;
    pid_t pid_ = 0;
    int heldOut_ = -1;
    std::string received_;
    std::string unread_;
};

}  // namespace parcelo::test
