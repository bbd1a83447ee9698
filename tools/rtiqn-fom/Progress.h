#ifndef RTIQN_FOM_PROGRESS_H
#define RTIQN_FOM_PROGRESS_H

#include <cstddef>
#include <string>
#include <vector>

namespace RtiqnFom {

/// Tells on a terminal how far the reading of large modules is. Threads: one at a time.
class Progress {
public:
    /// Silent unless standard error is a terminal and the files are large together, and when only
    /// errors are asked for.
    explicit Progress(const std::vector<std::string>& paths);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Before the module is read.
    void reading(const std::string& path);

private:
    bool shown_;
    std::size_t count_;
    std::size_t current_ = 0;
};

}  // namespace RtiqnFom

#endif
