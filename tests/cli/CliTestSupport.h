#pragma once

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
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

// parcelo-fit run as its own process, its output caught in files of the scratch folder.
class FitProcess {
public:
    FitProcess(std::vector<std::string> arguments, const fs::path& scratch)
        : outPath_(scratch / "stdout.txt"), errPath_(scratch / "stderr.txt") {
        arguments.insert(arguments.begin(), PARCELO_FIT_BINARY);
        std::vector<char*> argv;
        for (std::string& argument : arguments) argv.push_back(argument.data());
        argv.push_back(nullptr);
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, outPath_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        posix_spawn_file_actions_addopen(&files, STDERR_FILENO, errPath_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const int failed = ::posix_spawn(&pid_, argv[0], &files, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&files);
        if (failed != 0) throw std::runtime_error("cannot start parcelo-fit");
    }

    // Waits for the program to end and returns its exit status (128 + signal when killed).
    int wait() {
        int status = 0;
        if (::waitpid(pid_, &status, 0) != pid_) throw std::runtime_error("cannot wait for parcelo-fit");
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    void signal(int number) const { ::kill(pid_, number); }
    [[nodiscard]] std::string out() const { return readText(outPath_); }
    [[nodiscard]] std::string err() const { return readText(errPath_); }

private:
    fs::path outPath_;
    fs::path errPath_;
    pid_t pid_ = 0;
};

}  // namespace parcelo::test
