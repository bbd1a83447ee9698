#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Unbundler.h"
#include "tools-dis/Packets.h"

namespace RtiqnDis {
namespace {

using namespace Tests;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr unsigned int theCoupled = 0x08;

/// Offset and size of each PDU, and whether an Attribute PDU went with it.
using Parts = std::vector<std::tuple<std::size_t, std::size_t, bool>>;
using Losses = std::vector<Loss>;

void expectSplit(const std::string& datagram, const Parts& parts, const Losses& losses) {
    Bundle bundle;
    unbundle(view(datagram), bundle);
    Parts found;
    for (const BundledPdu& pdu : bundle.pdus)
        found.emplace_back(pdu.offset, pdu.size_bytes, pdu.coupled);
    EXPECT_EQ(found, parts);
    EXPECT_EQ(bundle.losses, losses);
}

TEST(Unbundler, PadsByTheVersionOfEachPdu) {
    expectSplit(pdu(28), {{0, 28, false}}, {});
    expectSplit(pdu(28, 7) + zeros(4) + pdu(28, 7), {{0, 28, false}, {32, 28, false}}, {});
    expectSplit(pdu(28, 6) + pdu(28, 6), {{0, 28, false}, {28, 28, false}}, {});
    expectSplit(pdu(28, 6) + pdu(30, 7) + zeros(2) + pdu(12, 6),
                {{0, 28, false}, {28, 30, false}, {60, 12, false}}, {});
    expectSplit(pdu(28) + zeros(4), {{0, 28, false}}, {});
}

TEST(Unbundler, KeepsAnAttributePduWithItsPdu) {
    const std::string attribute = pdu(20, 7, theAttributeKind);
    expectSplit(pdu(28, 7, 1, theCoupled) + zeros(4) + attribute + zeros(4) + pdu(16),
                {{0, 52, true}, {56, 16, false}}, {});
    expectSplit(pdu(28, 6, 1, theCoupled) + attribute, {{0, 48, true}}, {});
    expectSplit(attribute + zeros(4) + attribute, {{0, 20, false}, {24, 20, false}}, {});
}

TEST(Unbundler, DeliversAPduWhoseAttributePduIsMissingOrBroken) {
    const std::string announcing = pdu(32, 7, 1, theCoupled);
    expectSplit(announcing, {{0, 32, false}}, {Loss::AttributeMissing});
    expectSplit(announcing + pdu(16), {{0, 32, false}, {32, 16, false}}, {Loss::AttributeMissing});
    expectSplit(announcing + pduSaying(4, 16, 7, theAttributeKind), {{0, 32, false}},
                {Loss::AttributeMissing, Loss::LengthBelowHeader});
    expectSplit(announcing + pduSaying(40, 16, 7, theAttributeKind), {{0, 32, false}},
                {Loss::AttributeMissing, Loss::Incomplete});
}

TEST(Unbundler, DropsTheRestBehindALengthThatCannotBe) {
    expectSplit("", {}, {Loss::TooShort});
    expectSplit(pdu(12).substr(0, 11), {}, {Loss::TooShort});
    expectSplit(pduSaying(0, 28), {}, {Loss::LengthZero});
    expectSplit(pduSaying(1, 28), {}, {Loss::LengthBelowHeader});
    expectSplit(pduSaying(11, 28), {}, {Loss::LengthBelowHeader});
    expectSplit(pduSaying(29, 28), {}, {Loss::Incomplete});
    expectSplit(pduSaying(0xFFFF, 12), {}, {Loss::Incomplete});
    expectSplit(pdu(16) + pduSaying(0, 28) + pdu(16), {{0, 16, false}}, {Loss::LengthZero});
    expectSplit(pdu(16) + pdu(16).substr(0, 13), {{0, 16, false}}, {Loss::Incomplete});
    expectSplit(pdu(16) + pdu(16).substr(0, 11), {{0, 16, false}}, {Loss::RestTooShort});
}

TEST(Unbundler, TellsABundleThatIsPaddedAgainstTheRules) {
    expectSplit(pdu(28, 7) + pdu(40, 7), {{0, 28, false}}, {Loss::WrongAlignment});
    expectSplit(pdu(28, 6) + zeros(4) + pdu(40, 6), {{0, 28, false}}, {Loss::WrongAlignment});
}

}  // namespace
}  // namespace RtiqnDis
