#include "LiveView.h"

#include <csignal>
#include <cstdio>
#include <unistd.h>

#include "Errors.h"

namespace RtiqnDis {

namespace {

// Control sequences of xterm and all who follow it.
constexpr const char* theOwnScreen = "\033[?1049h\033[?25l";  // and no cursor
constexpr const char* theScreenBefore = "\033[?25h\033[?1049l";
constexpr const char* theHome = "\033[H";
constexpr const char* theClearRest = "\033[K";
constexpr const char* theClearBelow = "\033[J";

volatile std::sig_atomic_t theResize = 0;

extern "C" void noteResize(int) {
    theResize = 1;
}

void handleResize(void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    ::sigaction(SIGWINCH, &action, nullptr);
}

std::string shown(const LiveLine& line) {
    if (line.style == LiveLine::Plain)
        return line.text;
    return styled(line.text, line.style == LiveLine::Alarm ? Style::red : Style::bold,
                  STDOUT_FILENO);
}

}  // namespace

void LiveView::requireTerminal() {
    if (!isTerminal(STDOUT_FILENO))
        throw UsageError(
            "--live needs a terminal, and standard output is none: leave --live out, or take "
            "--quiet for the table at the end alone");
}

LiveView::LiveView() {
    constexpr std::size_t theMostMessages = 100;
    handleResize(noteResize);
    divertErrors([this](const std::string& line) {
        messages_.push_back(line);
        if (messages_.size() > theMostMessages) {
            messages_.pop_front();
            ++forgotten_;
        }
    });
    std::fputs(theOwnScreen, stdout);
}

LiveView::~LiveView() {
    handleResize(SIG_DFL);
    std::fputs(theScreenBefore, stdout);
    std::fflush(stdout);
    divertErrors(nullptr);
    if (forgotten_ > 0)
        printError(counted(forgotten_, "earlier message") + " left out");
    for (const std::string& message : messages_)
        printError(message);
}

void LiveView::draw(const std::string& title, const TrafficStatistics& statistics,
                    std::vector<std::pair<Loss, std::uint64_t>> losses) {
    constexpr std::size_t most = 2;
    const auto from = static_cast<std::ptrdiff_t>(std::min(messages_.size(), most));
    const LiveState state{
        title, statistics, std::move(losses), {messages_.end() - from, messages_.end()}};
    std::string text = theHome;
    const char* before = "";
    for (const LiveLine& line : table_.lines(state, terminalSize())) {
        text += before + shown(line) + theClearRest;
        before = "\r\n";
    }
    writeWholeOutput(text + theClearBelow);
}

bool LiveView::wasResized() {
    const bool was = theResize != 0;
    theResize = 0;
    return was;
}

}  // namespace RtiqnDis
