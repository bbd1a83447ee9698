#ifndef TESTS_SUPPORT_NOTIFICATIONS_H
#define TESTS_SUPPORT_NOTIFICATIONS_H

#include <mutex>
#include <string>
#include <vector>

#include "Print.h"

namespace OrynRti::Tests {

/// One call of a printer.
struct Piece {
    std::string text;
    int level;
    bool endOfLine;

    bool operator==(const Piece& other) const {
        return text == other.text && level == other.level && endOfLine == other.endOfLine;
    }
};

/// Keeps every piece it is given.
class RecordingPrinter : public DtPrinter {
public:
    void write(const std::string& text, int level, bool endOfLine) override {
        std::lock_guard<std::mutex> lock(mutex_);
        pieces_.push_back({text, level, endOfLine});
    }

    std::vector<Piece> pieces() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return pieces_;
    }

    /// All pieces of a level, joined; every level when `level` is -1.
    std::string text(int level = -1) const;

    /// As `text`, and forgets what it held.
    std::string take();

private:
    mutable std::mutex mutex_;
    std::vector<Piece> pieces_;
};

/// Catches what a test makes the library say: while it lives it is the only printer of the
/// five streams. Outside of one, a warning or a fatal message fails the running test.
class CapturedNotifications : public RecordingPrinter {
public:
    explicit CapturedNotifications(int notifyLevel = 4);
    ~CapturedNotifications() override;

private:
    int earlierLevel_;
};

}  // namespace OrynRti::Tests

#endif
