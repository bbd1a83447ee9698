#include "LibraryMessages.h"

#include "Console.h"

namespace RtiqnTools {

using namespace OrynRti;

LibraryMessages::LibraryMessages() {
    DtSetQuarnPrinter(this);
}

LibraryMessages::~LibraryMessages() {
    DtSetQuarnPrinter(&DtStandardErrorConsole);
    if (!pending_.empty())
        line(pending_);
    tellRest();
}

void LibraryMessages::write(const std::string& text, int, bool) {
    pending_ += text;
    for (std::size_t end; (end = pending_.find('\n')) != std::string::npos;) {
        if (end > 0)
            line(pending_.substr(0, end));
        pending_.erase(0, end + 1);
    }
}

void LibraryMessages::line(const std::string& text) {
    constexpr std::size_t theMostTexts = 256;
    if (told_.size() >= theMostTexts)
        tellRest();
    Told& told = told_[text];
    ++told.count;
    told.last = (told.count & (told.count - 1)) == 0;
    if (told.last)
        printError(told.count == 1 ? text : text + " (" + std::to_string(told.count) + " times)");
}

void LibraryMessages::tellRest() {
    for (const auto& [text, told] : told_)
        if (!told.last)
            printError(text + " (" + std::to_string(told.count) + " times)");
    told_.clear();
}

}  // namespace RtiqnTools
