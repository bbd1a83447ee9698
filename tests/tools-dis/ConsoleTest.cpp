#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Print.h"
#include "common/Console.h"
#include "common/LibraryMessages.h"
#include "common/TextTable.h"

namespace RtiqnTools {
namespace {

using testing::ElementsAre;

/// What printError() is given while it lives.
class DivertedErrors {
public:
    DivertedErrors() {
        divertErrors([this](const std::string& line) { lines.push_back(line); });
    }
    ~DivertedErrors() { divertErrors(nullptr); }
    DivertedErrors(const DivertedErrors&) = delete;
    DivertedErrors& operator=(const DivertedErrors&) = delete;

    std::vector<std::string> lines;
};

TEST(LibraryMessages, TellsWholeLinesAndHowOftenEachHasCome) {
    const DivertedErrors errors;
    {
        const LibraryMessages messages;
        OrynRti::DtWarn << "no answer for " << 2.5 << " s" << std::endl;
        for (int i = 0; i < 6; ++i)
            OrynRti::DtWarn << "bad\nworse" << (i == 3 ? "!" : "") << std::endl;
        EXPECT_THAT(errors.lines,
                    ElementsAre("no answer for 2.5 s", "bad", "worse", "bad (2 times)",
                                "worse (2 times)", "bad (4 times)", "worse!", "worse (4 times)"));
        OrynRti::DtWarn << "not yet at its end";
    }
    EXPECT_THAT(std::vector<std::string>(errors.lines.begin() + 8, errors.lines.end()),
                ElementsAre("not yet at its end", "bad (6 times)", "worse (5 times)"));
}

TEST(TextTable, ClipsTheWidestColumnsThatAllowIt) {
    using Column = TextTable::Column;
    TextTable table({{"kind", Column::Right}, {"name", Column::Left, 4}, {"by", Column::Left, 3}});
    table.add({"1", "Entity State", "127.0.0.1"});
    table.add({"22", "Fire", ""});
    EXPECT_THAT(table.lines(100), ElementsAre("kind  name          by",         //
                                              "   1  Entity State  127.0.0.1",  //
                                              "  22  Fire"));
    EXPECT_THAT(table.lines(22), ElementsAre("kind  name     by",       //
                                             "   1  Entity~  127.0.~",  //
                                             "  22  Fire"));
    EXPECT_EQ(table.lines(0)[1], "   1  Ent~  12~");
}

}  // namespace
}  // namespace RtiqnTools
