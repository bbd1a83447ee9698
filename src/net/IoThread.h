#ifndef RTIQNUTIL_SRC_NET_IOTHREAD_H
#define RTIQNUTIL_SRC_NET_IOTHREAD_H

#include <boost/asio/io_context.hpp>
#include <memory>

#include "IoServiceRunnable.h"
#include "ThreadedObject.h"

namespace OrynRti {

/// An io_context and the thread that runs it. What uses the context is destroyed between stop()
/// and the end of this object.
class IoThread {
public:
    IoThread() : thread_(std::make_shared<DtIoServiceRunnable>(&context_, this)) {}

    boost::asio::io_context& context() { return context_; }

    void start() { thread_.start(); }

    /// Waits for the thread; at most once after start().
    void stop() { thread_.stop(true); }

private:
    boost::asio::io_context context_{1};  // one thread runs it
    DtThreadedObject thread_;
};

}  // namespace OrynRti

#endif
