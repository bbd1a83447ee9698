#ifndef RTIQN_TOOLS_STOP_SIGNALS_H
#define RTIQN_TOOLS_STOP_SIGNALS_H

namespace RtiqnTools {

/// While it lives, SIGINT and SIGTERM ask the program to come to an end with its statistics
/// instead of killing it; a second one kills.
///
/// Threads:   one object at a time
class StopSignals {
public:
    StopSignals();
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    static bool requested();

    /// Becomes readable when the end is asked for, for use with poll().
    static int descriptor();
};

}  // namespace RtiqnTools

#endif
