#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vector>

#include "PduFilter.h"

namespace OrynRti::Tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Those of the values 0 to 7 that pass, as the byte at index 1.
std::vector<int> passing(DtPduFilterTest& test) {
    std::vector<int> values;
    for (unsigned char value = 0; value < 8; ++value) {
        unsigned char bytes[] = {99, value};
        if (test.evalTest(bytes, 1, DtPduFilterByte))
            values.push_back(value);
    }
    return values;
}

void set(DtPduFilterTest& test, DtPduTestOperator op, std::vector<unsigned int> values) {
    const int count = static_cast<int>(values.size());
    EXPECT_EQ(test.setTest(op, count, values.data()), count);
}

TEST(PduFilterTest, PassesEverythingAtFirstAndWhenDisabled) {
    DtPduFilterTest test;
    EXPECT_THAT(passing(test), ElementsAre(0, 1, 2, 3, 4, 5, 6, 7));
    set(test, DtPduAcceptListed, {3});
    test.disableTest();
    EXPECT_THAT(passing(test), ElementsAre(0, 1, 2, 3, 4, 5, 6, 7));
}

TEST(PduFilterTest, AcceptsOrRejectsWhatIsListed) {
    DtPduFilterTest test;
    set(test, DtPduAcceptListed, {0, 5, 300});
    EXPECT_THAT(passing(test), ElementsAre(0, 5));
    set(test, DtPduRejectListed, {0, 3, 259});
    EXPECT_THAT(passing(test), ElementsAre(1, 2, 4, 5, 6, 7));
    unsigned char high[] = {200};
    set(test, DtPduAcceptListed, {200});
    EXPECT_TRUE(test.evalTest(high, 0, DtPduFilterByte));
}

TEST(PduFilterTest, ValuesComeAndGoOneByOne) {
    DtPduFilterTest test;
    set(test, DtPduAcceptListed, {3, 4, 3});
    unsigned int more[] = {6, 0};
    EXPECT_EQ(test.extendTest(2, more), 2);
    unsigned int gone[] = {3, 7, 4, 0};
    EXPECT_EQ(test.reduceTest(4, gone), 4);
    EXPECT_THAT(passing(test), ElementsAre(3, 6));
    EXPECT_EQ(test.extendTest(3, nullptr), 3);
    EXPECT_EQ(test.reduceTest(-1, gone), -1);
    EXPECT_THAT(passing(test), ElementsAre(3, 6));
    test.setOperator(DtPduAcceptListed);
    EXPECT_THAT(passing(test), IsEmpty());
}

TEST(PduFilterTest, CopiesAreIndependentAndOtherDataIsNeverLookedAt) {
    DtPduFilterTest test;
    set(test, DtPduAcceptListed, {2});
    DtPduFilterTest copy(test);
    DtPduFilterTest assigned;
    assigned = test;
    set(test, DtPduRejectListed, {3});
    EXPECT_THAT(passing(copy), ElementsAre(2));
    copy.clearList();
    EXPECT_THAT(passing(assigned), ElementsAre(2));
    EXPECT_TRUE(test.evalTest(nullptr, 0, DtPduFilterOther));
    EXPECT_FALSE(assigned.evalTest(nullptr, 0, DtPduFilterOther));
}

}  // namespace
}  // namespace OrynRti::Tests
