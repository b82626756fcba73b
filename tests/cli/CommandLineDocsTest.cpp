// SPDX-License-Identifier: Apache-2.0
// The manual page and the shell completions against what quillbox itself says it accepts:
// an option added to the command line without its documentation fails here.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <string>

#include "support/TestFolder.h"

namespace qb {
namespace {

namespace fs = std::filesystem;

struct Output {
    int status;
    std::string text;
};

// Runs a shell command line, standard output and standard error together.
Output capture(const std::string& command) {
    Output out{-1, {}};
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    if (!pipe) return out;
    char buffer[4096];
    size_t n;
    while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0)
        out.text.append(buffer, n);
    const int raw = pclose(pipe);
    out.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    return out;
}

std::string quillbox(const std::string& args) {
    Output out = capture(std::string(QB_QUILLBOX_PATH) + " " + args);
    EXPECT_EQ(out.status, 0) << args << ": " << out.text;
    return out.text;
}

// The options a help text lists: "-o,--output TEXT  output file" gives -o and --output.
std::set<std::string> optionsIn(const std::string& help) {
    std::set<std::string> options;
    static const std::regex line(R"(^\s+(-[^ ]+(?: [A-Z]+)?)\s)");
    static const std::regex name(R"(--?[A-Za-z][A-Za-z0-9-]*)");
    std::smatch m;
    for (size_t at = 0; at < help.size();) {
        size_t end = help.find('\n', at);
        if (end == std::string::npos) end = help.size();
        const std::string text = help.substr(at, end - at);
        if (std::regex_search(text, m, line)) {
            const std::string names = m[1].str();
            for (auto it = std::sregex_iterator(names.begin(), names.end(), name);
                 it != std::sregex_iterator(); ++it)
                options.insert(it->str());
        }
        at = end + 1;
    }
    return options;
}

// The subcommands the top-level help lists under "Subcommands:".
std::set<std::string> subcommandsIn(const std::string& help) {
    std::set<std::string> names;
    const size_t start = help.find("Subcommands:");
    if (start == std::string::npos) return names;
    static const std::regex line(R"(^  ([a-z]+)\s)");
    std::smatch m;
    for (size_t at = help.find('\n', start) + 1; at != 0 && at < help.size();) {
        size_t end = help.find('\n', at);
        if (end == std::string::npos) end = help.size();
        const std::string text = help.substr(at, end - at);
        if (std::regex_search(text, m, line)) names.insert(m[1].str());
        at = end + 1;
    }
    return names;
}

// The page as text a reader sees: roff's "\-" is a hyphen.
std::string manPageText() {
    std::string page = test::slurp(fs::path(QB_SOURCE_DIR) / "docs" / "quillbox.1");
    std::string text;
    for (size_t i = 0; i < page.size(); ++i) {
        if (page[i] == '\\' && i + 1 < page.size() && page[i + 1] == '-') {
            text += '-';
            ++i;
        } else {
            text += page[i];
        }
    }
    return text;
}

// Whether `option` appears in `text` as a word of its own ("--output", not "--output-dir").
bool mentions(const std::string& text, const std::string& option) {
    const std::regex word("(^|[^A-Za-z0-9-])" + option + "($|[^A-Za-z0-9-])");
    return std::regex_search(text, word);
}

class CommandLineDocs : public testing::Test {
  protected:
    void SetUp() override {
        const std::string top = quillbox("--help");
        commands_ = subcommandsIn(top);
        options_[""] = optionsIn(top);
        for (const auto& command : commands_)
            options_[command] = optionsIn(quillbox(command + " --help"));
    }
    std::set<std::string> commands_;
    std::map<std::string, std::set<std::string>> options_;
};

TEST_F(CommandLineDocs, HelpListsTheCommandsAndTheirOptions) {
    // The parsing itself: a help text this test cannot read would pass everything below.
    EXPECT_THAT(commands_, testing::IsSupersetOf({"dump", "info", "extract", "eml", "rtf"}));
    EXPECT_THAT(options_[""], testing::IsSupersetOf({"--help", "-h", "--version", "--max-size"}));
    EXPECT_THAT(options_["extract"],
                testing::IsSupersetOf({"-o", "--output", "--original-bodies"}));
    EXPECT_THAT(options_["rtf"], testing::IsSupersetOf({"--html", "--text"}));
}

TEST_F(CommandLineDocs, ManualPageNamesEveryCommandAndOption) {
    const std::string page = manPageText();
    for (const auto& command : commands_)
        EXPECT_TRUE(mentions(page, "\\.BI? \"?" + command)) << "command " << command;
    for (const auto& [command, options] : options_)
        for (const auto& option : options)
            EXPECT_TRUE(mentions(page, option)) << (command.empty() ? "quillbox" : command) << " "
                                                << option << " is not in docs/quillbox.1";
}

TEST_F(CommandLineDocs, ManualPageRendersWithoutWarnings) {
    if (capture("command -v groff").status != 0) GTEST_SKIP() << "groff is not installed";
    const fs::path page = fs::path(QB_SOURCE_DIR) / "docs" / "quillbox.1";
    const Output out = capture("groff -ww -man -z " + page.string());
    EXPECT_EQ(out.status, 0);
    EXPECT_EQ(out.text, "");
}

TEST_F(CommandLineDocs, CompletionsOfferEveryCommandAndOption) {
    const fs::path folder = fs::path(QB_SOURCE_DIR) / "packaging" / "completions";
    for (const char* file : {"quillbox.bash", "_quillbox"}) {
        const std::string script = test::slurp(folder / file);
        ASSERT_FALSE(script.empty()) << file;
        for (const auto& command : commands_)
            EXPECT_TRUE(mentions(script, command)) << file << ": command " << command;
        for (const auto& [command, options] : options_)
            for (const auto& option : options)
                EXPECT_TRUE(mentions(script, option)) << file << ": " << command << " " << option;
    }
    const Output syntax = capture("bash -n " + (folder / "quillbox.bash").string());
    EXPECT_EQ(syntax.status, 0) << syntax.text;
}

// What bash offers after `quillbox WORDS...` (the last word being completed).
std::set<std::string> bashCompletions(const std::string& words) {
    const fs::path script = fs::path(QB_SOURCE_DIR) / "packaging" / "completions" / "quillbox.bash";
    const Output out =
        capture("bash -c 'source " + script.string() + "; COMP_WORDS=(quillbox " + words +
                "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _quillbox; "
                "printf \"%s\\n\" \"${COMPREPLY[@]}\"'");
    EXPECT_EQ(out.status, 0) << out.text;
    std::set<std::string> offered;
    for (size_t at = 0; at < out.text.size();) {
        size_t end = out.text.find('\n', at);
        if (end == std::string::npos) end = out.text.size();
        if (end > at) offered.insert(out.text.substr(at, end - at));
        at = end + 1;
    }
    return offered;
}

TEST_F(CommandLineDocs, BashOffersEachCommandItsOwnOptions) {
    EXPECT_THAT(bashCompletions("\"\""), testing::IsSupersetOf(commands_));
    EXPECT_EQ(bashCompletions("ex"), std::set<std::string>{"extract"});
    for (const auto& [command, options] : options_) {
        if (command.empty()) continue;
        // A global option before the command does not hide it.
        EXPECT_THAT(bashCompletions("--max-size 2G " + command + " -"),
                    testing::IsSupersetOf(options))
            << command;
    }
    EXPECT_EQ(bashCompletions("vcf --version \"\""), (std::set<std::string>{"2.1", "4.0"}));
    // Options of one command are not offered for another.
    EXPECT_THAT(bashCompletions("dump -"), testing::Not(testing::Contains("--json")));
}

TEST_F(CommandLineDocs, VersionNamesTheLibrariesInUse) {
    const std::string text = quillbox("--version");
    EXPECT_THAT(text, testing::MatchesRegex("quillbox [0-9]+\\.[0-9]+\\.[0-9]+\n"
                                            "ICU [0-9.]+, libxml2 [0-9]+\\.[0-9]+\\.[0-9]+, "
                                            "libzip [0-9.]+\n"));
}

}  // namespace
}  // namespace qb
