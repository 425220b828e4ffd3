// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// parcelo-fit as a user runs it: its own process, real images, real signals, the app's recipes.
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>

#include <cstdio>
#include <optional>

#include <QByteArray>
#include <QScopeGuard>
#include <QSettings>
#include <QString>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "FitCommand.h"
#include "UploadRecipe.h"
#include "TestSupport.h"

namespace parcelo::cli {
namespace {

using namespace parcelo::test;
namespace fs = std::filesystem;

// parcelo-fit started by a shell that tells its process id and then becomes the program. Its
// error output goes to a file; its standard output comes through a pipe of one page, read a
// byte at a time: once the page is full the program waits, so it is never more than a page
// ahead of the test.
class FitProcess {
public:
    static constexpr int kPage = 4096;

    FitProcess(const std::vector<std::string>& arguments, fs::path errFile) : errFile_(std::move(errFile)) {
        std::string command = "echo $$; exec '" PARCELO_FIT_BINARY "'";
        for (const std::string& argument : arguments) command += " '" + argument + "'";
        command += " 2>'" + errFile_.string() + "'";
        pipe_ = ::popen(command.c_str(), "r");
        if (pipe_ == nullptr || ::fcntl(::fileno(pipe_), F_SETPIPE_SZ, kPage) != kPage)
            throw std::runtime_error("cannot start parcelo-fit");
        std::setvbuf(pipe_, nullptr, _IONBF, 0);
        pid_ = std::stoi(readLine().value_or("0"));
        received_.clear();
    }
    ~FitProcess() {
        if (pipe_ != nullptr) ::pclose(pipe_);
    }
    FitProcess(const FitProcess&) = delete;
    FitProcess& operator=(const FitProcess&) = delete;

    // The program's next line, without its line break; nothing once its output has ended.
    std::optional<std::string> readLine() {
        std::string line;
        int c = 0;
        while ((c = std::fgetc(pipe_)) != EOF && c != '\n') line += static_cast<char>(c);
        if (c == EOF && line.empty()) return std::nullopt;
        received_ += line + '\n';
        return line;
    }

    // Reads the output to its end, then returns the exit status (128 + signal when killed).
    int wait() {
        while (readLine()) {}
        const int status = ::pclose(pipe_);
        pipe_ = nullptr;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    void signal(int number) const { ::kill(pid_, number); }
    [[nodiscard]] const std::string& out() const { return received_; }
    [[nodiscard]] std::string err() const { return contents(errFile_); }

private:
    fs::path errFile_;
    std::FILE* pipe_ = nullptr;
    pid_t pid_ = 0;
    std::string received_;
};

// Ctrl+C arrives after the first copy: every line of --json output fills more than half of the
// pipe, so parcelo-fit is at most a line ahead of the test, and the signal reaches it with most
// images still to come. It ends after the copy in hand, never in the middle of one.
TEST(FitBinary, CtrlCStopsCleanlyAndKeepsWhatWasSaved) {
    ScratchFolder scratch;
    constexpr std::size_t kPhotos = 12;
    const fs::path photos = scratch / "photos";
    fs::create_directory(photos);
    for (std::size_t i = 0; i < kPhotos; ++i) save(photoLike(600, 400), photos / ("photo" + std::to_string(i) + ".png"));
    fs::path out = scratch.path();
    while (out.string().size() < 2'600) out /= std::string(200, 'o');  // a long path makes long lines
    FitProcess process({"--json", "--jobs", "1", "--out", out.string(), photos.string()}, scratch / "err.txt");
    const std::optional<std::string> first = process.readLine();
    ASSERT_TRUE(first) << process.err();
    ASSERT_GT(first->size(), FitProcess::kPage / 2u) << "a line must fill most of the pipe to hold the run";
    process.signal(SIGINT);
    EXPECT_EQ(process.wait(), kExitStopped) << process.err();

    const std::vector<std::string> lines = linesOf(process.out());
    const std::vector<fs::path> saved = filesIn(out);
    EXPECT_EQ(lines.size(), saved.size());
    EXPECT_LT(saved.size(), kPhotos);
    EXPECT_EQ(process.err().rfind("Stopped. Saved " + std::to_string(saved.size()) + " of " +
                                      std::to_string(kPhotos) + " copies before the stop", 0), 0u) << process.err();
    // Every file in the output folder is a copy that reads back whole: none was cut short by the stop.
    for (const std::string& line : lines) {
        const fs::path file = nlohmann::json::parse(line).at("output").get<std::string>();
        EXPECT_TRUE(std::binary_search(saved.begin(), saved.end(), file)) << file;
        EXPECT_NO_THROW(vips::VImage::new_from_file(file.c_str(), vips::VImage::option()->set("fail", true)).avg()) << file;
    }
}

// The app's preferences are where QSettings keeps those of "Parcelo"; the library in them is
// only read, and its recipes are used by name.
TEST(FitBinary, UsesTheRecipesSavedInTheApp) {
    ScratchFolder scratch;
    const fs::path stored = scratch / "config/Parcelo/Parcelo.conf";
    {
        QSettings preferences(QString::fromStdString(stored.string()), QSettings::IniFormat);
        preferences.setValue(kStoredRecipesKey, QByteArray(R"([{"id": "6B29FC40-CA47-1067-B31D-00DD010662DA",
            "name": "Shop photo", "settings": {"targetBytes": 30000, "maxEdge": 0, "outputFormat": "jpeg",
            "exactWidth": 320, "exactHeight": 240, "minBytes": 12000, "dpi": 200}}])"));
    }
    const auto untouched = std::pair(filesIn(stored.parent_path()), fs::last_write_time(stored));
    ::setenv("XDG_CONFIG_HOME", (scratch / "config").c_str(), 1);  // for the process started below
    const auto restore = qScopeGuard([] { ::unsetenv("XDG_CONFIG_HOME"); });
    const fs::path photo = save(photoLike(400, 400), scratch / "photo.png");
    FitProcess fit({"--recipe", "SHOP PHOTO", "--out", (scratch / "out").string(), photo.string()}, scratch / "err.txt");
    EXPECT_EQ(fit.wait(), kExitAllSaved) << fit.err();
    const vips::VImage copy = vips::VImage::new_from_file((scratch / "out/photo-parcelo.jpg").c_str());
    EXPECT_EQ(std::pair(copy.width(), copy.height()), std::pair(320, 240));
    EXPECT_LE(fs::file_size(scratch / "out/photo-parcelo.jpg"), 30'000u);
    EXPECT_GE(fs::file_size(scratch / "out/photo-parcelo.jpg"), 12'000u);
    EXPECT_NEAR(copy.xres() * 25.4, 200, 0.01);
    EXPECT_EQ(std::pair(filesIn(stored.parent_path()), fs::last_write_time(stored)), untouched);
}

}  // namespace
}  // namespace parcelo::cli
