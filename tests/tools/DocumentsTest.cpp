#include <CLI/CLI.hpp>
#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

#include "common/Console.h"
#include "common/ManPage.h"
#include "common/TextLayout.h"
#include "support/Program.h"

namespace RtiqnTools {
namespace {

using OrynRti::Tests::Outcome;
using OrynRti::Tests::runToEnd;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

const std::vector<std::string> thePrograms = {RTIQN_FOM_PROGRAM, RTIQN_DIS_PROGRAM,
                                              RTIQN_PACKETSERVER_PROGRAM};

std::string nameOf(const std::string& program) {
    return program.substr(program.rfind('/') + 1);
}

/// What bash would offer for the last of the words.
std::string completions(const std::string& program, const std::string& words) {
    std::string function = "_" + nameOf(program);
    for (char& c : function)
        c = c == '-' ? '_' : c;
    const Outcome result = runToEnd({"/bin/bash", "-c",
                                     "source <(" + program + " --bash-completion); COMP_WORDS=(" +
                                         words + "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); " +
                                         function + "; echo \"${COMPREPLY[*]}\""});
    EXPECT_THAT(result.err, IsEmpty());
    return result.out.substr(0, result.out.find('\n'));
}

std::vector<std::string> commandsOf(const std::string& program) {
    std::vector<std::string> commands;
    std::istringstream words(completions(program, nameOf(program) + " ''"));
    for (std::string word; words >> word;)
        commands.push_back(word);
    return commands;
}

// -------------------------------------------------------------------------------------------------

TEST(Documents, HelpFitsEightyColumnsAndHasExamples) {
    for (const std::string& program : thePrograms) {
        std::vector<std::vector<std::string>> calls = {{program, "--help"}};
        for (const std::string& command : commandsOf(program))
            calls.push_back({program, command, "--help"});
        EXPECT_GT(calls.size(), 3u);
        for (const auto& words : calls) {
            const Outcome help = runToEnd(words);
            SCOPED_TRACE(nameOf(program) + ' ' + words[1]);
            EXPECT_EQ(help.status, 0);
            EXPECT_THAT(help.out, AllOf(HasSubstr("\nExamples:\n  "), Not(HasSubstr("--man"))));
            std::istringstream lines(help.out);
            for (std::string line; std::getline(lines, line);)
                EXPECT_THAT(line, SizeIs(testing::Le(80u)));
        }
    }
}

TEST(Documents, ManPagesHaveWhatTheHelpHas) {
    for (const std::string& program : thePrograms) {
        const Outcome page = runToEnd({program, "--man"});
        EXPECT_EQ(page.status, 0);
        EXPECT_THAT(page.out, AllOf(HasSubstr("\"rtiqnutil 22.0.0\""), HasSubstr(".SH EXIT STATUS"),
                                    HasSubstr(".SH EXAMPLES"), HasSubstr("NO_COLOR")));
        for (const std::string& command : commandsOf(program))
            EXPECT_THAT(page.out, HasSubstr("\\-" + nameOf(program).substr(6) + ' ' + command));
    }
}

TEST(Documents, RoffPrintsEveryTextAsItIs) {
    CLI::App program("'Tis .5 of C:\\dir", "tool");
    program.add_option("--of", "'quoted' `a` ~b ^c")->option_text("\"x\"");
    program.footer("Notes:\n.hidden is no request\n\nExit status:\n  0  all\n     well");
    EXPECT_THAT(
        manPage(program, "1.0"),
        AllOf(HasSubstr("\n\\(aqTis .5 of C:\\edir\n"), HasSubstr("\\fB\\-\\-of\\fR \\fI\\(dqx"),
              HasSubstr("\n\\(aqquoted\\(aq \\(gaa\\(ga \\(tib \\(hac\n"),
              HasSubstr(".SH NOTES\n\\&.hidden"), HasSubstr(".TP\n\\fB0\\fR\nall well\n")));
}

TEST(Documents, TextIsWrappedBehindItsIndent) {
    const std::string word(30, 'w');
    EXPECT_EQ(wrapped(word + ' ' + word + ' ' + word, 19, 4), word + ' ' + word + "\n    " + word);
    EXPECT_EQ(wrapped(std::string(99, 'w') + " x", 4, 4), std::string(99, 'w') + "\n    x");
    EXPECT_EQ(firstSentence("Reads IEEE 1278.1 traffic\nof a net. And more."),
              "Reads IEEE 1278.1 traffic of a net");
}

TEST(Documents, BashCompletesCommandsOptionsAndFixedValues) {
    EXPECT_EQ(completions(RTIQN_FOM_PROGRAM, "rtiqn-fom me"), "merge");
    EXPECT_EQ(completions(RTIQN_FOM_PROGRAM, "rtiqn-fom --v"), "--version");
    EXPECT_EQ(completions(RTIQN_FOM_PROGRAM, "rtiqn-fom merge --di"), "--diff");
    EXPECT_EQ(completions(RTIQN_FOM_PROGRAM, "rtiqn-fom merge --format ''"), "text json");
    EXPECT_EQ(completions(RTIQN_FOM_PROGRAM, "rtiqn-fom graph --format = s"), "svg");
    EXPECT_EQ(completions(RTIQN_FOM_PROGRAM, "rtiqn-fom merge Ba"), "") << "left to file names";
    EXPECT_EQ(completions(RTIQN_PACKETSERVER_PROGRAM, "rtiqn-packetserver mode --key 1 in"),
              "internal");
}

TEST(Console, ColoursAreForTerminalsWhenNobodyMinds) {
    int terminal = -1;
    int other = -1;
    ASSERT_EQ(::openpty(&other, &terminal, nullptr, nullptr, nullptr), 0);
    ::setenv("TERM", "xterm", 1);
    ::unsetenv("NO_COLOR");
    EXPECT_EQ(styled("red", Style::red, terminal), "\033[31mred\033[0m");
    ::setenv("NO_COLOR", "1", 1);
    EXPECT_EQ(styled("red", Style::red, terminal), "red");
    EXPECT_TRUE(isTerminal(terminal)) << "progress is still shown";
    ::unsetenv("NO_COLOR");
    ::setenv("TERM", "dumb", 1);
    EXPECT_EQ(styled("red", Style::red, terminal), "red");
    ::close(terminal);
    ::close(other);
    ::setenv("TERM", "xterm", 1);
    EXPECT_EQ(styled("red", Style::red, terminal), "red") << "no terminal";
}

}  // namespace
}  // namespace RtiqnTools
