#pragma once

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <vips/vips8>

extern char** environ;

namespace parcelo::test {

namespace fs = std::filesystem;

// A fresh folder, removed with everything in it when the test ends.
class TempFolder {
public:
    TempFolder() {
        std::string pattern = (fs::temp_directory_path() / "parcelo-cli-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("cannot make a temporary folder");
        path_ = pattern;
    }
    ~TempFolder() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    [[nodiscard]] const fs::path& path() const { return path_; }
    fs::path operator/(const std::string& name) const { return path_ / name; }

private:
    fs::path path_;
};

inline std::string readText(const fs::path& location) {
    std::ifstream in(location, std::ios::binary);
    if (!in) throw std::runtime_error("cannot read " + location.string());
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

inline std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
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

inline void writeFile(const fs::path& location, const std::string& content) {
    std::ofstream out(location, std::ios::binary);
    if (!out) throw std::runtime_error("cannot write " + location.string());
    out << content;
}

// The files of a folder by name, for comparing two runs.
inline std::vector<fs::path> filesIn(const fs::path& folder) {
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

// parcelo-fit run as its own process, its output caught in files.
class FitProcess {
public:
    explicit FitProcess(const std::vector<std::string>& arguments, const fs::path& scratch)
        : outPath_(scratch / "stdout.txt"), errPath_(scratch / "stderr.txt") {
        std::vector<std::string> all{PARCELO_FIT_BINARY};
        all.insert(all.end(), arguments.begin(), arguments.end());
        std::vector<char*> argv;
        for (std::string& argument : all) argv.push_back(argument.data());
        argv.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outPath_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errPath_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const int failed = ::posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        if (failed != 0) throw std::runtime_error(std::string("cannot start ") + PARCELO_FIT_BINARY);
    }

    // Waits for the program to end and returns its exit status (128 + signal when killed).
    int wait() {
        int status = 0;
        if (::waitpid(pid_, &status, 0) != pid_) throw std::runtime_error("cannot wait for parcelo-fit");
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    void signal(int number) const { ::kill(pid_, number); }

    // Waits until standard output holds a line for which `ready` is true.
    bool waitForOutput(const std::function<bool(const std::string&)>& ready, std::chrono::seconds patience) const {
        const auto deadline = std::chrono::steady_clock::now() + patience;
        while (std::chrono::steady_clock::now() < deadline) {
            for (const std::string& line : linesOf(readText(outPath_)))
                if (ready(line)) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return false;
    }

    [[nodiscard]] std::string out() const { return readText(outPath_); }
    [[nodiscard]] std::string err() const { return readText(errPath_); }

private:
    fs::path outPath_;
    fs::path errPath_;
    pid_t pid_ = 0;
};

}  // namespace parcelo::test
