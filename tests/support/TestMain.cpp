#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/Notifications.h"

namespace OrynRti::Tests {

namespace {

RecordingPrinter& unexpectedNotifications() {
    static RecordingPrinter printer;
    return printer;
}

class FailOnUnexpectedWarning : public testing::EmptyTestEventListener {
    void OnTestEnd(const testing::TestInfo&) override {
        const std::string text = unexpectedNotifications().take();
        if (!text.empty())
            ADD_FAILURE() << "unexpected warning: " << text;
    }
};

}  // namespace

std::string RecordingPrinter::text(int level) const {
    std::lock_guard<std::mutex> lock(mutex_);
    std::string joined;
    for (const Piece& piece : pieces_)
        if (level == -1 || piece.level == level)
            joined += piece.text;
    return joined;
}

std::string RecordingPrinter::take() {
    std::string joined = text();
    std::lock_guard<std::mutex> lock(mutex_);
    pieces_.clear();
    return joined;
}

CapturedNotifications::CapturedNotifications(int notifyLevel) : earlierLevel_(DtNotifyLevel) {
    DtNotifyLevel = notifyLevel;
    DtSetQuarnPrinter(this);
}

CapturedNotifications::~CapturedNotifications() {
    DtSetQuarnPrinter(&unexpectedNotifications());
    DtNotifyLevel = earlierLevel_;
}

}  // namespace OrynRti::Tests

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    OrynRti::DtNotifyLevel = 1;
    OrynRti::DtSetQuarnPrinter(&OrynRti::Tests::unexpectedNotifications());
    testing::UnitTest::GetInstance()->listeners().Append(
        new OrynRti::Tests::FailOnUnexpectedWarning);
    return RUN_ALL_TESTS();
}
