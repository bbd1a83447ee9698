#ifndef RTIQN_TOOLS_LIBRARY_MESSAGES_H
#define RTIQN_TOOLS_LIBRARY_MESSAGES_H

#include <cstdint>
#include <map>
#include <string>

#include "Print.h"

namespace RtiqnTools {

/// While it lives, what the library says on its notification streams comes as lines of
/// printError(). A line that comes again and again is told the first, second, fourth time and so
/// on, with its number, and at the end how often it has come.
///
/// Threads:   one at a time
class LibraryMessages : public OrynRti::DtPrinter {
public:
    LibraryMessages();

    /// Tells what has not been told.
    ~LibraryMessages() override;
    LibraryMessages(const LibraryMessages&) = delete;
    LibraryMessages& operator=(const LibraryMessages&) = delete;

    void write(const std::string& text, int level, bool endOfLine) override;

private:
    struct Told {
        std::uint64_t count = 0;
        bool last = true;  ///< Whether the last one was told.
    };

    void line(const std::string& text);
    void tellRest();

    std::string pending_;  ///< A line that is not yet whole.
    std::map<std::string, Told> told_;
};

}  // namespace RtiqnTools

#endif
