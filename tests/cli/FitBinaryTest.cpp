// parcelo-fit as a user runs it: its own process, real images, real signals.
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <memory>
#include <optional>
#include <set>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "FitCommand.h"
#include "FitError.h"
#include "TestSupport.h"

extern char** environ;

namespace parcelo::cli {
namespace {

using namespace parcelo::test;
namespace fs = std::filesystem;

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
    [[nodiscard]] std::string out() const { return heldOut_ >= 0 ? received_ : contents(outPath_); }
    [[nodiscard]] std::string err() const { return contents(errPath_); }

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

// The corpus folders whose every file is a supported image.
const std::vector<std::string> kImageFolders{"photos", "orientation", "alpha", "color", "formats"};
// The corpus folders whose every file must be refused.
const std::vector<std::string> kRefusedFolders{"reject", "corrupt"};

std::vector<std::string> filesOf(const std::vector<std::string>& folders) {
    std::vector<std::string> files;
    for (const std::string& folder : folders)
        for (const fs::path& file : filesIn(corpusDir() / folder)) files.push_back(file.lexically_normal().string());
    return files;
}

// Two runs fit the whole corpus into one folder at the same moment: each saves every supported
// image once and reports every refused file with its message, with not one line from a decoder,
// and no copy of one run is written over by the other.
TEST(FitBinary, TwoRunsOfTheWholeCorpusIntoOneFolderAtOnce) {
    REQUIRE_CORPUS();
    ScratchFolder scratch;
    const fs::path out = scratch / "out";
    const std::vector<std::string> images = filesOf(kImageFolders);
    const std::vector<std::string> refused = filesOf(kRefusedFolders);
    std::vector<std::string> arguments{"--json", "--out", out.string()};
    for (const std::string& folder : kImageFolders) arguments.push_back((corpusDir() / folder).string());
    arguments.insert(arguments.end(), refused.begin(), refused.end());
    std::set<std::string> messages;
    for (FitError::Case errorCase : FitError::allCases) messages.insert(std::string(FitError(errorCase).errorDescription()));
    std::vector<std::unique_ptr<FitProcess>> runs;
    for (const char* name : {"first", "second"}) {
        fs::create_directory(scratch / name);
        runs.push_back(std::make_unique<FitProcess>(arguments, scratch / name));
    }

    std::vector<std::map<std::string, fs::path>> copies(runs.size());
    for (std::size_t run = 0; run < runs.size(); ++run) {
        SCOPED_TRACE("run " + std::to_string(run));
        FitProcess& process = *runs[run];
        EXPECT_EQ(process.wait(), kExitSomeFailed);
        std::set<std::string> failed;
        for (const std::string& line : linesOf(process.out())) {
            const nlohmann::json image = nlohmann::json::parse(line);
            const std::string source = fs::path(image.at("source").get<std::string>()).lexically_normal().string();
            if (image.at("error").is_null()) {
                EXPECT_TRUE(copies[run].emplace(source, image.at("output").get<std::string>()).second) << line;
            } else {
                failed.insert(source);
                EXPECT_EQ(messages.count(image.at("error").at("message").get<std::string>()), 1u) << line;
            }
        }
        EXPECT_EQ(failed, std::set<std::string>(refused.begin(), refused.end()));
        EXPECT_EQ(copies[run].size(), images.size());
        EXPECT_EQ(linesOf(process.err()).size(), 1u) << process.err();  // the summary, and no library's chatter
        EXPECT_EQ(process.err().rfind("Saved " + std::to_string(images.size()) + " of " +
                                          std::to_string(images.size() + refused.size()) + " copies \u00b7 " +
                                          std::to_string(refused.size()) + " failed \u00b7 ", 0), 0u) << process.err();
    }
    EXPECT_EQ(filesIn(out).size(), 2 * images.size());
    for (const auto& [source, copy] : copies[0]) {
        ASSERT_EQ(copies[1].count(source), 1u) << source;
        EXPECT_NE(copies[1].at(source), copy);
        EXPECT_EQ(contents(copies[1].at(source)), contents(copy)) << source;
    }
}

// The disk fills up midway through each copy: nothing is left under a copy's name, each image
// says why, and a second run saves them whole.
TEST(FitBinary, ACopyCutShortByAFullDiskLeavesNothing) {
    ScratchFolder scratch;
    const fs::path out = scratch / "out";
    fs::create_directory(out);
    std::vector<std::string> arguments{"--out", out.string()};
    for (const char* name : {"a.jpg", "b.jpg"}) arguments.push_back(save(photoLike(400, 300), scratch / name).string());
    std::optional<FitProcess> full;
    {
        const FileSizeLimit diskFull(4'000);  // inherited by the process started now
        full.emplace(arguments, scratch.path());
    }
    EXPECT_EQ(full->wait(), kExitSomeFailed);
    EXPECT_EQ(linesOf(full->out()), (std::vector<std::string>{"a.jpg: Couldn\u2019t save the copy: File too large",
                                                              "b.jpg: Couldn\u2019t save the copy: File too large",
                                                              "Saved 0 of 2 copies \u00b7 2 failed"}));
    EXPECT_TRUE(filesIn(out).empty());

    FitProcess room(arguments, scratch.path());
    EXPECT_EQ(room.wait(), kExitAllSaved) << room.out();
    EXPECT_EQ(filesIn(out), (std::vector<fs::path>{out / "a-parcelo.jpg", out / "b-parcelo.jpg"}));
}

// Ctrl+C arrives while the run is held after its first copy: every line of --json output fills
// more than half of the one-page pipe the test reads, so parcelo-fit is at most a line ahead of
// the test, and the signal reaches it with most images still to come. It ends after the copy in
// hand, never in the middle of one.
TEST(FitBinary, CtrlCStopsCleanlyAndKeepsWhatWasSaved) {
    REQUIRE_CORPUS();
    ScratchFolder scratch;
    fs::path out = scratch.path();
    while (out.string().size() < 2'600) out /= std::string(200, 'o');  // a long path makes long lines
    std::vector<std::string> arguments{"--json", "--jobs", "1", "--out", out.string()};
    for (const std::string& folder : kImageFolders) arguments.push_back((corpusDir() / folder).string());
    FitProcess process(arguments, scratch.path(), FitProcess::Output::held);
    const std::optional<std::string> first = process.readLine();
    ASSERT_TRUE(first) << process.err();
    ASSERT_GT(first->size(), FitProcess::kPage / 2u) << "a line must fill most of the pipe to hold the run";
    process.signal(SIGINT);
    const int status = process.wait();

    EXPECT_EQ(status, kExitStopped) << process.err();
    const std::vector<std::string> lines = linesOf(process.out());
    const std::vector<fs::path> saved = filesIn(out);
    EXPECT_EQ(lines.size(), saved.size());
    EXPECT_LT(saved.size(), filesOf(kImageFolders).size());
    EXPECT_EQ(process.err().rfind("Stopped. Saved " + std::to_string(saved.size()) + " of " +
                                      std::to_string(filesOf(kImageFolders).size()) + " copies before the stop",
                                  0),
              0u)
        << process.err();
    // Every file in the output folder is a copy that reads back whole: none was cut short by the stop.
    parcelo::detail::ensureVipsStarted();
        for (const std::string& line : lines) {
        const fs::path file = nlohmann::json::parse(line).at("output").get<std::string>();
        EXPECT_TRUE(std::binary_search(saved.begin(), saved.end(), file)) << file;
        const auto image = vips::VImage::new_from_file(file.c_str(), vips::VImage::option()->set("fail", true));
        EXPECT_NO_THROW(image.avg()) << file;
    }
}

}  // namespace
}  // namespace parcelo::cli
