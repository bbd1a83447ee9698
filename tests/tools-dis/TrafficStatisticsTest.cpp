#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "TrafficStatistics.h"

namespace RtiqnDis {
namespace {

TEST(TrafficStatistics, ForgedSendersDoNotMakeItGrowForEver) {
    TrafficStatistics statistics;
    BundledPdu pdu;
    pdu.size_bytes = 144;
    for (int i = 0; i < 10000; ++i) {
        statistics.addPdu(pdu, std::to_string(i));
        statistics.addLoss(Loss::TooShort, std::to_string(i));
    }
    EXPECT_LE(statistics.traffic().size(), 4097U);
    EXPECT_LE(statistics.losses().size(), 4097U);
    EXPECT_EQ(statistics.total().pdus, 10000U);
    std::uint64_t listed = 0;
    for (const auto& [key, traffic] : statistics.traffic())
        listed += traffic.pdus;
    EXPECT_EQ(listed, 10000U);
}

TEST(TrafficStatistics, ShowsRatesOnlyWhenTimeHasPassed) {
    TrafficStatistics statistics;
    statistics.addDatagram(100, 50);
    statistics.addPdu({}, "somebody");
    nlohmann::json summary = nlohmann::json::parse(summaryJson(statistics));
    EXPECT_TRUE(summary.at("traffic").at(0).at("rate").is_null());

    statistics.addDatagram(100, 46);  // times may jump back
    summary = nlohmann::json::parse(summaryJson(statistics));
    EXPECT_EQ(summary.at("seconds"), 4);
    EXPECT_EQ(summary.at("traffic").at(0).at("rate"), 0.25);
}

TEST(TrafficStatistics, TellsBrokenDataFromWhatWasLeftOutOrLost) {
    TrafficStatistics statistics;
    for (const Loss loss : {Loss::FilteredKind, Loss::KernelDropped, Loss::QueueFull})
        statistics.addLoss(loss, "somebody");
    statistics.addLoss(Loss::LengthZero, "somebody", 0);
    EXPECT_FALSE(statistics.hasDataProblems());
    statistics.addLoss(Loss::LengthZero, "somebody");
    EXPECT_TRUE(statistics.hasDataProblems());
}

}  // namespace
}  // namespace RtiqnDis
